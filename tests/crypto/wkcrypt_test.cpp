// What wkcrypt makes of its arguments and its input.

#include <ostream>

#include <wkagent/version.h>

#include "crypto/wkcrypt_fixture.h"

namespace wkagent::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

TEST_F(Wkcrypt, EncryptsAsTheLibraryDoes) {
  home_.Write("config/IN", kSettings);
  const Ended ended = RunOn("encrypt");
  EXPECT_EQ(0, ended.status);
  EXPECT_THAT(ended.output + ended.errors, IsEmpty());
  EXPECT_EQ(EncryptedText(kSettings), Out());
}

TEST_F(Wkcrypt, DecryptsAsTheLibraryDoes) {
  home_.Write("config/IN", EncryptedText(kSettings));
  const Ended ended = RunOn("decrypt");
  EXPECT_EQ(0, ended.status);
  EXPECT_THAT(ended.output + ended.errors, IsEmpty());
  EXPECT_EQ(kSettings, Out());
}

TEST_F(Wkcrypt, TakesTheGuidFromTheDaemonSettings) {
  home_.Write("config/IN", kSettings);
  home_.Write("config/DaemonSettings.xml",
              std::string("<Daemon><WorkspaceGuid>") + kGuid + "</WorkspaceGuid></Daemon>");
  const Ended ended =
      Run({"encrypt", "../config/IN", "../tmp/OUT", "--settings", "../config/DaemonSettings.xml"});
  EXPECT_EQ(0, ended.status);
  EXPECT_THAT(ended.output + ended.errors, IsEmpty());
  EXPECT_EQ(EncryptedText(kSettings), Out());
}

TEST_F(Wkcrypt, TextInUtf8ComesBackWithoutAWarning) {
  const std::string text = "\xef\xbb\xbf<a>\xc3\xbc \xe2\x82\xac \xf0\x9f\x94\x91</a>\r\n";
  const Ended ended = DecryptBytes(EncryptedText(text));
  EXPECT_EQ(0, ended.status);
  EXPECT_THAT(ended.errors, IsEmpty());
  EXPECT_EQ(text, Out());
}

TEST_F(Wkcrypt, BytesThatAreNoTextAreWarnedOf) {
  for (const char* end : {"\xff", "\x80", "\xc3", "\xe2\x82", "\xc3(", "\x01", "\xed\xa0\x80"}) {
    const Ended ended = DecryptBytes(EncryptedText(std::string(kSettings) + end));
    EXPECT_EQ(0, ended.status);
    EXPECT_THAT(ended.errors, StartsWith("wkcrypt: warning: "));
  }
}

TEST_F(Wkcrypt, EmptyFileComesBackEmpty) {
  EXPECT_EQ(0, EncryptText("").status);
  EXPECT_EQ(32U, Out().size());
  const Ended ended = DecryptBytes(Out());
  EXPECT_EQ(0, ended.status);
  EXPECT_THAT(ended.errors, IsEmpty());
  EXPECT_EQ("", Out());
}

TEST_F(Wkcrypt, HelpNamesArgumentsOptionsAndExitStatus) {
  const Ended ended = Run({"--help"});
  EXPECT_EQ(0, ended.status);
  for (const char* word : {"encrypt", "decrypt", "IN", "OUT", "--guid", "--settings", "--force",
                           "--version", "64", "65", "66", "70", "73", "78"}) {
    EXPECT_THAT(ended.output, HasSubstr(word));
  }
  EXPECT_THAT(ended.errors, IsEmpty());
}

TEST_F(Wkcrypt, VersionIsTheLibrarys) {
  const Ended ended = Run({"--version"});
  EXPECT_EQ(0, ended.status);
  EXPECT_EQ("wkcrypt " WKAGENT_VERSION "\n", ended.output);
}

TEST_F(Wkcrypt, WrongUsageIsExplainedWithStatus64) {
  home_.Write("config/IN", kSettings);
  const std::vector<std::string> lines[] = {
      {},
      {"encrypt"},
      {"encrypt", "../config/IN"},
      {"encrypt", "../config/IN", "../tmp/OUT"},
      {"encrypt", "../config/IN", "../tmp/OUT", "--guid"},
      {"encrypt", "../config/IN", "../tmp/OUT", "--guid", ""},
      {"encrypt", "../config/IN", "../tmp/OUT", "--guid", kGuid, "--settings", "../config/IN"},
      {"encrypt", "../config/IN", "../tmp/OUT", "more", "--guid", kGuid},
      {"encrypt", "../config/IN", "../tmp/OUT", "--guid", kGuid, "--every-day"},
      {"hide", "../config/IN", "../tmp/OUT", "--guid", kGuid},
  };
  for (const std::vector<std::string>& line : lines) {
    std::vector<std::string> command = {WKAGENT_WKCRYPT};
    command.insert(command.end(), line.begin(), line.end());
    const Ended ended = RunToEnd(command);
    EXPECT_EQ(64, ended.status);
    EXPECT_THAT(ended.output, IsEmpty());
    EXPECT_THAT(ended.errors, HasSubstr("--help"));
  }
  EXPECT_TRUE(HasLeftNothing());
}

TEST_F(Wkcrypt, MissingInputIsNamedWithStatus66) {
  for (const char* command : {"encrypt", "decrypt"}) {
    const Ended ended = RunOn(command);
    EXPECT_EQ(66, ended.status);
    EXPECT_EQ("wkcrypt: ../config/IN: No such file or directory\n", ended.errors);
  }
  EXPECT_TRUE(HasLeftNothing());
}

TEST_F(Wkcrypt, InputThatIsAFolderIsNamedWithStatus66) {
  std::filesystem::create_directory(home_.Path("config/IN"));
  const Ended ended = RunOn("encrypt");
  EXPECT_EQ(66, ended.status);
  EXPECT_EQ("wkcrypt: ../config/IN: Is a directory\n", ended.errors);
  EXPECT_TRUE(HasLeftNothing());
}

TEST_F(Wkcrypt, BadSettingsFileIsNamedWithStatus78) {
  home_.Write("config/IN", kSettings);
  for (const char* text : {"", "no XML", "<Daemon>", "<Daemon/>",
                           "<Daemon><WorkspaceGuid></WorkspaceGuid></Daemon>"}) {
    home_.Write("config/DaemonSettings.xml", text);
    const Ended ended = Run(
        {"encrypt", "../config/IN", "../tmp/OUT", "--settings", "../config/DaemonSettings.xml"});
    EXPECT_EQ(78, ended.status) << text;
    EXPECT_THAT(ended.errors, StartsWith("wkcrypt: ../config/DaemonSettings.xml:")) << text;
  }
  EXPECT_TRUE(HasLeftNothing());
}

TEST_F(Wkcrypt, MissingSettingsFileIsNamedOnceWithStatus78) {
  home_.Write("config/IN", kSettings);
  const Ended ended =
      Run({"encrypt", "../config/IN", "../tmp/OUT", "--settings", "../config/None.xml"});
  EXPECT_EQ(78, ended.status);
  EXPECT_EQ("wkcrypt: ../config/None.xml: No such file or directory\n", ended.errors);
}

TEST_F(Wkcrypt, WrongKeyIsToldWithStatus65) {
  home_.Write("config/IN", EncryptedText(kSettings, kOtherGuid));
  const Ended ended = RunOn("decrypt");
  EXPECT_EQ(65, ended.status);
  EXPECT_THAT(ended.errors, AllOf(StartsWith("wkcrypt: ../config/IN: "), HasSubstr("GUID")));
  EXPECT_TRUE(HasLeftNothing());
}

TEST_F(Wkcrypt, PlainFileIsNotDecryptedWithStatus65) {
  home_.Write("config/IN", kSettings);
  const Ended ended = RunOn("decrypt");
  EXPECT_EQ(65, ended.status);
  EXPECT_THAT(ended.errors, HasSubstr("is no encrypted settings file"));
  EXPECT_TRUE(HasLeftNothing());
}

// Where whole blocks are missing, what is left is text.
TEST_F(Wkcrypt, FileCutOffAtAnyByteIsToldOf) {
  const std::string encrypted = EncryptedText(kSettings);
  ASSERT_EQ(96U, encrypted.size());
  for (std::size_t size = 0; size < encrypted.size(); ++size) {
    const Ended ended = DecryptBytes(encrypted.substr(0, size));
    EXPECT_EQ(size == 32 || size == 64 ? 0 : 65, ended.status) << size;
    EXPECT_THAT(ended.errors, StartsWith("wkcrypt: ")) << size;
  }
}

TEST_F(Wkcrypt, DamagedFirstBlockIsToldWithStatus65) {
  std::string encrypted = EncryptedText(kSettings);
  encrypted[0] = static_cast<char>(encrypted[0] ^ 1);
  EXPECT_EQ(65, DecryptBytes(encrypted).status);
  EXPECT_TRUE(HasLeftNothing());
}

TEST_F(Wkcrypt, DamagedLaterBlockIsWarnedOf) {
  std::string encrypted = EncryptedText(kSettings);
  encrypted[32] = static_cast<char>(encrypted[32] ^ 1);
  const Ended ended = DecryptBytes(encrypted);
  EXPECT_EQ(0, ended.status);
  EXPECT_THAT(ended.errors,
              StartsWith("wkcrypt: warning: ../config/IN: the text may not be whole"));
  EXPECT_EQ(std::string(kSettings).substr(0, 32), Out().substr(0, 32));
}

}  // namespace
}  // namespace wkagent::test
