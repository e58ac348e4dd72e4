#include "config/xml_attack_fixture.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <iconv.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <wkagent/alert.h>
#include <wkagent/config.h>
#include <wkagent/filter.h>
#include <wkagent/syslog.h>

#include "support/printed.h"
#include "support/sanitized.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

using Found = std::optional<std::string>;

std::string InElement(const std::string& name, const std::string& text) {
  return "<" + name + ">" + text + "</" + name + ">";
}

std::string Shown(const char* text) { return text == nullptr ? "" : text; }

Found ReadDaemon(const std::string& /*path*/) {
  WKDaemonSettings reader;
  if (reader.Read() != 0) return {};
  return reader.GetWorkspaceGuid();
}

Found ReadMemory(const std::string& /*path*/) {
  WKMemorySettings reader;
  if (reader.Read() != 0) return {};
  return std::string(reader.smbVersion).substr(std::string("vers=").size());
}

Found ReadLdap(const std::string& path) {
  WKLdapConfig reader;
  tagLDAPConfig config{};
  if (reader.ReadFile(Text(path), config) != 0) return {};
  return config.Server;
}

Found ReadManagers(const std::string& path) {
  WKManagerList reader;
  if (reader.ReadFile(Text(path)) != 0) return {};
  reader.ReadSharedSettings(reader.GetXMLRootNode());
  return reader.pendingEntry == nullptr ? "" : Shown(reader.pendingEntry->GetMachineName());
}

template <typename Reader>
Found ReadFilterFile(const std::string& path) {
  Reader reader;
  if (reader.ReadFile(Text(path)) != 0) return {};
  return reader.currentStatement == nullptr ? "" : Shown(reader.currentStatement->title);
}

Found ReadSyslog(const std::string& path) {
  static WKSyslogSender sender;
  static_cast<SyslogConfig&>(sender) = SyslogConfig{};
  if (!sender.loadXMLConfig(path)) return {};
  return sender.serverHost;
}

Found ReadMail(const std::string& path) {
  WKSMTPAlert alert;
  alert.statusText[0] = '\0';
  alert.ReadSMTPConfig(Text(path));
  if (alert.statusText[0] != '\0') return {};
  return alert.server;
}

Found ReadTrap(const std::string& /*path*/) {
  WKSNMPAlert alert;
  alert.statusText[0] = '\0';
  alert.ReadConfigFile();
  if (alert.statusText[0] != '\0') return {};
  return alert.consoleMachineName;
}

template <const char* kName>
std::string Tagged(const std::string& text) {
  return InElement(kName, text);
}

std::string Server(const std::string& text) {
  return InElement("SharedFolderSetting", InElement("MachineName", text));
}

std::string Filter(const std::string& text) { return "<Filter Title='" + text + "'/>"; }

constexpr char kGuid[] = "WorkspaceGuid";
constexpr char kVersion[] = "SMBVersion";
constexpr char kLdapServer[] = "LDAPServer";
constexpr char kHost[] = "host";
constexpr char kMailServer[] = "SMTPServer";
constexpr char kConsole[] = "SNMPConsoleMachineName";

void SetBounds() {
  constexpr unsigned kSeconds = 120;
  alarm(kSeconds);
#ifndef WKAGENT_TEST_SANITIZED
  constexpr rlim_t kBytes = rlim_t{1} << 30;
  const rlimit limit{kBytes, kBytes};
  if (setrlimit(RLIMIT_AS, &limit) != 0) throw std::runtime_error("setrlimit");
#endif
}

}  // namespace

const std::vector<XmlReader> kXmlReaders = {
    {"DaemonSettings", "DaemonSettings.xml", Tagged<kGuid>, ReadDaemon},
    {"MemorySettings", "WKMemorySettings.xml", Tagged<kVersion>, ReadMemory},
    {"LdapSettings", "LDAPSettings.xml", Tagged<kLdapServer>, ReadLdap},
    {"SharedSettings", "SharedSettings.xml", Server, ReadManagers},
    {"DirectoryFilters", "EDAFilter.xml", Filter, ReadFilterFile<WKEdaConfig>},
    {"LoginFilters", "ELAFilter.xml", Filter, ReadFilterFile<WKElaConfig>},
    {"SyslogSettings", "/opt/mossgrove/config/syslog_config.xml", Tagged<kHost>, ReadSyslog, true},
    {"MailSettings", "SMTPSettings.xml", Tagged<kMailServer>, ReadMail},
    {"TrapSettings", "SNMPSettings.xml", Tagged<kConsole>, ReadTrap},
};

Lures::Lures(const AgentHome& home)
    : file_(home.Path("bin/lure.dtd")),
      pipe_(home.Path("bin/lure.pipe")),
      openings_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  home.Write("bin/lure.dtd", kSecret);
  if (mkfifo(pipe_.c_str(), 0600) != 0) throw std::runtime_error("mkfifo");
  for (const std::string& path : {file_, pipe_}) {
    if (inotify_add_watch(openings_.Get(), path.c_str(), IN_OPEN) < 0) {
      throw std::runtime_error("inotify_add_watch");
    }
  }
}

std::vector<std::string> Lures::Addresses() const {
  const std::string server = "127.0.0.1:" + std::to_string(server_.Port()) + "/lure.dtd";
  return {file_, "file://" + file_, "lure.dtd", pipe_, "http://" + server, "ftp://" + server};
}

bool Lures::WereTouched() const {
  char events[4096];
  return read(openings_.Get(), events, sizeof(events)) > 0 || server_.HasVisitor();
}

void XmlAttack::InBounds(const std::function<void()>& body) { InChild(SetBounds, body); }

std::string XmlAttack::Place() const {
  const std::string place = GetParam().place;
  return place.starts_with('/') ? place : home_.Path("config/" + place);
}

std::optional<std::string> XmlAttack::Read(const std::string& bytes) {
  std::filesystem::remove(Place());
  std::ofstream(Place(), std::ios::binary) << bytes;
  return ReadPlace();
}

std::optional<std::string> XmlAttack::ReadPlace() {
  std::optional<std::string> found;
  said_ = Complaints([&] { found = GetParam().read(Place()); });
  return found;
}

std::string Converted(const std::string& text, const std::string& encoding) {
  const iconv_t converter = iconv_open(encoding.c_str(), "UTF-8");
  if (converter == reinterpret_cast<iconv_t>(-1)) throw std::runtime_error("iconv_open");
  std::string input = text;
  std::string output(4 * text.size() + 4, '\0');
  char* from = input.data();
  char* to = output.data();
  std::size_t fromLeft = input.size();
  std::size_t toLeft = output.size();
  const bool done =
      iconv(converter, &from, &fromLeft, &to, &toLeft) != static_cast<std::size_t>(-1);
  iconv_close(converter);
  if (!done) throw std::runtime_error("iconv");
  output.resize(output.size() - toLeft);
  return output;
}

}  // namespace wkagent::test
