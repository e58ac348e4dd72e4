// Archive names at known times.

#include <string>

#include "output/fixed_clock.h"
#include "output/output_fixture.h"
#include "output/zones.h"
#include "support/local_time.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::time_t kMorning = 1'794'748'925;  // 2026-11-15 08:22:05 in New York

class ArchiveClock : public OutputTest {
 protected:
  // Lets `output` archive one record, its number, and leaves the outbox as it is.
  static void ArchiveOne(WKOutputFile& output, int number) {
    ASSERT_EQ(0, output.OpenFile());
    ASSERT_EQ(0, WriteNumbers(output, number, number));
    output.CloseFile();
    ASSERT_EQ(0, output.RenameLog());
  }

  const TimeZone newYork_{kNewYork};
};

TEST_F(ArchiveClock, GivesArchivesTheirNames) {
  const FixedClock clock(kMorning);
  LoggedOutput output;
  ArchiveOne(output, 1);
  EXPECT_THAT(home_.List("outbox"), ElementsAre("EDA20261115082205.xml"));
  EXPECT_STREQ("Created archive file ../outbox/EDA20261115082205.xml", output.GetError());
}

TEST_F(ArchiveClock, GivesEveryPartTwoDigits) {
  const FixedClock clock(1'798'876'984);  // 2027-01-02 03:03:04
  LoggedOutput output;
  ArchiveOne(output, 1);
  EXPECT_THAT(home_.List("outbox"), ElementsAre("EDA20270102030304.xml"));
}

TEST_F(ArchiveClock, SecondArchiveOfASecondReplacesTheFirst) {
  const FixedClock clock(kMorning);
  LoggedOutput output;
  ArchiveOne(output, 1);
  ArchiveOne(output, 2);
  EXPECT_THAT(home_.List("outbox"), ElementsAre("EDA20261115082205.xml"));
  EXPECT_EQ(Range(2, 2), TakeArchive());
  EXPECT_EQ(2, output.GetArchivedCount());
}

TEST_F(ArchiveClock, SafeArchivesOfASecondAreNumbered) {
  const FixedClock clock(kMorning);
  LoggedOutput output;
  output.SetSafeArchive(true);
  for (int number = 1; number <= 12; ++number) ArchiveOne(output, number);
  const std::vector<std::string> names = home_.List("outbox");
  ASSERT_EQ(12U, names.size());
  EXPECT_EQ("EDA20261115082205.xml", names[0]);
  EXPECT_EQ("EDA20261115082205_0001.xml", names[1]);
  EXPECT_EQ("EDA20261115082205_0011.xml", names[11]);
  EXPECT_EQ(Range(1, 12), Numbers(Archives()));
}

TEST_F(ArchiveClock, SafeArchiveDoesNotTakeANameAgain) {
  FixedClock clock(kMorning);
  LoggedOutput output;
  output.SetSafeArchive(true);
  for (int number = 1; number <= 3; ++number) ArchiveOne(output, number);
  std::filesystem::remove("../outbox/EDA20261115082205.xml");
  std::filesystem::remove("../outbox/EDA20261115082205_0001.xml");
  ArchiveOne(output, 4);
  clock.Set(kMorning + 1);
  ArchiveOne(output, 5);
  EXPECT_THAT(home_.List("outbox"),
              ElementsAre("EDA20261115082205_0002.xml", "EDA20261115082205_0003.xml",
                          "EDA20261115082206.xml"));
}

TEST_F(ArchiveClock, SafeArchiveReplacesNobodysFile) {
  const FixedClock clock(kMorning);
  home_.Write("outbox/EDA20261115082205.xml", "of another program");
  std::filesystem::create_directory(home_.Path("outbox/EDA20261115082205_0001.xml"));
  LoggedOutput output;
  output.SetSafeArchive(true);
  ArchiveOne(output, 1);
  EXPECT_EQ("of another program", home_.Read("outbox/EDA20261115082205.xml"));
  EXPECT_EQ(Range(1, 1), Numbers({"../outbox/EDA20261115082205_0002.xml"}));
}

TEST_F(ArchiveClock, ArchiveCannotReplaceAFolder) {
  const FixedClock clock(kMorning);
  std::filesystem::create_directory(home_.Path("outbox/EDA20261115082205.xml"));
  home_.Write("bin/live.xml", std::string(64, 'x'));
  LoggedOutput output;
  EXPECT_EQ(-1, output.RenameLog());
  EXPECT_STREQ("Rename error - From:live.xml To ../outbox/EDA20261115082205.xml Error Code:21",
               output.GetError());
}

TEST_F(ArchiveClock, HourThatIsRepeatedRepeatsNames) {
  FixedClock clock(1'793'511'000);  // 2026-11-01 01:30:00, with daylight saving
  LoggedOutput output;
  ArchiveOne(output, 1);
  clock.Set(1'793'511'000 + 3600);  // 01:30:00 once more
  ArchiveOne(output, 2);
  EXPECT_THAT(home_.List("outbox"), ElementsAre("EDA20261101013000.xml"));
  EXPECT_EQ(Range(2, 2), TakeArchive());
}

TEST_F(ArchiveClock, HourThatIsRepeatedLosesNothingInSafeMode) {
  FixedClock clock(1'793'511'000);
  LoggedOutput output;
  output.SetSafeArchive(true);
  ArchiveOne(output, 1);
  clock.Set(1'793'511'000 + 3600);
  ArchiveOne(output, 2);
  EXPECT_THAT(home_.List("outbox"),
              ElementsAre("EDA20261101013000.xml", "EDA20261101013000_0001.xml"));
  EXPECT_EQ(Range(1, 2), Numbers(Archives()));
}

TEST_F(ArchiveClock, FilesSetAsideKeepTheirTime) {
  FixedClock clock(kMorning);
  LoseOutbox();
  LoggedOutput output;
  output.SetSafeArchive(true);
  output.SetThresholdLimit(1);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 3));
  EXPECT_THAT(home_.List("bin"), ElementsAre("live.xml", "live.xml.20261115082205_0001.pending",
                                             "live.xml.20261115082205_0002.pending"));
  RestoreOutbox();
  clock.Set(kMorning + 3600);
  EXPECT_EQ(0, output.RetryArchive());
  EXPECT_THAT(home_.List("outbox"),
              ElementsAre("EDA20261115082205.xml", "EDA20261115082205_0001.xml"));
  EXPECT_EQ(Range(1, 2), Numbers(Archives()));
}

TEST_F(ArchiveClock, FilesSetAsideFindNamesThatAreFree) {
  const FixedClock clock(kMorning);
  LoggedOutput output;
  output.SetSafeArchive(true);
  output.SetThresholdLimit(1);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 3));
  LoseOutbox();
  ASSERT_EQ(0, WriteNumbers(output, 4, 6));
  RestoreOutbox();
  ASSERT_EQ(0, WriteNumbers(output, 7, 9));
  EXPECT_EQ(Range(1, 8), Numbers(Archives()));
  EXPECT_THAT(SetAside(), IsEmpty());
}

TEST_F(ArchiveClock, FolderInTheWayIsNotReplacedBySettingAside) {
  const FixedClock clock(kMorning);
  LoseOutbox();
  std::filesystem::create_directory("live.xml.20261115082205_0001.pending");
  LoggedOutput output;
  output.SetSafeArchive(true);
  output.SetThresholdLimit(1);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 2));
  EXPECT_EQ(Range(1, 1), Numbers({"live.xml.20261115082205_0002.pending"}));
}

}  // namespace
}  // namespace wkagent::test
