#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <wkagent/config.h>

#include "support/counted_heap.h"
#include "support/unprivileged.h"
#include "tests/config/config_fixture.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

std::string Inaccessible(const std::string& path, int error) {
  return "WKConfigFile.ReadFile:Unable to access file " + path + " - Error " +
         std::to_string(error) + "\n";
}

class ConfigFileErrors : public ConfigFile {
 protected:
  ConfigFileErrors() { file_.InitializeLogMessage(LogRecorder::Callback); }

  // Fails to read `path`, which is there, without a word.
  void ExpectSilentFailure(const std::string& path, int error) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(ReadPath(path), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_THAT(log_.Messages(), IsEmpty());
    EXPECT_EQ(Error(), path + ": " + std::strerror(error));
    EXPECT_EQ(file_.document, nullptr);
  }

  // Fails to parse `text`, without a word.
  void ExpectMalformed(const std::string& text, int line) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(Read(text), 1) << text;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_THAT(log_.Messages(), IsEmpty());
    const std::string start = std::string(kPath) + ":" + std::to_string(line) + ": ";
    EXPECT_THAT(Error(), StartsWith(start)) << text;
    EXPECT_GT(Error().size(), start.size()) << text;
    EXPECT_EQ(file_.document, nullptr);
  }
};

TEST_F(ConfigFileErrors, AMissingFileIsReportedWithPathAndErrno) {
  const std::string path = "../config/missing.xml";
  EXPECT_EQ(ReadPath(path), 1);
  ASSERT_THAT(log_.Messages(), ElementsAre(Inaccessible(path, ENOENT)));
  EXPECT_EQ(log_.Lines()[0].level, 0);
  EXPECT_EQ(log_.Lines()[0].extra, "");
  EXPECT_EQ(file_.message, Inaccessible(path, ENOENT));
  EXPECT_EQ(Error(), path + ": No such file or directory");
}

TEST_F(ConfigFileErrors, WithoutACallbackAMissingFileIsReportedOnStandardError) {
  file_.InitializeLogMessage(nullptr);
  testing::internal::CaptureStderr();
  EXPECT_EQ(ReadPath("../config/missing.xml"), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), Inaccessible("../config/missing.xml", ENOENT));
}

TEST_F(ConfigFileErrors, EachErrnoIsReported) {
  home_.Write("config/file", "");
  std::filesystem::create_symlink("loop", home_.Path("config/loop"));
  const std::vector<std::pair<std::string, int>> failures = {{"", ENOENT},
                                                             {"../nowhere/file", ENOENT},
                                                             {"../config/file/below", ENOTDIR},
                                                             {"../config/loop", ELOOP}};
  for (const auto& [path, error] : failures) {
    EXPECT_EQ(ReadPath(path), 1);
    EXPECT_EQ(log_.Messages().back(), Inaccessible(path, error));
    EXPECT_EQ(Error(), path + ": " + std::strerror(error));
  }
}

TEST_F(ConfigFileErrors, TheReportOfALongPathIsCut) {
  const std::string path = std::string(300, 'x') + "/file";
  EXPECT_EQ(ReadPath(path), 1);
  EXPECT_THAT(log_.Messages(), ElementsAre(Inaccessible(path, ENAMETOOLONG).substr(0, 255)));
  EXPECT_EQ(Error(), path + ": " + std::strerror(ENAMETOOLONG));
}

TEST_F(ConfigFileErrors, APathIsNoFormat) {
  EXPECT_EQ(ReadPath("../config/%s%n%d"), 1);
  EXPECT_THAT(log_.Messages(), ElementsAre(Inaccessible("../config/%s%n%d", ENOENT)));
  file_.InitializeLogMessage(nullptr);
  testing::internal::CaptureStderr();
  EXPECT_EQ(ReadPath("../config/%s%n%d"), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), Inaccessible("../config/%s%n%d", ENOENT));
}

TEST_F(ConfigFileErrors, ADanglingLinkIsAMissingFile) {
  std::filesystem::create_symlink("nowhere", home_.Path("config/Link.xml"));
  EXPECT_EQ(ReadPath("../config/Link.xml"), 1);
  EXPECT_THAT(log_.Messages(), ElementsAre(Inaccessible("../config/Link.xml", ENOENT)));
}

TEST_F(ConfigFileErrors, ANullPathFails) {
  EXPECT_EQ(file_.ReadFile(nullptr), 1);
  EXPECT_EQ(file_.document, nullptr);
  EXPECT_EQ(Error(), "(null): Bad address");
}

TEST_F(ConfigFileErrors, ADirectoryFailsInSilence) { ExpectSilentFailure("../config", EISDIR); }

// Opening it would wait for a writer for ever.
TEST_F(ConfigFileErrors, AFifoFailsAtOnce) {
  ASSERT_EQ(mkfifo(home_.Path("config/fifo").c_str(), 0600), 0);
  ExpectSilentFailure("../config/fifo", EINVAL);
}

TEST_F(ConfigFileErrors, ADeviceFailsInSilence) { ExpectSilentFailure("/dev/zero", EINVAL); }

// It can be seen, so it passes for accessible, but not be read.
TEST_F(ConfigFileErrors, AFileThatCannotBeOpenedFailsInSilence) {
  home_.Write("config/Settings.xml", "<Settings/>");
  chmod(home_.Path("").c_str(), 0755);
  chmod(home_.Path("config/Settings.xml").c_str(), 0);
  {
    const Unprivileged reader;
    EXPECT_EQ(ReadPath(kPath), 1);
  }
  EXPECT_THAT(log_.Messages(), IsEmpty());
  EXPECT_EQ(Error(), std::string(kPath) + ": " + std::strerror(EACCES));
  chmod(home_.Path("config/Settings.xml").c_str(), 0400);
  EXPECT_EQ(ReadPath(kPath), 0);
}

TEST_F(ConfigFileErrors, AFileThatCannotBeSeenIsReported) {
  home_.Write("config/Settings.xml", "<Settings/>");
  chmod(home_.Path("").c_str(), 0);
  {
    const Unprivileged reader;
    EXPECT_EQ(ReadPath(home_.Path("config/Settings.xml")), 1);
  }
  chmod(home_.Path("").c_str(), 0700);
  EXPECT_THAT(log_.Messages(),
              ElementsAre(Inaccessible(home_.Path("config/Settings.xml"), EACCES)));
}

TEST_F(ConfigFileErrors, AFileTooLargeForTheParserFailsInSilence) {
  home_.Write("config/Settings.xml", "<Settings/>");
  std::filesystem::resize_file(home_.Path("config/Settings.xml"), std::uintmax_t{INT_MAX} + 1);
  ExpectSilentFailure(kPath, EFBIG);
}

TEST_F(ConfigFileErrors, AFileTooLargeForTheMemoryFailsInSilence) {
  home_.Write("config/Settings.xml", "<Settings>" + std::string(100000, ' ') + "</Settings>");
  int result = -1;
  {
    const HeapLimit limit(50000);
    result = ReadPath(kPath);
  }
  EXPECT_EQ(result, 1);
  EXPECT_THAT(log_.Messages(), IsEmpty());
  EXPECT_EQ(Error(), std::string(kPath) + ": " + std::strerror(ENOMEM));
}

TEST_F(ConfigFileErrors, AnEmptyFileFailsInSilence) {
  ExpectMalformed("", 1);
  ExpectMalformed(" ", 1);
  ExpectMalformed("\n\n", 3);
}

TEST_F(ConfigFileErrors, MalformedXmlFailsInSilence) {
  ExpectMalformed("no XML", 1);
  ExpectMalformed("<Settings>", 1);
  ExpectMalformed("<Settings/>\n\nbehind", 3);
  ExpectMalformed("<Settings>\n<User Name='a' Name='b'/>\n</Settings>", 2);
  ExpectMalformed("<Settings>\n\n&unknown;</Settings>", 3);
  ExpectMalformed("<One/>\n<Two/>", 2);
  ExpectMalformed("<?xml version='1.0' encoding='no-such'?>\n<Settings/>", 1);
}

TEST_F(ConfigFileErrors, TheFirstErrorIsTold) {
  ExpectMalformed("<Settings>\n<Users>\n</Settings>\n\n", 3);
  ExpectMalformed("<Settings>\n&one;\n&two;\n</Settings>", 2);
}

TEST_F(ConfigFileErrors, AnErrorIsOneLine) {
  ExpectMalformed("<Settings>\n\xff</Settings>", 2);
  EXPECT_EQ(Error().find('\n'), std::string::npos);
}

TEST_F(ConfigFileErrors, DepthIsLimited) {
  std::string text;
  for (int i = 0; i < 100000; ++i) text += "<a>";
  ExpectMalformed(text, 1);
}

TEST_F(ConfigFileErrors, ASuccessForgetsTheError) {
  EXPECT_EQ(Read("<broken"), 1);
  EXPECT_NE(file_.GetReadError(), nullptr);
  EXPECT_EQ(Read("<Mended/>"), 0);
  EXPECT_EQ(file_.GetReadError(), nullptr);
}

TEST_F(ConfigFileErrors, AnErrorReplacesTheOneBefore) {
  EXPECT_EQ(ReadPath("../config/missing.xml"), 1);
  EXPECT_EQ(Read("<One/>\n<Two/>"), 1);
  EXPECT_THAT(Error(), StartsWith(std::string(kPath) + ":2: "));
  EXPECT_EQ(ReadPath("../config"), 1);
  EXPECT_THAT(Error(), StartsWith("../config: "));
}

constexpr const char* kDocument =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE Settings [<!ENTITY who \"bob\">]>\n"
    "<Settings><!-- note --><User Name=\"*&lt;b\xc3\xb6"
    "b*\">&who;<![CDATA[x]]></User></Settings>";

TEST_F(ConfigFileErrors, AFileCutAtAnyByteFailsInSilence) {
  _xmlNode* const root = Root("<Before a=\"1\"/>");
  const std::string whole = kDocument;
  for (std::size_t length = 0; length < whole.size(); ++length) {
    SCOPED_TRACE(whole.substr(0, length));
    EXPECT_EQ(Read(whole.substr(0, length)), 1);
    EXPECT_THAT(Error(), StartsWith(std::string(kPath) + ":"));
    EXPECT_EQ(Value(file_.GetXMLRootNode(), "a"), "1");
  }
  EXPECT_THAT(log_.Messages(), IsEmpty());
  EXPECT_NE(Root(whole), root);
  EXPECT_EQ(Content(file_.GetXMLRootNode()), "bobx");
}

// Whatever the bytes, result, document and error agree, and the reader lives on.
TEST_F(ConfigFileErrors, AFileWithAnyByteDamagedIsReadOrRefused) {
  const std::string whole = kDocument;
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const char byte : {'\0', '<', '>', '&', '"', ']', '\n', '\x80', '\xff'}) {
      std::string damaged = whole;
      damaged[at] = byte;
      const int result = Read(damaged);
      ASSERT_EQ(result == 0, file_.document != nullptr) << damaged;
      ASSERT_EQ(result == 0, file_.GetReadError() == nullptr) << damaged;
      if (result == 0) Content(file_.GetXMLRootNode());
    }
  }
  EXPECT_THAT(log_.Messages(), IsEmpty());
}

}  // namespace
}  // namespace wkagent::test
