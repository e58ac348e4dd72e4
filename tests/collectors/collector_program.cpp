#include "collectors/collector_program.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "collectors/socket_table.h"
#include "support/free_port.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

std::string ReadAll(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

// Puts what the test uses in the place of what the document says.
void Replace(std::string& text, const std::string& shown, const std::string& used) {
  const std::size_t at = text.find(shown);
  if (at == text.npos) throw std::runtime_error("the example does not say " + shown);
  text.replace(at, shown.size(), used);
}

std::string ExampleName(Program program, Transport transport) {
  constexpr const char* kTransports[] = {"udp", "tcp", "tls"};
  return std::string(program == Program::kRsyslog ? "rsyslog-" : "syslog-ng-") +
         kTransports[static_cast<int>(transport)] + ".conf";
}

void UseTls(Program program, const CollectorTls& tls, std::string& text) {
  Replace(text, "/etc/collector/ca.pem", tls.ca);
  Replace(text, "/etc/collector/cert.pem", tls.identity.certificate);
  Replace(text, "/etc/collector/key.pem", tls.identity.key);
  const bool rsyslog = program == Program::kRsyslog;
  if (!tls.asksForCertificate && rsyslog) Replace(text, "x509/certvalid\" g", "anon\" g");
  if (!tls.asksForCertificate && !rsyslog) {
    Replace(text, "(required-trusted)", "(optional-untrusted)");
  }
  if (rsyslog) {
    Replace(text, "MinProtocol=TLSv1.2",
            "MinProtocol=TLSv" + tls.oldest + "\nMaxProtocol=TLSv" + tls.newest);
    return;
  }
  if (tls.oldest == "1.3") Replace(text, "no-tlsv11", "no-tlsv11, no-tlsv12");
  if (tls.newest == "1.2") Replace(text, "no-tlsv11", "no-tlsv11, no-tlsv13");
}

}  // namespace

CollectorProgram::CollectorProgram(Program program, Transport transport, std::string folder,
                                   const CollectorTls& tls)
    : program_(program),
      transport_(transport),
      folder_(std::move(folder)),
      lines_(folder_ + "/lines") {
  // Somebody may take the port before the collector does.
  for (int attempt = 0; attempt < 5; ++attempt) {
    port_ = FreePort(transport == Transport::kUdp ? SOCK_DGRAM : SOCK_STREAM);
    std::ofstream(folder_ + "/conf") << Configuration(tls);
    if (Start()) return;
  }
  throw std::runtime_error("a collector does not start: " + process_->Errors());
}

std::string CollectorProgram::Configuration(const CollectorTls& tls) const {
  std::string text =
      ReadAll(WKAGENT_SOURCE_DIR "/docs/syslog/" + ExampleName(program_, transport_));
  const std::string shown = transport_ == Transport::kTls ? "6514" : "514";
  Replace(text, "192.0.2.10", "127.0.0.1");
  Replace(text, program_ == Program::kRsyslog ? "port=\"" + shown + "\"" : "port(" + shown + ")",
          program_ == Program::kRsyslog ? "port=\"" + std::to_string(port_) + "\""
                                        : "port(" + std::to_string(port_) + ")");
  Replace(text, "/var/log/audit-lines.log", lines_);
  if (transport_ == Transport::kTls) UseTls(program_, tls, text);
  return text;
}

std::vector<std::string> CollectorProgram::Command() const {
  if (program_ == Program::kRsyslog) {
    return {WKAGENT_RSYSLOGD,        "-n", "-iNONE",         "-M",
            WKAGENT_RSYSLOG_MODULES, "-f", folder_ + "/conf"};
  }
  // The program knows its libraries by where its package would have put them.
  return {"env",
          "LD_LIBRARY_PATH=" WKAGENT_SYSLOG_NG_LIBRARIES,
          WKAGENT_SYSLOG_NG,
          "--foreground",
          "--no-caps",
          "--module-path",
          WKAGENT_SYSLOG_NG_MODULES,
          "--cfgfile",
          folder_ + "/conf",
          "--persist-file",
          folder_ + "/persist",
          "--pidfile",
          folder_ + "/pid",
          "--control",
          folder_ + "/control"};
}

bool CollectorProgram::Start() {
  process_ = std::make_unique<Process>(Command());
  return WaitUntil([this] { return process_->HasEnded() || Listens(); }) && !process_->HasEnded();
}

bool CollectorProgram::Listens() const {
  return (transport_ == Transport::kUdp ? FindUdpSocket(port_) : FindListener(port_)).has_value();
}

std::string CollectorProgram::Text() const { return ReadAll(lines_); }

std::size_t CollectorProgram::TextSize() const {
  std::error_code missing;
  const auto size = std::filesystem::file_size(lines_, missing);
  return missing ? 0 : size;
}

bool CollectorProgram::EndsWith(const std::string& line) const {
  const std::size_t size = TextSize();
  const std::size_t length = line.size() + 1;
  if (size < length) return false;
  std::ifstream file(lines_, std::ios::binary);
  file.seekg(static_cast<std::streamoff>(size - length));
  std::string end;
  return std::getline(file, end) && end == line;
}

void CollectorProgram::End(int signal) {
  process_->Signal(signal);
  process_->Wait();
}

void CollectorProgram::Stop() { End(SIGTERM); }

void CollectorProgram::Kill() { End(SIGKILL); }

void CollectorProgram::StartAgain() {
  if (!Start()) throw std::runtime_error("a collector does not start again: " + process_->Errors());
}

void CollectorProgram::Freeze() const { process_->Signal(SIGSTOP); }

void CollectorProgram::Thaw() const { process_->Signal(SIGCONT); }

}  // namespace wkagent::test
