#include "faults/torture.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <mutex>
#include <new>
#include <system_error>

#include <gtest/gtest.h>
#include <libxml/xmlerror.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/handles.h"
#include "faults/fault_control.h"
#include "faults/most_places.h"
#include "support/sanitized.h"

#ifdef WKAGENT_TEST_SANITIZED
#include <sanitizer/lsan_interface.h>

// libxml2 leaks an element for which its list has no memory, and liblzma's decoder, by which it
// looks whether a file is compressed. They are known by their callers, so the stacks must be whole.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
  return "fast_unwind_on_malloc=0";
}
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:xmlTextWriterStartElement\nleak:lzma_auto_decoder\n";
}
#endif

namespace wkagent::test {
namespace {

constexpr unsigned kLongest = 20;  // seconds
constexpr int kPassed = 0;
constexpr int kNotHit = 10;
constexpr int kWrong = 11;

// In the child, where nothing of what the test has open is flushed twice.
[[noreturn]] void Leave(int status) {
  std::fflush(nullptr);
#ifdef WKAGENT_TEST_SANITIZED
  if (status == kPassed && __lsan_do_recoverable_leak_check() != 0) status = kWrong;
#endif
  _exit(status);
}

// libxml2 keeps its latest error.
long LiveBlocks() {
  xmlResetLastError();
  return wkfault_live();
}

int Explain(const std::string& what) {
  std::cerr << what << '\n';
  const std::string messages = Messages::Text();
  if (!messages.empty()) std::cerr << "the library said: " << messages << '\n';
  return kWrong;
}

// Runs `body` in a child; its status, as waitpid(2) gives it, and what it wrote on standard error.
template <typename Body>
int InChildProcess(Body body, std::string& errors) {
  const Fd captured(memfd_create("errors", MFD_CLOEXEC));
  const pid_t child = fork();
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(captured.Get(), STDERR_FILENO);
    alarm(kLongest);
    Leave(body());
  }
  int status = 0;
  waitpid(child, &status, 0);
  std::array<char, 8192> text{};
  const ssize_t length = pread(captured.Get(), text.data(), text.size(), 0);
  errors.assign(text.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
  return status;
}

std::string Described(int status) {
  if (WIFSIGNALED(status)) return std::string("ended by ") + strsignal(WTERMSIG(status));
  return "status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

Torture& Torture::With(const std::string& name, const std::string& text) {
  files_.emplace_back(name, text);
  return *this;
}

Torture& Torture::AtFirstUse() {
  atFirstUse_ = true;
  return *this;
}

Torture& Torture::Under(const std::string& folder) {
  under_ = folder;
  return *this;
}

Torture& Torture::Before(std::function<void()> prepare) {
  prepare_ = std::move(prepare);
  return *this;
}

Torture& Torture::AtMost(long places) {
  most_ = places;
  return *this;
}

Torture& Torture::Allowing(long blocks) {
  allowed_ = blocks;
  return *this;
}

Torture& Torture::LosingNothing() {
  losesNothing_ = true;
  return *this;
}

Torture& Torture::MayThrowSystemErrors() {
  systemErrors_ = true;
  return *this;
}

void Torture::Fail(const std::vector<Failure>& failures) {
  for (const Failure& failure : failures) FailAtEachPlace(failure);
}

void Torture::FailAtEachPlace(const Failure& failure) {
  const std::string what = failure.call + ' ' + failure.act + (failure.times == 0 ? " from" : "");
  const long places = CountPlaces(failure.call);
  ASSERT_GT(places, 0) << what << ": there is no such call";
  const long most = MostPlaces(most_);
  const long step = std::max(1L, (places + most - 1) / most);
  long hit = 0;
  int failed = 0;
  long last = 0;
  // A fault may lead to further calls, so that there are more places than in a clean round.
  for (long nth = 1; failed < 3; nth += nth < places ? step : 1) {
    const Result result = RunAt(nth, failure);
    if (result == Result::kNotHit && nth >= places) break;
    hit += result == Result::kNotHit ? 0 : 1;
    failed += result == Result::kFailed ? 1 : 0;
    last = nth;
    ASSERT_LT(nth, places * 3 + 100) << what << ": there is no end to it";
  }
  std::cout << "  " << what << ": " << hit << " of " << last << " places" << std::endl;
}

long Torture::CountPlaces(const std::string& call) const {
  long places = 0;
  prepare_();
  const AgentHome home;
  for (const auto& [name, text] : files_) home.Write(name, text);
  void* const shared =
      mmap(nullptr, sizeof(long), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  std::string errors;
  const int status = InChildProcess(
      [&] {
        if (!atFirstUse_) (void)round_(home);
        wkfault_begin(nullptr, 0, 0, nullptr, FolderOf(home).c_str());
        const Outcome outcome = round_(home);
        wkfault_end();
        places = wkfault_count(call.c_str());
        std::memcpy(shared, &places, sizeof(places));
        return outcome.complete ? kPassed : Explain("a round without faults is not complete");
      },
      errors);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != kPassed) {
    ADD_FAILURE() << Described(status) << ": " << errors;
    return -1;
  }
  std::memcpy(&places, shared, sizeof(places));
  munmap(shared, sizeof(long));
  return places;
}

Torture::Result Torture::RunAt(long nth, const Failure& failure) const {
  prepare_();
  const AgentHome home;
  for (const auto& [name, text] : files_) home.Write(name, text);
  std::string errors;
  const bool kills = failure.act.starts_with("kill");
  int status = InChildProcess([&] { return RunRounds(home, nth, failure); }, errors);
  if (kills && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) {
    status = InChildProcess(
        [&] {
          if (round_(home).complete) return kPassed;
          return Explain("the round of the next process is not complete");
        },
        errors);
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == kPassed) return Result::kPassed;
  if (WIFEXITED(status) && WEXITSTATUS(status) == kNotHit) return Result::kNotHit;
  ADD_FAILURE() << failure.call << " number " << nth << ", " << failure.act << ": "
                << Described(status) << "\n"
                << errors;
  return Result::kFailed;
}

int Torture::RunRounds(const AgentHome& home, long nth, const Failure& failure) const {
  if (!atFirstUse_ && !round_(home).complete) return Explain("the first round is not complete");
  long before = LiveBlocks();
  if (const int result = RunPair(home, nth, failure); result != kPassed) return result;
  if (atFirstUse_ || LiveBlocks() <= before + allowed_) return kPassed;
  // What a failure sets up once a process stays; what each one leaves behind is a leak.
  before = LiveBlocks();
  if (const int result = RunPair(home, nth, failure); result == kWrong) return result;
  const long more = LiveBlocks() - before;
  if (more > allowed_) return Explain(std::to_string(more) + " blocks were not given back");
  return kPassed;
}

// The round with the fault, and the one after it.
int Torture::RunPair(const AgentHome& home, long nth, const Failure& failure) const {
  const std::string under = FolderOf(home);
  wkfault_begin(failure.call.c_str(), nth, failure.times, failure.act.c_str(), under.c_str());
  const Outcome outcome = RunGuarded(home);
  if (wkfault_end() == 0) return kNotHit;
  if (!outcome.complete && losesNothing_) return Explain("it is not complete");
  if (!outcome.complete && !outcome.told) return Explain("it is not complete, and does not say so");
  if (!round_(home).complete) return Explain("the round after it is not complete");
  return kPassed;
}

// Without a slash at its end.
std::string Torture::FolderOf(const AgentHome& home) const {
  if (!under_.empty()) return under_;
  return std::filesystem::path(home.Path("bin")).parent_path();
}

Outcome Torture::RunGuarded(const AgentHome& home) const {
  try {
    return round_(home);
  } catch (const std::bad_alloc&) {
    return {.complete = false, .told = true};
  } catch (const std::system_error&) {
    if (!systemErrors_) throw;
    return {.complete = false, .told = true};
  }
}

namespace {

std::mutex messagesMutex;
char messages[8192];
std::size_t messagesSize = 0;

}  // namespace

void Messages::Forget() {
  const std::lock_guard lock(messagesMutex);
  messagesSize = 0;
  messages[0] = '\0';
}

void Messages::Take(int /*number*/, char* text, char* /*more*/) {
  const std::lock_guard lock(messagesMutex);
  const std::size_t size = std::min(std::strlen(text), sizeof(messages) - 2 - messagesSize);
  std::memcpy(messages + messagesSize, text, size);
  messagesSize += size;
  messages[messagesSize++] = '\n';
  messages[messagesSize] = '\0';
}

bool Messages::Any() { return messagesSize > 0; }

bool Messages::Contain(const char* text) { return std::strstr(messages, text) != nullptr; }

const char* Messages::Text() { return messages; }

}  // namespace wkagent::test
