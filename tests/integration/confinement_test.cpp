// The rights that a running agent has, as the kernel tells them, and what it says where it would
// not have those that it needs.

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>

#include <sys/stat.h>
#include <unistd.h>

#include "integration/agent_test.h"
#include "integration/slapd.h"
#include "support/sanitized.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;
using ::testing::SizeIs;

namespace fs = std::filesystem;

// An account that every Debian has.
constexpr uid_t kNobody = 65534;
constexpr gid_t kDaemon = 1;

constexpr char kNone[] = "0000000000000000";
constexpr char kReadAndSearch[] = "0000000000000004";  // CAP_DAC_READ_SEARCH

using Status = std::map<std::string, std::string>;

// The lines of a file of /proc that have the form "NAME:\tVALUE".
Status StatusIn(const fs::path& path) {
  Status status;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    const std::size_t colon = line.find(":\t");
    if (colon != std::string::npos) status[line.substr(0, colon)] = line.substr(colon + 2);
  }
  return status;
}

class Confinement : public AgentTest {
 protected:
  // Starts an agent with all its threads: reader, worker and alerts.
  void Start(const std::vector<std::string>& more = {}) {
    std::vector<std::string> command = {WKAGENT_AGENT, "--home", HomePath(), "--feed", "jsonl:-"};
    command.insert(command.end(), more.begin(), more.end());
    agent_.emplace(command, Input::kFromTest, "/");
    agent_->Write(Numbered(1));
    ASSERT_TRUE(WaitForEvent(1)) << agent_->Errors();
    ASSERT_TRUE(WaitUntil([this] { return Threads().size() >= 3; }));
  }

  [[nodiscard]] fs::path Proc() const { return "/proc/" + std::to_string(agent_->Id()); }

  [[nodiscard]] std::vector<Status> Threads() const {
    std::vector<Status> all;
    for (const auto& thread : fs::directory_iterator(Proc() / "task")) {
      all.push_back(StatusIn(thread.path() / "status"));
    }
    return all;
  }

  void ExpectOfEachThread(const std::string& name, const std::string& value) const {
    EXPECT_THAT(Threads(), Each(Contains(Pair(name, value)))) << name;
  }

  void Stop() {
    agent_->CloseInput();
    EXPECT_EQ(0, agent_->Wait()) << agent_->Errors();
  }

  // As an administrator does who gives the home to a user.
  void GiveHomeToNobody() const {
    ASSERT_EQ(0, lchown(HomePath().c_str(), kNobody, kDaemon));
    for (const auto& entry : fs::recursive_directory_iterator(HomePath())) {
      ASSERT_EQ(0, lchown(entry.path().c_str(), kNobody, kDaemon));
    }
  }

  [[nodiscard]] Ended RunAsNobody(const std::string& feed,
                                  const std::vector<std::string>& more = {}) const {
    std::vector<std::string> command = Command(feed, {"--user", "nobody:daemon"});
    command.insert(command.end(), more.begin(), more.end());
    return RunToEnd(command, Numbered(0, 3), "/");
  }

  std::optional<Process> agent_;
};

TEST_F(Confinement, HoldsInEveryThread) {
  Start();
  ExpectOfEachThread("Seccomp", "2");
  ExpectOfEachThread("NoNewPrivs", "1");
  Stop();
}

TEST_F(Confinement, LeavesRootTheRightToReadOnly) {
  Start();
  ExpectOfEachThread("CapEff", kReadAndSearch);
  ExpectOfEachThread("CapPrm", kReadAndSearch);
  for (const char* const set : {"CapInh", "CapBnd", "CapAmb"}) ExpectOfEachThread(set, kNone);
  Stop();
}

TEST_F(Confinement, LeavesAnotherUserNoCapabilityAndNoGroupOfRoot) {
  GiveHomeToNobody();
  Start({"--user", "nobody:daemon"});
  for (const char* const set : {"CapInh", "CapPrm", "CapEff", "CapBnd", "CapAmb"}) {
    ExpectOfEachThread(set, kNone);
  }
  ExpectOfEachThread("Uid", "65534\t65534\t65534\t65534");
  ExpectOfEachThread("Gid", "1\t1\t1\t1");
  ExpectOfEachThread("Groups", "1 ");
  ExpectOfEachThread("Seccomp", "2");
  Stop();
  EXPECT_THAT(Numbers(), ElementsAre(1));
}

TEST_F(Confinement, DirectoryServerIsFollowedOverTlsWithoutRights) {
  fs::create_directory(home_.Path("slapd"));
  DirectoryServer server(home_.Path("slapd"), home_.Path("slapd/changes.ldif"));
  const std::string certificate = server.OfferTls();
  home_.Write("config/LDAPSettings.xml",
              "<S><LDAPServer>127.0.0.1</LDAPServer><LDAPPortNumber>" +
                  std::to_string(server.Port()) + "</LDAPPortNumber><LDAPUserName>" +
                  DirectoryServer::kReader + "</LDAPUserName><LDAPPassword>" +
                  DirectoryServer::kPassword + "</LDAPPassword></S>");
  GiveHomeToNobody();
  Process agent(Command("accesslog:" + home_.Path("config/LDAPSettings.xml"),
                        {"--user", "nobody", "--ca-file", certificate}));
  server.Add("dn: ou=it,o=acme\nobjectClass: organizationalUnit\nou: it\n");
  EXPECT_TRUE(WaitForLive("Object1=\"it.acme\"")) << agent.Errors();
  agent.Signal(SIGTERM);
  EXPECT_EQ(0, agent.Wait()) << agent.Errors();
  EXPECT_TRUE(home_.Exists("tmp/accesslog.position"));
}

TEST_F(Confinement, FilesOfAnotherUserAreThatUsers) {
  GiveHomeToNobody();
  EXPECT_EQ(0, RunAsNobody("jsonl:-").status);
  for (const std::string& file : AuditFiles()) {
    struct stat status {};
    ASSERT_EQ(0, stat(file.c_str(), &status));
    EXPECT_EQ(kNobody, status.st_uid) << file;
    EXPECT_EQ(kDaemon, status.st_gid) << file;
    EXPECT_EQ(0640U, status.st_mode & 07777) << file;
  }
}

TEST_F(Confinement, KeepsMemoryFromCoreFilesAndFromOthersOfTheUser) {
  GiveHomeToNobody();
  Start({"--user", "nobody"});
  std::ifstream limits(Proc() / "limits");
  const std::string text((std::istreambuf_iterator<char>(limits)), {});
  EXPECT_THAT(text, ::testing::ContainsRegex("Max core file size +0 +0 "));
#ifndef WKAGENT_TEST_SANITIZED
  // The files of /proc that show memory are root's where a process may not be dumped.
  struct stat status {};
  ASSERT_EQ(0, stat((Proc() / "environ").c_str(), &status));
  EXPECT_EQ(0U, status.st_uid);
#endif
  Stop();
}

TEST_F(Confinement, FeedThatRootAloneMayReadIsReadBeforeTheUserIsTaken) {
  GiveHomeToNobody();
  home_.Write("events", Numbered(0, 2));
  fs::permissions(home_.Path("events"), fs::perms::owner_read);
  EXPECT_EQ(0, RunAsNobody("jsonl:" + home_.Path("events")).status);
  EXPECT_EQ(Range(0, 2), Numbers());
}

TEST_F(Confinement, FeedThatCannotBeOpenedAgainIsNamed) {
  GiveHomeToNobody();
  home_.Write("events", Numbered(0, 2));
  fs::permissions(home_.Path("events"), fs::perms::owner_read);
  const Ended ended = RunAsNobody("jsonl:" + home_.Path("events"), {"--follow"});
  EXPECT_EQ(78, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr(home_.Path("events") +
                                      ": nobody:daemon cannot read it: Permission denied\n"));
}

TEST_F(Confinement, EachPlaceThatTheUserCannotUseIsNamed) {
  ASSERT_EQ(0, chmod(HomePath().c_str(), 0755));
  ASSERT_EQ(0, chmod(home_.Path("config/EDAFilter.xml").c_str(), 0600));
  const Ended ended = RunAsNobody("jsonl:-");
  EXPECT_EQ(78, ended.status);
  EXPECT_THAT(ended.errors,
              AllOf(HasSubstr(home_.Path("tmp") + ": nobody:daemon cannot write to it"),
                    HasSubstr(home_.Path("outbox") + ": nobody:daemon cannot write to it"),
                    HasSubstr(home_.Path("config/EDAFilter.xml") + ": nobody:daemon cannot read")));
  EXPECT_THAT(home_.List("tmp"), SizeIs(0));
}

TEST_F(Confinement, UnknownUserAndGroupAreWrongUsage) {
  for (const auto& [user, why] : std::map<std::string, std::string>{
           {"no-such-user", "there is no user no-such-user"},
           {"nobody:no-such-group", "there is no group no-such-group"}}) {
    const Ended ended = RunToEnd(Command("jsonl:-", {"--user", user}), {}, "/");
    EXPECT_EQ(64, ended.status);
    EXPECT_EQ("wkagentd: --user " + user + ": " + why + "\n", ended.errors);
  }
}

TEST_F(Confinement, SandboxThatIsLeftOutIsReported) {
  Start({"--no-sandbox"});
  ExpectOfEachThread("Seccomp", "0");
  ExpectOfEachThread("NoNewPrivs", "1");
  Stop();
  EXPECT_THAT(agent_->Errors(), HasSubstr("--no-sandbox: every system call is allowed\n"));
}

TEST_F(Confinement, HomeThatOthersMayChangeIsRefused) {
  ASSERT_EQ(0, chmod(home_.Path("config").c_str(), 0777));
  const Ended ended = RunAgent("jsonl:-", Numbered(0, 3));
  EXPECT_EQ(78, ended.status);
  EXPECT_EQ("wkagentd: " + home_.Path("config") +
                ": its mode 0777 lets others write to it; chmod go-w it\n",
            ended.errors);
  EXPECT_THAT(home_.List("tmp"), SizeIs(0));
}

TEST_F(Confinement, LinkInPlaceOfTheLiveFileIsRefusedAndNotFollowed) {
  home_.Write("victim", "untouched");
  fs::create_symlink("../victim", home_.Path("tmp/EDALive.xml"));
  const Ended ended = RunAgent("jsonl:-", Numbered(0, 3));
  EXPECT_EQ(78, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr(home_.Path("tmp/EDALive.xml") + ": is a link"));
  EXPECT_EQ("untouched", home_.Read("victim"));
}

TEST_F(Confinement, LinkThatAppearsUnderAMarkersNameIsNotFollowed) {
  home_.Write("victim", "untouched");
  Start();
  fs::remove(home_.Path("tmp/wkagentd.status"));
  fs::create_symlink("../victim", home_.Path("tmp/wkagentd.status"));
  Stop();
  EXPECT_EQ("untouched", home_.Read("victim"));
  EXPECT_THAT(agent_->Errors(), HasSubstr("wkagentd.status: Too many levels of symbolic links"));
}

TEST_F(Confinement, LocalFilesAreForTheGroupAtMostWhateverTheUmask) {
  const mode_t mask = umask(0);
  Audit(Numbered(0, 501));
  umask(mask);
  for (const char* const folder : {"tmp", "outbox"}) {
    for (const std::string& name : home_.List(folder)) {
      const auto mode = fs::status(home_.Path(std::string(folder) + "/" + name)).permissions();
      EXPECT_EQ(fs::perms::none, mode & ~fs::perms(0640)) << name;
    }
  }
}

}  // namespace
}  // namespace wkagent::test
