// What somebody has put into the store of lines: with SetRetryCurrentFile, which a sender's safe
// delivery switches on, it is neither sent nor written to.

#include <ctime>

#include <sys/stat.h>
#include <unistd.h>

#include "syslog/retry_fixture.h"

namespace wkagent::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace fs = std::filesystem;

class SyslogPlantedFiles : public RetryTest {
 protected:
  SyslogPlantedFiles() {
    WriteFile(kAuditData / "victim", "untouched\n");
    fs::create_directory(kStore);
    handler_.SetRetryCurrentFile(true);
  }
  void TearDown() override { EXPECT_EQ("untouched\n", ReadFile(kAuditData / "victim")); }

  static constexpr char kName[] = "nsa_batch_20261115_082205_1_1.log";
};

TEST_F(SyslogPlantedFiles, LinkIsNotSent) {
  fs::create_symlink(kAuditData / "victim", kStore / kName);
  EXPECT_EQ(PassSays(), "Failed to open retry file: " + PathOf(kName) + "\n");
  EXPECT_THAT(recipient_.Offered(), IsEmpty());
  EXPECT_THAT(BatchFiles(), ElementsAre(kName));
}

TEST_F(SyslogPlantedFiles, FileWithASecondNameIsNotSent) {
  fs::create_hard_link(kAuditData / "victim", kStore / kName);
  EXPECT_THAT(PassOffers(), IsEmpty());
  EXPECT_THAT(BatchFiles(), ElementsAre(kName));
}

TEST_F(SyslogPlantedFiles, LinkUnderTheNextNameIsPassedOver) {
  // The names of this second and of those to come.
  const std::time_t now = std::time(nullptr);
  for (std::time_t second = now; second < now + 60; ++second) {
    char stamp[32];
    std::tm local{};
    localtime_r(&second, &local);
    std::strftime(stamp, sizeof(stamp), "%Y%m%d_%H%M%S", &local);
    const std::string name =
        std::string("nsa_batch_") + stamp + '_' + std::to_string(getpid()) + '_';
    fs::create_symlink(kAuditData / "victim", kStore / (name + "1.log"));
    fs::create_hard_link(kAuditData / "victim", kStore / (name + "2.log"));
    ASSERT_EQ(0, mkfifo(PathOf(name + "3.log").c_str(), 0600));
    fs::create_directory(kStore / (name + "4.log"));
  }
  Save({"a"});
  EXPECT_EQ(5, Counter());
  EXPECT_EQ("a\n", ReadFile(CurrentPath()));
}

TEST_F(SyslogPlantedFiles, FileIsForItsOwnerAloneWhateverTheUmask) {
  const mode_t mask = umask(0777);
  Save({"a"});
  umask(mask);
  EXPECT_EQ(fs::perms(0600), fs::status(CurrentPath()).permissions());
  EXPECT_THAT(PassOffers(), Contains("a"));
}

}  // namespace
}  // namespace wkagent::test
