// A document whose declaration cannot be written.

#include <string>

#include <dlfcn.h>
#include <libxml/xmlwriter.h>

#include "output/output_fixture.h"
#include "support/open_files.h"

namespace {

bool start_fails = false;

}  // namespace

// Takes the place of libxml2's in this program's own objects, the library's included.
extern "C" int xmlTextWriterStartDocument(xmlTextWriterPtr writer, const char* version,
                                          const char* encoding, const char* standalone) {
  if (start_fails) return -1;
  static const auto original = reinterpret_cast<decltype(&xmlTextWriterStartDocument)>(
      dlsym(RTLD_NEXT, "xmlTextWriterStartDocument"));
  return original(writer, version, encoding, standalone);
}

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;

class StartDocument : public OutputTest {
 protected:
  ~StartDocument() override { start_fails = false; }
};

TEST_F(StartDocument, FailureIsReported) {
  LoggedOutput output;
  start_fails = true;
  EXPECT_EQ(1, output.OpenFile());
  EXPECT_EQ(nullptr, output.writer);
  EXPECT_THAT(LogRecorder::Messages(), ElementsAre("xmlTextWriterStartDocument failed - Error:"));
  EXPECT_STREQ("xmlTextWriterStartDocument failed - Error:", output.GetError());
}

TEST_F(StartDocument, FailureAtARotationLeavesNoDocument) {
  LoggedOutput output;
  output.SetThresholdLimit(1);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 1));
  start_fails = true;
  EXPECT_EQ(1, output.WriteStartRecord("Record"));
  ASSERT_EQ(1U, Archives().size());
  EXPECT_THAT(LogRecorder::Messages(),
              ElementsAre("Created archive file " + Archives()[0],
                          "xmlTextWriterStartDocument failed - Error:", "Error in new file",
                          "Error in start element Record\n"));
  EXPECT_EQ(1, output.WriteStartRecord("Record"));
}

TEST_F(StartDocument, FailureKeepsNothingOpen) {
  LoggedOutput output;
  start_fails = true;
  const long before = OpenFiles();
  for (int i = 0; i < 10; ++i) EXPECT_EQ(1, output.OpenFile());
  EXPECT_EQ(before, OpenFiles());
  start_fails = false;
  EXPECT_EQ(0, output.OpenFile());
  EXPECT_EQ(0, WriteNumbers(output, 1, 1));
  output.CloseFile();
  EXPECT_EQ(Range(1, 1), ParseAuditFile("live.xml").Numbers());
}

}  // namespace
}  // namespace wkagent::test
