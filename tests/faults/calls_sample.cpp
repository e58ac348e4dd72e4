// A program with a few calls of each kind that the failing_calls library knows, in the folder that
// it is given.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

void Tell(const char* what, bool done) {
  std::printf("%s %s\n", what, done ? "done" : std::strerror(errno));
}

void Write(const char* path) {
  const int file = open(path, O_CREAT | O_RDWR | O_CLOEXEC, 0600);
  Tell("open", file >= 0);
  Tell("lock", flock(file, LOCK_EX) == 0);
  std::printf("wrote %d\n", static_cast<int>(write(file, "12345678", 8)));
  Tell("sync", fsync(file) == 0);
  Tell("truncate", ftruncate(file, 4) == 0);
  char text[8] = {};
  lseek(file, 0, SEEK_SET);
  std::printf("read %d\n", static_cast<int>(read(file, text, sizeof(text))));
  close(file);
}

void Append(const char* path) {
  std::FILE* const stream = std::fopen(path, "a+e");
  if (stream == nullptr) return Tell("append", false);
  Tell("append", std::fputs("tail", stream) >= 0);
  Tell("close", std::fclose(stream) == 0);
}

void Talk() {
  int ends[2] = {-1, -1};
  socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends);
  std::printf("sent %d\n", static_cast<int>(send(ends[0], "12345678", 8, 0)));
  const int file = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  Tell("socket", file >= 0);
  for (const int end : {ends[0], ends[1], file}) close(end);
}

bool Allocate() {
  try {
    ::operator delete(::operator new(1000));  // called as functions, which no compiler leaves out
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool Start() {
  try {
    std::thread([] {}).join();
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace

int main(int, char** argv) {
  if (chdir(argv[1]) != 0) return 1;
  Tell("mkdir", mkdir("made", 0700) == 0);
  Write("made/first");
  Append("made/first");
  Tell("rename", rename("made/first", "made/second") == 0);
  std::error_code error;
  std::filesystem::remove("made/second", error);
  std::printf("remove %s\n", error ? error.message().c_str() : "done");
  Talk();
  std::printf("allocate %s\n", Allocate() ? "done" : "failed");
  std::printf("thread %s\n", Start() ? "done" : "failed");
  std::puts("end");
}
