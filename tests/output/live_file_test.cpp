#include "output/live_file.h"

#include <cerrno>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/agent_home.h"
#include "support/open_files.h"

namespace wkagent::test {
namespace {

struct WriterFreer {
  void operator()(xmlTextWriter* writer) const { xmlFreeTextWriter(writer); }
};
using Writer = std::unique_ptr<xmlTextWriter, WriterFreer>;

class LiveFile : public ::testing::Test {
 protected:
  static int WriteText(const Writer& writer, const std::string& text) {
    return xmlTextWriterWriteRaw(writer.get(), reinterpret_cast<const xmlChar*>(text.c_str()));
  }

  AgentHome home_;
  int error_ = -7;
};

TEST_F(LiveFile, IsCreatedEmpty) {
  const Writer writer(NewFileWriter("live.xml", &error_));
  ASSERT_NE(nullptr, writer);
  EXPECT_EQ(0, error_);
  EXPECT_EQ("", home_.Read("bin/live.xml"));
}

TEST_F(LiveFile, IsEmptiedWhereItExists) {
  home_.Write("bin/live.xml", "text");
  const Writer writer(NewFileWriter("live.xml", &error_));
  ASSERT_NE(nullptr, writer);
  EXPECT_EQ("", home_.Read("bin/live.xml"));
}

TEST_F(LiveFile, HasWhatWasWrittenOnceTheWriterEnds) {
  for (const std::size_t size : {0U, 1U, 3999U, 4000U, 4096U, 1'000'000U}) {
    Writer writer(NewFileWriter("live.xml", &error_));
    const std::string text(size, 'x');
    EXPECT_GE(WriteText(writer, text), 0);
    writer.reset();
    EXPECT_EQ(text, home_.Read("bin/live.xml"));
    EXPECT_EQ(0, error_);
  }
}

TEST_F(LiveFile, HasWhatWasWrittenOnceFlushed) {
  const Writer writer(NewFileWriter("live.xml", &error_));
  WriteText(writer, "text");
  EXPECT_EQ("", home_.Read("bin/live.xml"));
  EXPECT_GE(xmlTextWriterFlush(writer.get()), 0);
  EXPECT_EQ("text", home_.Read("bin/live.xml"));
}

TEST_F(LiveFile, NeedsItsFolder) {
  EXPECT_EQ(nullptr, NewFileWriter("../nowhere/live.xml", &error_));
  EXPECT_EQ(nullptr, NewFileWriter("../tmp", &error_));
  EXPECT_EQ(nullptr, NewFileWriter("", &error_));
}

TEST_F(LiveFile, NeedsADescriptor) {
  const NoMoreFiles none;
  EXPECT_EQ(nullptr, NewFileWriter("live.xml", &error_));
}

TEST_F(LiveFile, NamesTheReasonOfAFailedWrite) {
  Writer writer(NewFileWriter("/dev/full", &error_));
  ASSERT_NE(nullptr, writer);
  EXPECT_GE(WriteText(writer, "text"), 0);
  EXPECT_EQ(0, error_);
  EXPECT_LT(xmlTextWriterFlush(writer.get()), 0);
  EXPECT_EQ(ENOSPC, error_);
}

TEST_F(LiveFile, NamesTheReasonOfAWriteThatFailsAtTheEnd) {
  Writer writer(NewFileWriter("/dev/full", &error_));
  ASSERT_NE(nullptr, writer);
  WriteText(writer, "text");
  writer.reset();
  EXPECT_EQ(ENOSPC, error_);
}

TEST_F(LiveFile, WritesNothingAfterAFailedWrite) {
  Writer writer(NewFileWriter("/dev/full", &error_));
  ASSERT_NE(nullptr, writer);
  EXPECT_LT(WriteText(writer, std::string(100'000, 'x')), 0);
  EXPECT_EQ(ENOSPC, error_);
  error_ = EIO;  // stays, as the first
  EXPECT_LT(WriteText(writer, std::string(100'000, 'x')), 0);
  writer.reset();
  EXPECT_EQ(EIO, error_);
}

TEST_F(LiveFile, IsClosedWithItsWriter) {
  const long before = OpenFiles();
  Writer writer(NewFileWriter("live.xml", &error_));
  EXPECT_EQ(before + 1, OpenFiles());
  writer.reset();
  EXPECT_EQ(before, OpenFiles());
}

}  // namespace
}  // namespace wkagent::test
