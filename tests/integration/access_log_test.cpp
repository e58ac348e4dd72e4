// From a directory server's access log to audit records, through restarts of both.

#include <algorithm>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <thread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "core/handles.h"
#include "integration/agent_test.h"
#include "integration/ldap_client.h"
#include "integration/slapd.h"
#include "support/conservation.h"
#include "support/private_root.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr char kAllLogins[] =
    "<Filters><Filter Title=\"All\" IncludeExclude=\"1\" Enabled=\"1\" AllDay=\"1\""
    " StartTime=\"\" EndTime=\"\"/><Operations AllOperations=\"1\"/><Users AllUsers=\"1\"/>"
    "<Nodes AllNodes=\"1\"/></Filters>";

// An agent for the access log of a server that runs from StartServer on.
class AccessLogTest : public AgentTest {
 protected:
  AccessLogTest() { home_.Write("config/ELAFilter.xml", kAllLogins); }

  void StartServer() {
    std::filesystem::create_directory(home_.Path("slapd"));
    server_.emplace(home_.Path("slapd"), home_.Path("changes.ldif"));
    WriteSettings(DirectoryServer::kPassword);
  }

  void WriteSettings(const std::string& password) { WriteSettings(password, server_->Port()); }

  void WriteSettings(const std::string& password, int port) {
    home_.Write("config/LDAPSettings.xml",
                "<Settings><LDAPServer>127.0.0.1</LDAPServer><LDAPPortNumber>" +
                    std::to_string(port) + "</LDAPPortNumber><LDAPUserName>" +
                    DirectoryServer::kReader + "</LDAPUserName><LDAPPassword>" + password +
                    "</LDAPPassword><LDAPeDirectoryTreeName>ACME</LDAPeDirectoryTreeName>"
                    "</Settings>");
  }

  void StartAgent(const std::vector<std::string>& more = {}) {
    agent_.emplace(Command("accesslog:" + home_.Path("config/LDAPSettings.xml"), more));
  }

  void StopAgent() {
    agent_->Signal(SIGTERM);
    EXPECT_EQ(0, agent_->Wait()) << agent_->Errors();
    ExpectConserved(agent_->Output());
    messages_ += agent_->Errors();
  }

  [[nodiscard]] bool WaitForMessage(const std::string& text) const {
    return WaitUntil([&] { return agent_->Errors().find(text) != std::string::npos; });
  }

  // Follows the log with these options until a change of now has been written.
  void FollowOneChange(const std::vector<std::string>& more) {
    StartAgent(more);
    server_->Add("dn: ou=it,o=acme\nobjectClass: organizationalUnit\nou: it\n");
    EXPECT_TRUE(WaitForLive("Object1=\"it.acme\"")) << agent_->Errors();
    StopAgent();
  }

  [[nodiscard]] LdapClient Client() const {
    return {server_->Url(), DirectoryServer::kAdmin, DirectoryServer::kPassword};
  }

  // What the records tell, "CODE OBJECT VALUE OBJECT2" for changes and "CODE USER STATUS" for
  // logins, and how often.
  [[nodiscard]] std::map<std::string, int> Told() const {
    std::map<std::string, int> told;
    for (const AuditRecord& record : Records()) {
      const bool login = record.code.starts_with("21");
      ++told[login
                 ? record.code + " " + record.user + " " + record.status
                 : record.code + " " + record.object1 + " " + record.value + " " + record.object2];
    }
    return told;
  }

  std::optional<DirectoryServer> server_;
  std::optional<Process> agent_;
  std::string messages_;  // of the agents that were stopped
};

class AccessLog : public AccessLogTest {
 protected:
  void SetUp() override { StartServer(); }
};

TEST_F(AccessLog, ChangesAndLoginsBecomeRecords) {
  StartAgent();
  server_->Add("dn: cn=bob,o=acme\nobjectClass: person\nsn: Smith\nuserPassword: Geheim7-bob\n");
  EXPECT_EQ(LDAP_SUCCESS, Client().Login("cn=bob,o=acme", "Geheim7-bob"));
  EXPECT_EQ(LDAP_INVALID_CREDENTIALS, Client().Login("cn=bob,o=acme", "wrong"));
  server_->Rename("cn=bob,o=acme", "cn=rob");
  server_->Delete("cn=rob,o=acme");
  ASSERT_TRUE(WaitForLive("EventID=\"20002\"")) << agent_->Errors();
  StopAgent();
  const std::map<std::string, int> told = Told();
  for (const char* one :
       {"20001 bob.acme  ", "20005 bob.acme Smith ", "20007 bob.acme  ", "21001 bob.acme 0",
        "21001 bob.acme 49", "21002 bob.acme 0", "20003 bob.acme  rob.acme", "20002 rob.acme  "}) {
    EXPECT_THAT(told, Contains(std::pair<const std::string, int>(one, 1)));
  }
  EXPECT_THAT(home_.Read("tmp/EDALive.xml"), Not(HasSubstr("Geheim7")));
}

TEST_F(AccessLog, RecordsBearServerTreeAndAuthor) {
  StartAgent();
  server_->Add("dn: ou=it,o=acme\nobjectClass: organizationalUnit\nou: it\n");
  ASSERT_TRUE(WaitForLive("EventID=\"20001\"")) << agent_->Errors();
  StopAgent();
  const std::vector<AuditRecord> records = Records();
  const auto added = std::find_if(records.begin(), records.end(),
                                  [](const AuditRecord& one) { return one.code == "20001"; });
  ASSERT_NE(records.end(), added);
  EXPECT_EQ("admin.acme", added->user);
  EXPECT_EQ("127.0.0.1", added->server);
  EXPECT_EQ("ACME", added->tree);
  EXPECT_EQ("organizationalUnit", added->class1);
}

TEST_F(AccessLog, WhatHappenedBeforeTheFirstStartIsReadToo) {
  server_->Add("dn: ou=it,o=acme\nobjectClass: organizationalUnit\nou: it\n");
  StartAgent();
  EXPECT_TRUE(WaitForLive("Object1=\"it.acme\"")) << agent_->Errors();
  StopAgent();
}

TEST_F(AccessLog, AServerThatIsDownIsWaitedFor) {
  server_->Stop();
  StartAgent();
  ASSERT_TRUE(WaitForMessage("trying again in 2 s"));
  server_->StartAgain();
  server_->Add("dn: ou=it,o=acme\nobjectClass: organizationalUnit\nou: it\n");
  EXPECT_TRUE(WaitForLive("Object1=\"it.acme\"")) << agent_->Errors();
  StopAgent();
  EXPECT_THAT(home_.Read("tmp/wkagentd.status"), HasSubstr("trying again in 1 s"));
}

TEST_F(AccessLog, CorrectedSettingsAreTakenOverAtOnce) {
  WriteSettings("wrong");
  StartAgent();
  ASSERT_TRUE(WaitForMessage("binding: Invalid credentials"));
  WriteSettings(DirectoryServer::kPassword);
  server_->Add("dn: ou=it,o=acme\nobjectClass: organizationalUnit\nou: it\n");
  EXPECT_TRUE(WaitForLive("Object1=\"it.acme\"")) << agent_->Errors();
  StopAgent();
  EXPECT_THAT(messages_, Not(HasSubstr("wrong")));
}

TEST_F(AccessLog, SettingsOutsideTheHomeAreReadAgainAtSighup) {
  const std::string path = home_.Path("slapd/directory.xml");
  WriteSettings("wrong");
  std::filesystem::rename(home_.Path("config/LDAPSettings.xml"), path);
  agent_.emplace(Command("accesslog:" + path));
  ASSERT_TRUE(WaitForMessage("binding: Invalid credentials"));
  WriteSettings(DirectoryServer::kPassword);
  std::filesystem::rename(home_.Path("config/LDAPSettings.xml"), path);
  agent_->Signal(SIGHUP);
  server_->Add("dn: ou=it,o=acme\nobjectClass: organizationalUnit\nou: it\n");
  EXPECT_TRUE(WaitForLive("Object1=\"it.acme\"")) << agent_->Errors();
  StopAgent();
  EXPECT_THAT(messages_, HasSubstr(path + ": read again"));
}

TEST_F(AccessLog, AFilterThatIsReplacedDecidesWhatFollows) {
  home_.Write("config/EDAFilter.xml", FilterFile({}));
  StartAgent();
  server_->Add("dn: ou=before,o=acme\nobjectClass: organizationalUnit\nou: before\n");
  ASSERT_TRUE(WaitUntil(
      [&] { return home_.Read("tmp/accesslog.position").find("Z#") != std::string::npos; }));
  home_.Write("config/EDAFilter.xml", FilterFile({KeepAll()}));
  ASSERT_TRUE(WaitForMessage("EDAFilter.xml: read again, 1 statements"));
  server_->Add("dn: ou=after,o=acme\nobjectClass: organizationalUnit\nou: after\n");
  ASSERT_TRUE(WaitForLive("Object1=\"after.acme\"")) << agent_->Errors();
  StopAgent();
  EXPECT_THAT(home_.Read("tmp/EDALive.xml"), Not(HasSubstr("before.acme")));
}

TEST_F(AccessLog, SettingsWithoutServerAreBadConfiguration) {
  home_.Write("config/LDAPSettings.xml", "<Settings/>");
  StartAgent();
  EXPECT_EQ(78, agent_->Wait());
  EXPECT_THAT(agent_->Errors(), HasSubstr("LDAPSettings.xml: LDAPServer is missing"));
}

TEST_F(AccessLog, MissingSettingsAreMissingInput) {
  std::filesystem::remove(home_.Path("config/LDAPSettings.xml"));
  StartAgent();
  EXPECT_EQ(66, agent_->Wait());
  EXPECT_THAT(agent_->Errors(), HasSubstr("LDAPSettings.xml: No such file"));
}

TEST_F(AccessLog, ThePositionOfAnotherServerIsSetAside) {
  home_.Write("tmp/accesslog.position", "wkagent log position 1\nanother\n\n");
  server_->Add("dn: ou=it,o=acme\nobjectClass: organizationalUnit\nou: it\n");
  StartAgent();
  EXPECT_TRUE(WaitForLive("Object1=\"it.acme\"")) << agent_->Errors();
  StopAgent();
  EXPECT_THAT(messages_, HasSubstr("accesslog.position: not the position of cn=accesslog on"));
  EXPECT_TRUE(home_.Exists("tmp/accesslog.position.unused"));
}

TEST_F(AccessLog, AnAgentThatIsKilledLosesAndDoublesNothing) {
  constexpr int kUnits = 600;
  LdapClient client = Client();
  StartAgent();
  for (int i = 0; i < kUnits; ++i) {
    const std::string name = "u" + std::to_string(i);
    ASSERT_EQ(LDAP_SUCCESS,
              client.Add("ou=" + name + ",o=acme", {{"objectClass", "organizationalUnit"}}));
    if (i % 50 != 25) continue;
    agent_->Signal(SIGKILL);
    agent_->Wait();
    StartAgent();
  }
  const std::string last = "Object1=\"u" + std::to_string(kUnits - 1) + ".acme\"";
  ASSERT_TRUE(WaitForLive(last)) << agent_->Errors();
  StopAgent();
  const std::map<std::string, int> told = Told();
  for (int i = 0; i < kUnits; ++i) {
    const auto found = told.find("20001 u" + std::to_string(i) + ".acme  ");
    EXPECT_EQ(1, found == told.end() ? 0 : found->second) << i;
  }
}

TEST_F(AccessLog, AnOfferedStartTlsIsTaken) {
  const std::string certificate = server_->OfferTls();
  server_->Modify(
      "dn: olcDatabase={1}mdb,cn=config\nchangetype: modify\nadd: olcSecurity\n"
      "olcSecurity: ssf=128\n",
      DirectoryServer::kConfigAdmin);
  FollowOneChange({"--ca-file", certificate});
  EXPECT_EQ("", messages_);
}

TEST_F(AccessLog, ACertificateThatNobodyVouchesForIsRefused) {
  server_->OfferTls();
  StartAgent();
  EXPECT_TRUE(WaitForMessage("STARTTLS: Connect error")) << agent_->Errors();
  StopAgent();
  EXPECT_THAT(Told(), Not(Contains(std::pair<const std::string, int>("21001 reader.acme 0", 1))));
}

TEST_F(AccessLog, AMissingFileOfCertificatesIsNamed) {
  StartAgent({"--ca-file", home_.Path("config/none.pem")});
  EXPECT_TRUE(WaitForMessage("none.pem: no certificates can be read from it"));
  StopAgent();
}

TEST_F(AccessLogTest, Port636IsLdaps) {
  InPrivateNetwork([&] {
    StartServer();
    const std::string certificate = server_->OfferTls();
    server_->Stop();
    server_->StartAgain();
    WriteSettings(DirectoryServer::kPassword, 636);
    FollowOneChange({"--ca-file", certificate});
    EXPECT_EQ("", messages_);
  });
}

TEST_F(AccessLogTest, AServerThatNeverAnswersTheHandshakeIsGivenUp) {
  InPrivateNetwork([&] {
    const Fd listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(636);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(0, bind(listener.Get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)));
    ASSERT_EQ(0, listen(listener.Get(), 5));
    WriteSettings("any", 636);
    StartAgent();
    EXPECT_TRUE(WaitForMessage("trying again in 1 s"));
    StopAgent();
  });
}

TEST_F(AccessLog, WhatTheServerHasPurgedIsReportedAndTheRestIsRead) {
  home_.Write("tmp/accesslog.position", "wkagent log position 1\ncn=accesslog on 127.0.0.1:" +
                                            std::to_string(server_->Port()) +
                                            "\n20200101000000.000000Z#000000#000#000000\n");
  server_->Add("dn: ou=it,o=acme\nobjectClass: organizationalUnit\nou: it\n");
  StartAgent();
  EXPECT_TRUE(WaitForLive("Object1=\"it.acme\"")) << agent_->Errors();
  StopAgent();
  EXPECT_THAT(messages_, HasSubstr("the server no longer holds all that followed 20200101"));
}

// Clients that work on the server whatever happens to it, and what came of each operation.
class Clients {
 public:
  static constexpr int kThreads = 4;
  static constexpr int kRounds = 170;  // each of six operations

  explicit Clients(const std::function<LdapClient()>& connect) {
    std::vector<LdapClient> clients;
    for (int number = 0; number < kThreads; ++number) clients.push_back(connect());
    for (int number = 0; number < kThreads; ++number) {
      threads_.emplace_back(
          [this, number, client = std::move(clients[static_cast<std::size_t>(number)])]() mutable {
            Work(number, client);
          });
    }
  }
  ~Clients() { Join(); }

  void Join() {
    for (std::thread& thread : threads_) {
      if (thread.joinable()) thread.join();
    }
  }

  [[nodiscard]] int Done() const { return done_; }

  // The record that each operation must leave, and whether its client heard that it was done.
  std::map<std::string, bool> expected;

 private:
  void Work(int number, LdapClient& client) {
    for (int round = number; round < kRounds; round += kThreads) {
      const std::string id = std::to_string(round);
      const std::string name = "cn=n" + id + ",ou=sales,o=acme";
      const std::string dotted = "n" + id + ".sales.acme";
      Note("20001 " + dotted + "  ", Retry([&] {
             return client.Add(
                 name, {{"objectClass", "person"}, {"sn", "s"}, {"userPassword", "p" + id}});
           }));
      Note("20005 " + dotted + " d" + id + " ",
           Retry([&] { return client.AddValue(name, "description", "d" + id); }));
      Note("21001 " + dotted + " 0", Retry([&] { return client.Login(name, "p" + id); }));
      Note("21001 x" + id + ".acme 49",
           Retry([&] { return client.Login("cn=x" + id + ",o=acme", "x"); }));
      Note("20003 " + dotted + "  r" + id + ".sales.acme",
           Retry([&] { return client.Rename(name, "cn=r" + id); }));
      Note("20002 r" + id + ".sales.acme  ",
           Retry([&] { return client.Delete("cn=r" + id + ",ou=sales,o=acme"); }));
    }
  }

  // Does an operation until the server answers. True when it was done once for certain: an attempt
  // whose answer was lost may have been done too.
  template <typename Operation>
  [[nodiscard]] static bool Retry(Operation operation) {
    bool first = true;
    int code = LDAP_SUCCESS;
    const bool answered = WaitUntil([&] {
      code = operation();
      const bool down = code == LDAP_SERVER_DOWN || code == LDAP_UNAVAILABLE ||
                        code == LDAP_CONNECT_ERROR || code == LDAP_BUSY;
      first = first && !down;
      return !down;
    });
    return answered && first && (code == LDAP_SUCCESS || code == LDAP_INVALID_CREDENTIALS);
  }

  void Note(const std::string& record, bool certain) {
    const std::lock_guard<std::mutex> lock(mutex_);
    expected[record] = certain;
    ++done_;
  }

  std::mutex mutex_;
  std::atomic<int> done_ = 0;
  std::vector<std::thread> threads_;
};

TEST_F(AccessLog, ThroughRestartsOfServerAndAgentEachOperationIsWrittenOnce) {
  StartAgent();
  Clients clients([this] { return Client(); });
  const auto waitFor = [&](int operations) {
    ASSERT_TRUE(WaitUntil([&] { return clients.Done() >= operations; })) << clients.Done();
  };
  for (int operations = 100; operations <= 900; operations += 160) {
    waitFor(operations);
    if (operations / 160 % 2 == 0) {
      server_->Stop();
      server_->StartAgain();
    } else {
      StopAgent();
      waitFor(operations + 60);
      StartAgent();
    }
  }
  clients.Join();
  server_->Add("dn: ou=last,o=acme\nobjectClass: organizationalUnit\nou: last\n");
  ASSERT_TRUE(WaitForLive("Object1=\"last.acme\"")) << agent_->Errors();
  StopAgent();

  const std::map<std::string, int> told = Told();
  int certain = 0;
  for (const auto& [record, known] : clients.expected) {
    const auto found = told.find(record);
    const int times = found == told.end() ? 0 : found->second;
    if (known) {
      EXPECT_EQ(1, times) << record;
      ++certain;
    } else {
      // A login whose answer was lost was repeated by its client.
      EXPECT_LE(times, record.starts_with("21") ? 2 : 1) << record;
    }
  }
  EXPECT_GE(certain, 1000) << messages_;
}

}  // namespace
}  // namespace wkagent::test
