// The bytes of audit files, compared with those that libxml2 alone writes for the same records.

#include <memory>
#include <random>
#include <string>

#include <libxml/xmlerror.h>
#include <libxml/xmlwriter.h>

#include "output/event_record.h"
#include "output/output_fixture.h"
#include "output/zones.h"
#include "support/local_time.h"
#include "support/random_seed.h"

namespace wkagent::test {
namespace {

const xmlChar* Xml(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

// Writes a document as described for audit files, with libxml2's own way to open one.
void WriteReference(const std::string& path, const std::string& record,
                    const std::vector<Attributes>& records) {
  const std::unique_ptr<xmlTextWriter, decltype(&xmlFreeTextWriter)> owner(
      xmlNewTextWriterFilename(path.c_str(), 0), &xmlFreeTextWriter);
  xmlTextWriter* const writer = owner.get();
  ASSERT_NE(nullptr, writer);
  xmlTextWriterSetIndent(writer, 1);
  xmlTextWriterSetIndentString(writer, Xml("  "));
  xmlTextWriterStartDocument(writer, nullptr, nullptr, nullptr);
  xmlTextWriterStartElement(writer, Xml("EDAuditData"));
  xmlTextWriterStartElement(writer, Xml("EDADataRecords"));
  for (const Attributes& attributes : records) {
    xmlTextWriterStartElement(writer, Xml(record));
    for (const auto& [name, value] : attributes) {
      xmlTextWriterWriteAttribute(writer, Xml(name), Xml(value));
    }
    xmlTextWriterEndElement(writer);
  }
  xmlTextWriterEndDocument(writer);
}

// What libxml2 says on standard error about bytes that are no characters.
void Ignore(void*, const char*, ...) {}

class WrittenBytes : public OutputTest {
 protected:
  WrittenBytes() { xmlSetGenericErrorFunc(nullptr, &Ignore); }
  ~WrittenBytes() override { xmlSetGenericErrorFunc(nullptr, nullptr); }

  // Expects that a file has the bytes of the reference for these records.
  void ExpectReference(const std::string& file, const std::vector<Attributes>& records,
                       const std::string& record = "EDADataRecord") const {
    WriteReference("reference.xml", record, records);
    EXPECT_TRUE(home_.Read("bin/reference.xml") == home_.Read("bin/" + file))
        << "expected\n"
        << home_.Read("bin/reference.xml") << "\nwritten\n"
        << home_.Read("bin/" + file);
  }

  // Writes random records into the live file, which is closed; returns what they must hold.
  static std::vector<Attributes> WriteRandom(WKEDAOutputFile& output, std::mt19937& random,
                                             Texts texts, int count) {
    std::vector<Attributes> expected;
    EXPECT_EQ(0, output.OpenFile());
    for (int i = 0; i < count; ++i) {
      tagWKEventData event = RandomEvent(random, texts);
      expected.push_back(ExpectedAttributes(event));
      EXPECT_EQ(0, output.WriteAuditData(&event));
    }
    output.CloseFile();
    return expected;
  }
};

TEST_F(WrittenBytes, OfADocumentWithoutRecordsAreThoseOfLibxml2) {
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  output.CloseFile();
  ExpectReference("live.xml", {});
}

TEST_F(WrittenBytes, OfValidTextsAreThoseOfLibxml2) {
  std::mt19937 random(RandomSeed());
  Logged<WKEDAOutputFile> output;
  ExpectReference("live.xml", WriteRandom(output, random, Texts::kValid, 400));
}

TEST_F(WrittenBytes, OfAnyBytesAreThoseOfLibxml2) {
  std::mt19937 random(RandomSeed());
  Logged<WKEDAOutputFile> output;
  ExpectReference("live.xml", WriteRandom(output, random, Texts::kAny, 400));
}

TEST_F(WrittenBytes, OfTextsInAnyZoneAreThoseOfLibxml2) {
  std::mt19937 random(RandomSeed());
  for (const char* zone : {kNewYork, kKathmandu, kLordHowe}) {
    const TimeZone local(zone);
    Logged<WKEDAOutputFile> output;
    ExpectReference("live.xml", WriteRandom(output, random, Texts::kValid, 50));
    std::filesystem::remove("live.xml");
  }
}

TEST_F(WrittenBytes, OfEveryArchiveAreThoseOfLibxml2) {
  std::mt19937 random(RandomSeed());
  Logged<WKEDAOutputFile> output;
  output.SetSafeArchive(true);
  output.SetThresholdLimit(7);
  const std::vector<Attributes> records = WriteRandom(output, random, Texts::kValid, 30);
  std::vector<std::string> files = Archives();
  ASSERT_EQ(4U, files.size());
  files.push_back("live.xml");
  auto next = records.begin();
  for (const std::string& file : files) {
    const auto end = records.end() - next < 7 ? records.end() : next + 7;
    ExpectReference(file, {next, end});
    next = end;
  }
}

TEST_F(WrittenBytes, OfEachSingleCharacterAreThoseOfLibxml2) {
  LoggedOutput output;
  std::vector<Attributes> records;
  ASSERT_EQ(0, output.OpenFile());
  for (int byte = 1; byte <= 255; ++byte) {
    const std::string value = {'[', static_cast<char>(byte), ']', static_cast<char>(byte)};
    records.push_back({{"Value", value}});
    output.WriteStartRecord("Record");
    EXPECT_EQ(0, output.WriteElementAttribute("Value", value.c_str()));
    output.WriteEndRecord();
  }
  output.CloseFile();
  ExpectReference("live.xml", records, "Record");
}

TEST_F(WrittenBytes, OfEachSingleByteInARecordAreThoseOfLibxml2) {
  Logged<WKEDAOutputFile> output;
  std::vector<Attributes> records;
  ASSERT_EQ(0, output.OpenFile());
  for (int byte = 1; byte <= 255; ++byte) {
    tagWKEventData event = SampleEvent();
    for (const std::size_t place : {0U, 15U, 16U, 31U, 40U}) {
      event.Object1[place] = static_cast<char>(byte);
    }
    records.push_back(ExpectedAttributes(event));
    output.WriteAuditData(&event);
  }
  output.CloseFile();
  ExpectReference("live.xml", records);
}

// Ways to put something of one's own between records.
TEST_F(WrittenBytes, OfRecordsAmongOtherElementsAreThoseOfTheirAttributes) {
  const auto write = [](Logged<WKEDAOutputFile>& output, auto writeRecord) {
    ASSERT_EQ(0, output.OpenFile());
    output.WriteElementAttribute("Of", "the group");
    for (int i = 0; i < 3; ++i) writeRecord();
    output.WriteElementAttribute("Too", "late");
    output.WriteStartRecord("Own");
    writeRecord();
    writeRecord();
    output.WriteEndRecord();
    for (int i = 0; i < 3; ++i) writeRecord();
    output.WriteEndElement();
    for (int i = 0; i < 2; ++i) writeRecord();
    output.WriteEndElement();
    for (int i = 0; i < 2; ++i) writeRecord();
    output.CloseFile();
  };
  tagWKEventData event = SampleEvent();
  Logged<WKEDAOutputFile> whole;
  write(whole, [&] { whole.WriteAuditData(&event); });
  const std::string bytes = home_.Read("bin/live.xml");
  const std::vector<std::string> messages = log_.Messages();
  std::filesystem::remove("live.xml");

  Logged<WKEDAOutputFile> parts;
  write(parts, [&] {
    parts.WriteStartRecord("EDADataRecord");
    for (const auto& [name, value] : ExpectedAttributes(event)) {
      parts.WriteElementAttribute(name.c_str(), value.c_str());
    }
    parts.WriteEndRecord();
  });
  EXPECT_EQ(home_.Read("bin/live.xml"), bytes);
  std::vector<std::string> twice = messages;
  twice.insert(twice.end(), messages.begin(), messages.end());
  EXPECT_EQ(twice, log_.Messages());
  EXPECT_FALSE(messages.empty());
}

}  // namespace
}  // namespace wkagent::test
