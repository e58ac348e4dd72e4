#ifndef WKAGENT_TESTS_OUTPUT_RECORD_FIXTURE_H
#define WKAGENT_TESTS_OUTPUT_RECORD_FIXTURE_H

// Records of events, of both kinds. A test of what they share is typed by the kind of record.

#include <string>
#include <vector>

#include "output/event_record.h"
#include "output/output_fixture.h"

namespace wkagent::test {

struct DirectoryRecord {
  using Output = WKEDAOutputFile;
  static constexpr char kName[] = "Directory";
  static constexpr char kElement[] = "EDADataRecord";
  static Attributes Expected(const tagWKEventData& event) { return ExpectedAttributes(event); }
};

struct LoginRecord {
  using Output = WKELAOutputFile;
  static constexpr char kName[] = "Login";
  static constexpr char kElement[] = "ELADataRecord";
  static Attributes Expected(const tagWKEventData& event) { return ExpectedLoginAttributes(event); }
};

using RecordKinds = ::testing::Types<DirectoryRecord, LoginRecord>;

struct RecordKindName {
  template <typename Kind>
  static std::string GetName(int /*index*/) {
    return Kind::kName;
  }
};

template <typename Kind>
class RecordFixture : public OutputTest {
 protected:
  using Output = Logged<typename Kind::Output>;

  // Writes records into a file and reads them back.
  [[nodiscard]] static std::vector<AuditElement> Written(std::vector<tagWKEventData> events) {
    {
      Output output;
      EXPECT_EQ(0, output.OpenFile());
      for (tagWKEventData& event : events) EXPECT_EQ(0, output.WriteAuditData(&event));
    }
    return ParseAuditFile("live.xml").Records();
  }
  [[nodiscard]] static AuditElement Written(const tagWKEventData& event) {
    return Written(std::vector<tagWKEventData>{event}).at(0);
  }

  [[nodiscard]] static std::string Value(const AuditElement& record, const std::string& attribute) {
    for (const auto& [name, value] : record.attributes) {
      if (name == attribute) return value;
    }
    return "no attribute " + attribute;
  }

  // What the records' attribute is, in their order.
  [[nodiscard]] static std::vector<std::string> Values(const std::vector<AuditElement>& records,
                                                       const std::string& attribute) {
    std::vector<std::string> values;
    for (const AuditElement& record : records) values.push_back(Value(record, attribute));
    return values;
  }
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_OUTPUT_RECORD_FIXTURE_H
