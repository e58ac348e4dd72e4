#include <csignal>
#include <cstring>

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "alert/sender_fixture.h"
#include "core/handles.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

constexpr std::size_t kRecordSize = 768;

class SmtpAlertTest : public SenderTest {
 protected:
  SmtpAlertTest() { mail_.InitializeLogMessage(LogRecorder::Callback); }

  void Fill(const std::string& message) {
    mail_.SetMessage(Text(message));
    mail_.SetFromID(Text("agent@acme.example"));
    mail_.SetToList(Text("ops@acme.example,sec@acme.example"));
    mail_.SetCCList(Text("boss@acme.example"));
    mail_.SetSubject(Text("Password changed"));
  }

  // A spool file with these messages, from an earlier second.
  std::string WriteSpool(const std::vector<std::string>& messages, const std::string& tail = "") {
    std::string bytes;
    for (const std::string& message : messages) {
      std::string record(kRecordSize, '\0');
      record.replace(0, 11, "from@a.acme");
      record.replace(128, 9, "to@a.acme");
      record.replace(384, 7, "subject");
      record.replace(512, message.size(), message);
      bytes += record;
    }
    home_.Write("tmp/SMTP.20261115082205.txt", bytes + tail);
    return "SMTP.20261115082205.txt";
  }

  WKSMTPAlert mail_;
};

TEST_F(SmtpAlertTest, BeginsEmptyWithTheLocalServer) {
  EXPECT_STREQ(mail_.server, "127.0.0.1");
  EXPECT_STREQ(mail_.message, "");
  EXPECT_STREQ(mail_.toList, "");
  EXPECT_STREQ(mail_.ccList, "");
  EXPECT_STREQ(mail_.subject, "");
  EXPECT_STREQ(mail_.fromId, "");
}

TEST_F(SmtpAlertTest, TheLastOneConstructedIsCurrentAlsoWhenItHasEnded) {
  EXPECT_EQ(WKSMTPAlert::SMTPAlertPtr, &mail_);
  WKSMTPAlert* second = nullptr;
  {
    WKSMTPAlert other;
    second = &other;
    EXPECT_EQ(WKSMTPAlert::SMTPAlertPtr, second);
  }
  EXPECT_EQ(WKSMTPAlert::SMTPAlertPtr, second);
}

TEST_F(SmtpAlertTest, SetsThePropertiesInOrderAndSendsOnce) {
  Fill("bob's password was changed");
  FakeComponents::destroyResult = 42;
  EXPECT_EQ(mail_.SendMessage(), 42);
  EXPECT_THAT(FakeComponents::Calls(),
              ElementsAre("Create \"\"", "Set 22 0 127.0.0.1 0", "Set 16 0 agent@acme.example 0",
                          "Set 36 0 ops@acme.example,sec@acme.example 0",
                          "Set 38 0 Password changed 0", "Set 6 0 boss@acme.example 0",
                          "Set 30 0 bob's password was changed 0", "Do 11 0", "Destroy"));
}

TEST_F(SmtpAlertTest, DoesNotSetAnEmptyCopyList) {
  Fill("m");
  mail_.SetCCList(Text(""));
  mail_.SendMessage();
  EXPECT_THAT(FakeComponents::ValuesOf(6), IsEmpty());
}

TEST_F(SmtpAlertTest, SendsToTheLocalServerInsteadOfZeros) {
  mail_.SetServer(Text("0.0.0.0"));
  mail_.SendMessage();
  mail_.SetServer(Text("0.0.0.00"));
  mail_.SendMessage();
  mail_.SetServer(Text(""));
  mail_.SendMessage();
  EXPECT_THAT(FakeComponents::ValuesOf(22), ElementsAre("127.0.0.1", "0.0.0.00", ""));
}

TEST_F(SmtpAlertTest, DestroysTheComponentWhateverTheSendGives) {
  FakeComponents::doResult = 7;
  EXPECT_EQ(mail_.SendMessage(), 0);
  EXPECT_FALSE(mail_.WasSent());
  EXPECT_EQ(FakeComponents::Alive(), 0);
  FakeComponents::doResult = 0;
  mail_.SendMessage();
  EXPECT_TRUE(mail_.WasSent());
}

TEST_F(SmtpAlertTest, AnswersEveryEventWith0) {
  std::vector<int> results;
  FakeComponents::duringDo = [&](ComponentEventSink sink, void* wrapper) {
    void* params[8] = {};
    int lengths[8] = {};
    for (int id = -1; id <= 8; ++id) results.push_back(sink(wrapper, id, 8, params, lengths));
    results.push_back(sink(wrapper, 3, 0, nullptr, nullptr));
  };
  mail_.SendMessage();
  EXPECT_THAT(results, ::testing::AllOf(::testing::SizeIs(11), ::testing::Each(0)));
}

TEST_F(SmtpAlertTest, AnEmptyMessageReplacesTheOldOne) {
  mail_.SetMessage(Text("old"));
  mail_.SetMessage(Text(""));
  EXPECT_STREQ(mail_.message, "");
}

TEST_F(SmtpAlertTest, AnEmptySenderBecomesTheDefaultOf21Characters) {
  mail_.SetFromID(Text("a@b"));
  mail_.SetFromID(Text(""));
  EXPECT_STREQ(mail_.fromId, "agent@mossgrove.local");
  EXPECT_EQ(std::strlen(mail_.fromId), 21u);
}

TEST_F(SmtpAlertTest, CutsTextsToTheirFields) {
  const std::string text(300, 'x');
  mail_.SetMessage(Text(text));
  mail_.SetFromID(Text(text));
  mail_.SetToList(Text(text));
  mail_.SetCCList(Text(text));
  mail_.SetSubject(Text(text));
  mail_.SetServer(Text(text));
  EXPECT_EQ(std::strlen(mail_.message), 255u);
  EXPECT_EQ(std::strlen(mail_.fromId), 127u);
  EXPECT_EQ(std::strlen(mail_.toList), 127u);
  EXPECT_EQ(std::strlen(mail_.ccList), 127u);
  EXPECT_EQ(std::strlen(mail_.subject), 127u);
  EXPECT_EQ(std::strlen(mail_.server), 63u);
}

TEST_F(SmtpAlertTest, ClearsAFieldBehindItsText) {
  mail_.SetSubject(Text(std::string(100, 'x')));
  mail_.SetSubject(Text("ab"));
  EXPECT_EQ(std::string(mail_.subject, sizeof(mail_.subject)),
            "ab" + std::string(sizeof(mail_.subject) - 2, '\0'));
}

TEST_F(SmtpAlertTest, TakesItsOwnTextAndIgnoresNull) {
  mail_.SetSubject(Text("subject"));
  mail_.SetSubject(mail_.subject);
  EXPECT_STREQ(mail_.subject, "subject");
  mail_.SetSubject(nullptr);
  mail_.SetFromID(nullptr);
  EXPECT_STREQ(mail_.subject, "subject");
  EXPECT_STREQ(mail_.fromId, "");
}

TEST_F(SmtpAlertTest, SpoolsARecordOf768Bytes) {
  Fill("the message");
  mail_.Serialize();
  ASSERT_THAT(SpoolFiles("SMTP"), ElementsAre(MatchesRegex("SMTP\\.[0-9]{14}\\.txt")));
  const std::string bytes = Spooled("SMTP");
  ASSERT_EQ(bytes.size(), kRecordSize);
  EXPECT_STREQ(bytes.data(), "agent@acme.example");
  EXPECT_STREQ(bytes.data() + 128, "ops@acme.example,sec@acme.example");
  EXPECT_STREQ(bytes.data() + 256, "boss@acme.example");
  EXPECT_STREQ(bytes.data() + 384, "Password changed");
  EXPECT_STREQ(bytes.data() + 512, "the message");
  EXPECT_EQ(SpoolFiles("SMTP")[0], "SMTP." + std::string(mail_.receiveBuffer) + ".txt");
}

TEST_F(SmtpAlertTest, SpoolsAlertsOfOneSecondIntoOneFile) {
  Fill("m");
  for (int i = 0; i < 5; ++i) mail_.Serialize();
  EXPECT_EQ(Spooled("SMTP").size(), 5 * kRecordSize);
  EXPECT_LE(SpoolFiles("SMTP").size(), 2u);
}

TEST_F(SmtpAlertTest, DoesNotSpoolAnEmptyMessage) {
  Fill("");
  mail_.Serialize();
  EXPECT_THAT(SpoolFiles("SMTP"), IsEmpty());
  EXPECT_STREQ(mail_.receiveBuffer, "");
}

TEST_F(SmtpAlertTest, LogsASpoolThatCannotBeWritten) {
  Fill("m");
  std::filesystem::remove(home_.Path("tmp"));
  mail_.Serialize();
  EXPECT_THAT(LogRecorder::Messages(),
              ElementsAre("Cannot write SMTP spool file: No such file or directory"));
}

TEST_F(SmtpAlertTest, ReplaysEveryRecordAndDeletesTheFile) {
  const std::string name = WriteSpool({"one", "two", "three"});
  EXPECT_EQ(mail_.Deserialize(Text("../tmp/" + name)), 0);
  EXPECT_THAT(FakeComponents::ValuesOf(30), ElementsAre("one", "two", "three"));
  EXPECT_THAT(FakeComponents::ValuesOf(16),
              ElementsAre("from@a.acme", "from@a.acme", "from@a.acme"));
  EXPECT_THAT(SpoolFiles("SMTP"), IsEmpty());
}

TEST_F(SmtpAlertTest, ReplaysToTheServerThatItHoldsNow) {
  mail_.SetServer(Text("mail.acme.example"));
  mail_.Deserialize(Text("../tmp/" + WriteSpool({"one"})));
  EXPECT_THAT(FakeComponents::ValuesOf(22), ElementsAre("mail.acme.example"));
}

TEST_F(SmtpAlertTest, ReplaysWhatWasSpooled) {
  Fill("the message");
  mail_.Serialize();
  WKSMTPAlert other;
  other.Deserialize(Text("../tmp/" + SpoolFiles("SMTP")[0]));
  EXPECT_THAT(FakeComponents::ValuesOf(36), ElementsAre("ops@acme.example,sec@acme.example"));
  EXPECT_THAT(FakeComponents::ValuesOf(6), ElementsAre("boss@acme.example"));
  EXPECT_THAT(FakeComponents::ValuesOf(30), ElementsAre("the message"));
}

TEST_F(SmtpAlertTest, IgnoresATrailingPartOfARecord) {
  mail_.Deserialize(Text("../tmp/" + WriteSpool({"one"}, std::string(1000 - kRecordSize, 'x'))));
  EXPECT_THAT(FakeComponents::ValuesOf(30), ElementsAre("one"));
  EXPECT_THAT(SpoolFiles("SMTP"), IsEmpty());
}

TEST_F(SmtpAlertTest, DeletesTheFileAlsoWhenSendingFailed) {
  FakeComponents::doResult = 1;
  mail_.Deserialize(Text("../tmp/" + WriteSpool({"one"})));
  EXPECT_THAT(SpoolFiles("SMTP"), IsEmpty());
}

TEST_F(SmtpAlertTest, KeepsWhatWasNotSentWhenReplayIsSafe) {
  mail_.SetSafeReplay(true);
  const std::string name = WriteSpool({"one", "two"});
  FakeComponents::doResult = 1;
  mail_.Deserialize(Text("../tmp/" + name));
  EXPECT_EQ(Spooled("SMTP").size(), 2 * kRecordSize);
  FakeComponents::doResult = 0;
  mail_.Deserialize(Text("../tmp/" + name));
  EXPECT_THAT(FakeComponents::ValuesOf(30), ElementsAre("one", "two", "one", "two"));
  EXPECT_THAT(SpoolFiles("SMTP"), IsEmpty());
}

TEST_F(SmtpAlertTest, LeavesAFileThatCannotBeOpened) {
  EXPECT_EQ(mail_.Deserialize(Text("../tmp/nothing.txt")), 0);
  std::filesystem::create_symlink(home_.Path("config"), home_.Path("tmp/folder"));
  EXPECT_EQ(mail_.Deserialize(Text("../tmp/folder")), 0);
  EXPECT_THAT(FakeComponents::Calls(), IsEmpty());
}

TEST_F(SmtpAlertTest, FollowsNoLink) {
  WriteSpool({"one"});
  std::filesystem::rename(home_.Path("tmp/SMTP.20261115082205.txt"), home_.Path("config/secret"));
  std::filesystem::create_symlink("../config/secret", home_.Path("tmp/SMTP.1.txt"));
  EXPECT_EQ(mail_.Deserialize(Text("../tmp/SMTP.1.txt")), 0);
  EXPECT_THAT(FakeComponents::Calls(), IsEmpty());
  EXPECT_TRUE(home_.Exists("config/secret"));
}

TEST_F(SmtpAlertTest, TheStaticEntryReplaysThroughTheCurrentObject) {
  const std::string name = WriteSpool({"one"});
  WKSMTPAlert current;
  current.SetServer(Text("current.acme.example"));
  WKSMTPAlert::SMTPAlertAvailable(name.c_str());
  EXPECT_THAT(FakeComponents::ValuesOf(22), ElementsAre("current.acme.example"));
  EXPECT_THAT(SpoolFiles("SMTP"), IsEmpty());
}

TEST_F(SmtpAlertTest, TheStaticEntriesDoNothingWhereTheCurrentObjectHasEnded) {
  const std::string name = WriteSpool({"one"});
  { const WKSMTPAlert ended; }
  WKSMTPAlert::SMTPAlertAvailable(name.c_str());
  WKSMTPAlert::SMTPConfigAvailable("");
  EXPECT_THAT(FakeComponents::Calls(), IsEmpty());
  EXPECT_TRUE(home_.Exists("tmp/" + name));
}

TEST_F(SmtpAlertTest, TheStaticEntryRefusesNamesThatLeadElsewhere) {
  home_.Write("config/victim", std::string(kRecordSize, 'x'));
  for (const char* name : {"../config/victim", "", ".", "..", "a/b", "/etc/passwd"}) {
    WKSMTPAlert::SMTPAlertAvailable(name);
    EXPECT_EQ(LogRecorder::Messages().back(), std::string("Not the name of a spool file: ") + name);
  }
  WKSMTPAlert::SMTPAlertAvailable(nullptr);
  WKSMTPAlert::SMTPAlertAvailable(std::string(300, 'n').c_str());
  EXPECT_EQ(LogRecorder::Messages().size(), 8u);
  EXPECT_THAT(FakeComponents::Calls(), IsEmpty());
  EXPECT_TRUE(home_.Exists("config/victim"));
}

TEST_F(SmtpAlertTest, RunsNoPartOfAName) {
  for (const std::string name : {"a;touch ran", "$(touch ran)", "`touch ran`", "a b", "a\nb", "-rf",
                                 "a'b", "a\"b", "*", "a|touch ran", "a&touch ran"}) {
    home_.Write("tmp/" + name, "");
    home_.Write("tmp/other", "");
    WKSMTPAlert::SMTPAlertAvailable(name.c_str());
    EXPECT_FALSE(home_.Exists("tmp/" + name)) << name;
    EXPECT_TRUE(home_.Exists("tmp/other")) << name;
  }
  EXPECT_FALSE(home_.Exists("bin/ran"));
}

TEST_F(SmtpAlertTest, ReadsTheServerAtAnyDepthTheLastOneWins) {
  home_.Write("config/s.xml",
              "<S><SMTPServer>one</SMTPServer><a><b><SMTPServer>two</SMTPServer></b></a>"
              "<smtpserver>three</smtpserver></S>");
  mail_.ReadSMTPConfig(Text("../config/s.xml"));
  EXPECT_STREQ(mail_.server, "two");
  home_.Write("config/s.xml", "<SMTPServer>root</SMTPServer>");
  mail_.ReadSMTPConfig(Text("../config/s.xml"));
  EXPECT_STREQ(mail_.server, "root");
}

TEST_F(SmtpAlertTest, LogsUnreadableSettingsAndKeepsTheServer) {
  mail_.SetServer(Text("kept"));
  mail_.ReadSMTPConfig(Text("../config/none.xml"));
  home_.Write("config/s.xml", "no XML");
  mail_.ReadSMTPConfig(Text("../config/s.xml"));
  EXPECT_THAT(LogRecorder::Messages(),
              ElementsAre("Cannot read SMTP Settings", "Cannot read SMTP Settings"));
  EXPECT_STREQ(mail_.server, "kept");
}

TEST_F(SmtpAlertTest, InstaSendTakesTheServerFromTheEncryptedSettings) {
  WriteEncrypted("SMTPSettings.cfg", "<S><SMTPServer>mail.acme.example</SMTPServer></S>");
  EXPECT_EQ(mail_.InstaSend(), 0);
  EXPECT_THAT(FakeComponents::ValuesOf(22), ElementsAre("mail.acme.example"));
  EXPECT_FALSE(home_.Exists("config/SMTPSettings.xml"));
}

TEST_F(SmtpAlertTest, InstaSendSendsAlsoWithoutSettings) {
  mail_.InstaSend();
  EXPECT_THAT(FakeComponents::ValuesOf(22), ElementsAre("127.0.0.1"));
  EXPECT_THAT(LogRecorder::Messages(), IsEmpty());
}

TEST_F(SmtpAlertTest, ConfigAvailableReadsTheSettingsAgain) {
  WriteEncrypted("SMTPSettings.cfg", "<S><SMTPServer>one</SMTPServer></S>");
  WKSMTPAlert::SMTPConfigAvailable(nullptr);
  EXPECT_STREQ(mail_.server, "one");
  WriteEncrypted("SMTPSettings.cfg", "<S><SMTPServer>two</SMTPServer></S>");
  WKSMTPAlert::SMTPConfigAvailable("anything");
  EXPECT_STREQ(mail_.server, "two");
  EXPECT_THAT(FakeComponents::Calls(), IsEmpty());
}

TEST_F(SmtpAlertTest, LeavesNoPlainSettingsBehindWhenTheyCannotBeRead) {
  WriteEncrypted("SMTPSettings.cfg", "<S><SMTPServer>one</SMTPServer></S>");
  home_.Write("config/DaemonSettings.xml", "<S><WorkspaceGuid>other</WorkspaceGuid></S>");
  mail_.InstaSend();
  EXPECT_THAT(LogRecorder::Messages(), ElementsAre("Cannot read SMTP Settings"));
  EXPECT_FALSE(home_.Exists("config/SMTPSettings.xml"));
}

TEST_F(SmtpAlertTest, WritesNoPlainSettingsThroughALink) {
  WriteEncrypted("SMTPSettings.cfg", "<S><SMTPServer>one</SMTPServer></S>");
  home_.Write("outbox/victim", "untouched");
  std::filesystem::create_symlink("../outbox/victim", home_.Path("config/SMTPSettings.xml"));
  mail_.InstaSend();
  EXPECT_STREQ(mail_.server, "one");
  EXPECT_EQ(home_.Read("outbox/victim"), "untouched");
}

TEST_F(SmtpAlertTest, ReadsAndWritesItsSocket) {
  int ends[2] = {};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  Fd ours(ends[0]);
  Fd theirs(ends[1]);
  mail_.socket = ours.Get();
  EXPECT_EQ(mail_.Send_Socket(Text("HELO acme")), 9);
  ASSERT_EQ(write(theirs.Get(), "250 ok", 6), 6);
  mail_.Read_Socket();
  EXPECT_EQ(mail_.receivedCount, 6);
  EXPECT_EQ(std::string(mail_.receiveBuffer, 6), "250 ok");
  theirs.Reset();
  EXPECT_EQ(mail_.Send_Socket(Text("QUIT")), -1);  // without a signal
  EXPECT_THAT(LogRecorder::Messages(), ElementsAre("Got SIGPIPE"));
  mail_.socket = -1;
  EXPECT_EQ(mail_.Send_Socket(Text("QUIT")), -1);
  EXPECT_EQ(LogRecorder::Messages().size(), 1u);
}

}  // namespace
}  // namespace wkagent::test
