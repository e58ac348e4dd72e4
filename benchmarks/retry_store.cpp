// What it costs to store lines of 300 bytes that could not be sent, on a file system in memory:
// saveToBatchFile, which also sees to its folder and starts a new file after 5000 lines, and a
// batch of 100 lines whose write fails, against one write(2) a line into an open file. Must run as
// root, for a private /opt.
//
// The retry handler's thread is there in all cases: a write costs more in a process that has
// threads.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <wkagent/syslog.h>

#include "core/handles.h"
#include "forward/lines.h"
#include "forward/private_opt.h"

namespace {

constexpr int kFileLines = WKSyslogRetryHandler::MAX_LINES_PER_BATCH_FILE;
constexpr int kBatch = static_cast<int>(WKSyslogSender::BATCH_SIZE);

// Stores lines with one write each.
class PlainFile {
 public:
  PlainFile() : file_(open(kPath, O_WRONLY | O_APPEND | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)) {}
  ~PlainFile() { unlink(kPath); }

  void Store(const std::string& line) {
    text_ = line;
    text_ += '\n';
    if (write(file_.Get(), text_.data(), text_.size()) < 0) throw std::runtime_error("write");
  }

 private:
  static constexpr const char* kPath = "/opt/mossgrove/auditdata/plain";
  const wkagent::Fd file_;
  std::string text_;
};

void RemoveBatchFiles() { std::filesystem::remove_all(WKSyslogRetryHandler::RETRY_DIRECTORY); }

void LineByUs(benchmark::State& state) {
  const std::string line = wkagent::bench::SampleLines(1)[0];
  WKSyslogRetryHandler handler;
  while (state.KeepRunningBatch(kFileLines)) {
    for (int i = 0; i < kFileLines; ++i) handler.saveToBatchFile(line);
    state.PauseTiming();
    RemoveBatchFiles();
    state.ResumeTiming();
  }
}

void LineByWrite(benchmark::State& state) {
  const WKSyslogRetryHandler thread;
  const std::string line = wkagent::bench::SampleLines(1)[0];
  while (state.KeepRunningBatch(kFileLines)) {
    state.PauseTiming();
    auto file = std::make_unique<PlainFile>();
    state.ResumeTiming();
    for (int i = 0; i < kFileLines; ++i) file->Store(line);
    state.PauseTiming();
    file.reset();
    state.ResumeTiming();
  }
}

// A sender whose writes fail: what it writes to cannot be written to.
class BrokenSender {
 public:
  BrokenSender() {
    // Each failure is reported, which is not what is measured.
    if (std::freopen("/dev/null", "w", stderr) == nullptr) throw std::runtime_error("stderr");
    std::ofstream("/opt/mossgrove/config/syslog_config.xml")
        << "<syslog><protocol>TCP</protocol></syslog>";
    sender_ = std::make_unique<WKSyslogSender>();
  }

  void Fail(const std::vector<std::string>& batch) {
    WKSyslogSender::Connection none;
    none.users = 2;  // so that it is not destroyed
    sender_->sendBatch(&none, batch);
  }

 private:
  std::unique_ptr<WKSyslogSender> sender_;
};

void BatchByUs(benchmark::State& state) {
  const std::vector<std::string> batch = wkagent::bench::SampleLines(kBatch);
  BrokenSender sender;
  while (state.KeepRunningBatch(kFileLines / kBatch)) {
    for (int i = 0; i < kFileLines / kBatch; ++i) sender.Fail(batch);
    state.PauseTiming();
    RemoveBatchFiles();
    state.ResumeTiming();
  }
}

void BatchByWrites(benchmark::State& state) {
  const WKSyslogRetryHandler thread;
  const std::vector<std::string> batch = wkagent::bench::SampleLines(kBatch);
  while (state.KeepRunningBatch(kFileLines / kBatch)) {
    state.PauseTiming();
    auto file = std::make_unique<PlainFile>();
    state.ResumeTiming();
    for (int i = 0; i < kFileLines / kBatch; ++i) {
      for (const std::string& line : batch) file->Store(line);
    }
    state.PauseTiming();
    file.reset();
    state.ResumeTiming();
  }
}

BENCHMARK(LineByUs)->Name("retry_store/line/wkagent");
BENCHMARK(LineByWrite)->Name("retry_store/line/write");
BENCHMARK(BatchByUs)->Name("retry_store/batch/wkagent");
BENCHMARK(BatchByWrites)->Name("retry_store/batch/writes");

}  // namespace

int main(int argc, char** argv) { return wkagent::bench::RunInPrivateOpt(argc, argv); }
