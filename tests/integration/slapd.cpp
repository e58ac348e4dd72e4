#include "integration/slapd.h"

#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "support/free_port.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

// The URL of a local socket, whose path is percent-encoded.
std::string LocalUrl(const std::string& path) {
  std::string url = "ldapi://";
  for (const char c : path) url += c == '/' ? std::string("%2F") : std::string(1, c);
  return url;
}

std::string AuditlogOverlay(const std::string& database, const std::string& log) {
  return "dn: olcOverlay={0}auditlog,olcDatabase=" + database +
         ",cn=config\nobjectClass: olcOverlayConfig\nobjectClass: olcAuditlogConfig\n"
         "olcOverlay: {0}auditlog\nolcAuditlogFile: " +
         log + "\n\n";
}

// The database that keeps the access log, and who may read it.
std::string AccessLogDatabase(const std::string& folder) {
  const std::string reader = DirectoryServer::kReader;
  return "dn: olcDatabase={1}mdb,cn=config\nobjectClass: olcDatabaseConfig\n"
         "objectClass: olcMdbConfig\nolcDatabase: {1}mdb\nolcDbDirectory: " +
         folder +
         "/log\nolcSuffix: cn=accesslog\nolcRootDN: cn=log\n"
         "olcDbIndex: entryCSN,reqStart,objectClass eq\n"
         "olcAccess: to * by dn.exact=" +
         reader +
         " read\n"
         "olcLimits: dn.exact=" +
         reader +
         " size=unlimited time=unlimited\n\n"
         "dn: olcOverlay={0}syncprov,olcDatabase={1}mdb,cn=config\n"
         "objectClass: olcOverlayConfig\nobjectClass: olcSyncProvConfig\n"
         "olcOverlay: {0}syncprov\nolcSpNoPresent: TRUE\nolcSpReloadHint: TRUE\n\n";
}

// What of the database goes into the access log.
constexpr char kAccessLogOverlay[] =
    "dn: olcOverlay={1}accesslog,olcDatabase={2}mdb,cn=config\nobjectClass: olcOverlayConfig\n"
    "objectClass: olcAccessLogConfig\nolcOverlay: {1}accesslog\nolcAccessLogDB: cn=accesslog\n"
    "olcAccessLogOps: writes session\nolcAccessLogSuccess: FALSE\n\n";

}  // namespace

DirectoryServer::DirectoryServer(std::string folder, const std::string& log)
    : folder_(std::move(folder)), socket_(folder_ + "/ldapi") {
  for (const char* name : {"/config", "/data", "/log"}) {
    std::filesystem::create_directory(folder_ + name);
  }
  WriteConfiguration(log);
  WriteEntries();
  // Somebody may take the port before slapd does.
  for (int attempt = 0; attempt < 5; ++attempt) {
    if (Start(FreePort())) return;
  }
  throw std::runtime_error("slapd does not start: " + slapd_->Errors());
}

void DirectoryServer::WriteConfiguration(const std::string& log) const {
  const std::string password = std::string("olcRootPW: ") + kPassword + "\n";
  std::string ldif =
      "dn: cn=config\nobjectClass: olcGlobal\ncn: config\n\n"
      "dn: cn=module{0},cn=config\nobjectClass: olcModuleList\ncn: module{0}\n"
      "olcModulePath: " WKAGENT_SLAPD_MODULES
      "\nolcModuleLoad: back_mdb\nolcModuleLoad: auditlog\n"
      "olcModuleLoad: accesslog\nolcModuleLoad: syncprov\n\n"
      "dn: cn=schema,cn=config\nobjectClass: olcSchemaConfig\ncn: schema\n\n";
  for (const char* schema : {"core", "cosine", "inetorgperson"}) {
    ldif += std::string("include: file://" WKAGENT_LDAP_SCHEMA "/") + schema + ".ldif\n\n";
  }
  ldif +=
      "dn: olcDatabase={0}config,cn=config\nobjectClass: olcDatabaseConfig\n"
      "olcDatabase: {0}config\nolcRootDN: cn=config\n" +
      password + "\n";
  ldif += AuditlogOverlay("{0}config", log);
  ldif += AccessLogDatabase(folder_);
  ldif +=
      "dn: olcDatabase={2}mdb,cn=config\nobjectClass: olcDatabaseConfig\n"
      "objectClass: olcMdbConfig\nolcDatabase: {2}mdb\nolcDbDirectory: " +
      folder_ + "/data\nolcSuffix: o=acme\nolcRootDN: cn=admin,o=acme\n" + password + "\n";
  ldif += AuditlogOverlay("{2}mdb", log);
  ldif += kAccessLogOverlay;
  OutputOf({WKAGENT_SLAPADD, "-F", folder_ + "/config", "-n", "0"}, ldif);
}

void DirectoryServer::WriteEntries() const {
  std::string ldif = "dn: o=acme\nobjectClass: organization\no: acme\n\n";
  for (const std::string unit : {"sales", "finance"}) {
    ldif += "dn: ou=" + unit + ",o=acme\nobjectClass: organizationalUnit\nou: " + unit + "\n\n";
  }
  ldif += std::string("dn: ") + kReader +
          "\nobjectClass: person\ncn: reader\nsn: reader\nuserPassword: " + kPassword + "\n\n";
  OutputOf({WKAGENT_SLAPADD, "-F", folder_ + "/config", "-b", "o=acme"}, ldif);
}

void DirectoryServer::Stop() {
  slapd_->Signal(SIGTERM);
  slapd_->Wait();
}

void DirectoryServer::StartAgain() {
  if (!Start(port_)) throw std::runtime_error("slapd does not start again: " + slapd_->Errors());
}

std::string DirectoryServer::OfferTls() {
  const std::string certificate = folder_ + "/certificate.pem";
  const std::string key = folder_ + "/key.pem";
  OutputOf({"openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj",
            "/CN=slapd of a test", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out",
            certificate});
  Modify("dn: cn=config\nchangetype: modify\nadd: olcTLSCertificateFile\nolcTLSCertificateFile: " +
             certificate + "\n-\nadd: olcTLSCertificateKeyFile\nolcTLSCertificateKeyFile: " + key +
             "\n",
         kConfigAdmin);
  moreUrls_ = " ldaps://127.0.0.1/";
  return certificate;
}

bool DirectoryServer::Start(int port) {
  port_ = port;
  url_ = "ldap://127.0.0.1:" + std::to_string(port);
  const std::string urls = url_ + "/ " + LocalUrl(socket_) + moreUrls_;
  slapd_ = std::make_unique<Process>(
      std::vector<std::string>{WKAGENT_SLAPD, "-F", folder_ + "/config", "-h", urls, "-d", "0"});
  return WaitUntil([this] { return slapd_->HasEnded() || Answers(); }) && !slapd_->HasEnded();
}

bool DirectoryServer::Answers() const {
  return RunToEnd({"ldapwhoami", "-x", "-H", url_, "-D", kAdmin, "-w", kPassword}).status == 0;
}

void DirectoryServer::Tool(const std::string& tool, const std::string& user,
                           const std::vector<std::string>& more, const std::string& input) const {
  std::vector<std::string> command = {tool, "-x", "-H", url_, "-D", user, "-w", kPassword};
  command.insert(command.end(), more.begin(), more.end());
  OutputOf(command, input);
}

void DirectoryServer::Add(const std::string& ldif, const std::string& user) const {
  Tool("ldapadd", user, {}, ldif);
}

void DirectoryServer::Modify(const std::string& ldif, const std::string& user) const {
  Tool("ldapmodify", user, {}, ldif);
}

void DirectoryServer::Rename(const std::string& name, const std::string& newRdn) const {
  Tool("ldapmodrdn", kAdmin, {"-r", name, newRdn});
}

void DirectoryServer::Move(const std::string& name, const std::string& newRdn,
                           const std::string& parent) const {
  Tool("ldapmodrdn", kAdmin, {"-r", "-s", parent, name, newRdn});
}

void DirectoryServer::ChangePassword(const std::string& name, const std::string& password) const {
  Tool("ldappasswd", kAdmin, {"-s", password, name});
}

void DirectoryServer::Delete(const std::string& name) const { Tool("ldapdelete", kAdmin, {name}); }

void DirectoryServer::AddLocally(const std::string& ldif) const {
  OutputOf({"ldapadd", "-x", "-H", LocalUrl(socket_), "-D", kAdmin, "-w", kPassword}, ldif);
}

}  // namespace wkagent::test
