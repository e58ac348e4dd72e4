// No secret leaves the place where it was put, whatever goes well or wrong. Every secret of these
// tests holds kMark, which is then looked for in all that the agent writes and shows.

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>

#include <wkagent/crypto.h>

#include "integration/agent_test.h"
#include "integration/slapd.h"
#include "support/text.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

namespace fs = std::filesystem;

// DirectoryServer::kPassword holds it, too.
constexpr char kMark[] = "Geheim7";

// Also in base64, wherever in a group of three bytes it begins.
const std::string kMarks[] = {kMark, "R2VoZWltNy", "dlaGVpbTct", "HZWhlaW03L"};

std::string Content(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void ExpectNoSecretIn(const std::string& text, const std::string& where) {
  for (const std::string& mark : kMarks) EXPECT_THAT(text, Not(HasSubstr(mark))) << where;
}

class Secrets : public AgentTest {
 protected:
  // A file that may hold secrets, as the test put them there.
  void WriteSecret(const std::string& name, const std::string& text) {
    home_.Write(name, text);
    places_.insert(home_.Path(name));
  }

  void WriteLdapSettings(const std::string& password, int port) {
    WriteSecret("config/LDAPSettings.xml",
                "<S><LDAPServer>127.0.0.1</LDAPServer><LDAPPortNumber>" + std::to_string(port) +
                    "</LDAPPortNumber><LDAPUserName>" + DirectoryServer::kReader +
                    "</LDAPUserName><LDAPPassword>" + password + "</LDAPPassword></S>");
  }

  void WriteDaemonSettings() {
    WriteSecret("config/DaemonSettings.xml", std::string("<S><PollInterval>1</PollInterval>") +
                                                 "<WorkspaceGuid>" + kGuid +
                                                 "</WorkspaceGuid></S>");
  }

  void StartServer() {
    fs::create_directory(home_.Path("slapd"));
    server_.emplace(home_.Path("slapd"), home_.Path("slapd/changes.ldif"));
    WriteLdapSettings(DirectoryServer::kPassword, server_->Port());
  }

  [[nodiscard]] std::string LdapFeed() const {
    return "accesslog:" + home_.Path("config/LDAPSettings.xml");
  }

  // Runs the agent on the text of a feed and looks at all that came of it; what it said.
  std::string RunOn(const std::string& kind, const std::string& text) {
    WriteSecret("feed", text);
    const Ended ended = RunAgent(kind + ":" + home_.Path("feed"));
    EXPECT_EQ(0, ended.status) << ended.errors;
    ExpectNoneTold(ended);
    return ended.errors;
  }

  void ExpectNoneTold(const Ended& ended) const {
    ExpectNoSecretIn(ended.output, "standard output");
    ExpectNoSecretIn(ended.errors, "standard error");
    ExpectNoneWritten();
  }

  // Looks at every file of the home but those of the directory server and of WriteSecret.
  void ExpectNoneWritten() const {
    for (const auto& entry : fs::recursive_directory_iterator(HomePath())) {
      const std::string path = entry.path().lexically_normal();
      if (path.find("/slapd/") != std::string::npos || places_.contains(path)) continue;
      ExpectNoSecretIn(path, "a name");
      if (entry.is_regular_file()) ExpectNoSecretIn(Content(path), path);
    }
  }

  void ExpectNoneShownBy(const Process& agent) const {
    const fs::path proc = "/proc/" + std::to_string(agent.Id());
    for (const char* const file : {"cmdline", "comm", "environ"}) {
      const std::string text = Content(proc / file);
      EXPECT_NE("", text) << file;
      ExpectNoSecretIn(text, file);
    }
  }

  static constexpr char kGuid[] = "Geheim7-d9cb-469f-a165-70867728950e";

  std::set<std::string> places_;
  std::optional<DirectoryServer> server_;
};

TEST_F(Secrets, OfTheDirectoryAreInNoFileMessageOrProcessList) {
  StartServer();
  Process agent(Command(LdapFeed()));
  server_->Add("dn: cn=bob,o=acme\nobjectClass: person\nsn: Smith\nuserPassword: Geheim7-bob\n");
  server_->ChangePassword("cn=bob,o=acme", "Geheim7-new");
  server_->Delete("cn=bob,o=acme");
  ASSERT_TRUE(WaitForLive("EventID=\"20002\"")) << agent.Errors();
  ExpectNoneShownBy(agent);
  agent.Signal(SIGTERM);
  EXPECT_EQ(0, agent.Wait());
  ExpectNoneTold({0, agent.Output(), agent.Errors()});
}

TEST_F(Secrets, WrongPasswordIsNotRepeated) {
  StartServer();
  WriteLdapSettings("Geheim7-wrong", server_->Port());
  Process agent(Command(LdapFeed()));
  ASSERT_TRUE(WaitUntil([&] { return agent.Errors().find("binding: ") != std::string::npos; }));
  agent.Signal(SIGTERM);
  EXPECT_EQ(0, agent.Wait());
  ExpectNoneTold({0, agent.Output(), agent.Errors()});
}

TEST_F(Secrets, SettingsThatAreNoXmlAreNamedButNotQuoted) {
  WriteLdapSettings("Geheim7-a&amp;&Geheim7entity;", 389);
  const Ended ended = RunAgent(LdapFeed());
  EXPECT_EQ(78, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr("config/LDAPSettings.xml:1: no well-formed XML"));
  ExpectNoneTold(ended);
}

TEST_F(Secrets, SettingsThatAreBrokenLaterAreNotQuoted) {
  StartServer();
  Process agent(Command(LdapFeed()));
  ASSERT_TRUE(WaitUntil([&] { return home_.Exists("tmp/EDALive.xml"); }));
  WriteLdapSettings("&Geheim7entity;", server_->Port());
  agent.Signal(SIGHUP);
  ASSERT_TRUE(WaitUntil([&] { return agent.Errors().find("stay in force") != std::string::npos; }));
  agent.Signal(SIGTERM);
  EXPECT_EQ(0, agent.Wait());
  ExpectNoneTold({0, agent.Output(), agent.Errors()});
}

TEST_F(Secrets, CheckOfTheSettingsShowsNone) {
  WriteLdapSettings("Geheim7-right", 389);
  WriteDaemonSettings();
  const std::vector<std::string> command = {WKAGENT_AGENT, "--home", HomePath(), "--check-config"};
  const Ended right = RunToEnd(command);
  EXPECT_THAT(right.output, HasSubstr("Workspace Guid: (set)\n"));
  ExpectNoneTold(right);
  WriteLdapSettings("&Geheim7entity;", 389);
  ExpectNoneTold(RunToEnd(command));
}

TEST_F(Secrets, OfALdifLogAreNotWritten) {
  const std::string said = RunOn("auditlog",
                                 "# modify 1700000000 o=acme cn=admin,o=acme\n"
                                 "dn: cn=bob,o=acme\nchangetype: modify\nreplace: userPassword\n"
                                 "userPassword: Geheim7-plain\n-\nreplace: userPassword\n"
                                 "userPassword:: R2VoZWltNy1iYXNlNjQ=\n-\nadd: description\n"
                                 "description: harmless\n-\n# end modify 1700000000\n\n");
  EXPECT_THAT(said, Not(HasSubstr("skipped")));
  EXPECT_EQ(3U, Records().size());
}

TEST_F(Secrets, OfABrokenLdifLogAreNotQuoted) {
  const std::string said =
      RunOn("auditlog",
            "dn: cn=bob,o=acme\nchangetype: modify\nreplace: userPassword\n"
            "userPassword:: !Geheim7-no-base64\n-\n\n"
            "dn: cn=bob,o=acme\nchangetype: modify\nreplace: userPassword\n"
            "Geheim7-no-attribute\n\n"
            "userPassword: Geheim7-no-entry\n\n"
            "dn: cn=bob,o=acme\nchangetype: modify\nuserPassword: Geheim7-x\n");
  EXPECT_THAT(said, HasSubstr("skipped"));
}

TEST_F(Secrets, OfJsonLinesAreNotWritten) {
  RunOn("jsonl", JsonLine(20007, {{"Object1", "bob.acme"},
                                  {"Attribute1", "userPassword"},
                                  {"AttributeValue", "Geheim7-json"}}) +
                     JsonLine(20005, {{"Object1", "bob.acme"},
                                      {"Attribute1", "userPassword"},
                                      {"AttributeValue", "Geheim7-other-code"}}));
  EXPECT_EQ(2U, Records().size());
}

TEST_F(Secrets, OfBrokenJsonLinesAreNotQuoted) {
  const std::string said = RunOn("jsonl",
                                 "{\"EventID\":20007,\"AttributeValue\":\"Geheim7-cut-off\n"
                                 "{\"EventID\":\"Geheim7-no-number\"}\nGeheim7\n[\"Geheim7\"]\n");
  EXPECT_THAT(said, HasSubstr("skipped"));
}

// The key and what it opens, while alerts are sent and when that fails.
TEST_F(Secrets, OfAlertsAreInNoFileOrMessage) {
  WriteDaemonSettings();
  WriteSecret("plain", "<S><SMTPServer>127.0.0.1:1</SMTPServer><Secret>Geheim7</Secret></S>");
  CRijndael().WKEncryptFile(Text(home_.Path("plain")), Text(home_.Path("config/SMTPSettings.cfg")),
                            Text(kGuid));
  home_.Write("tmp/SMTP.20261115082205.txt", std::string(768, 'x'));
  Process agent({WKAGENT_AGENT, "--home", HomePath(), "--feed", "jsonl:-"}, Input::kFromTest);
  ASSERT_TRUE(WaitUntil([&] { return agent.Errors().find("could be sent") != std::string::npos; }))
      << agent.Errors();
  agent.CloseInput();
  EXPECT_EQ(0, agent.Wait());
  EXPECT_FALSE(home_.Exists("config/SMTPSettings.xml"));
  ExpectNoneTold({0, agent.Output(), agent.Errors()});
}

// Else nothing above would show anything.
TEST_F(Secrets, ThatAreNoneAreFound) {
  const std::string text = JsonLine(20005, {{"Object1", "bob.acme"},
                                            {"Attribute1", "description"},
                                            {"AttributeValue", "Geheim7-is-not-secret-here"}});
  home_.Write("feed", text);
  EXPECT_EQ(0, RunAgent("jsonl:" + home_.Path("feed")).status);
  EXPECT_THAT(Content(home_.Path("tmp/EDALive.xml")), HasSubstr(kMark));
}

}  // namespace
}  // namespace wkagent::test
