// Values that were made to break what is written: each ends up whole, or cut, in well-formed files.

#include <ostream>

#include "integration/agent_test.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr char kReplaced[] = "\xEF\xBF\xBD";  // U+FFFD

std::string Repeated(const std::string& text, std::size_t times, const char* before = "") {
  std::string all = before;
  for (std::size_t i = 0; i < times; ++i) all += text;
  return all;
}

// The fields of a record that hold texts of the event.
std::vector<std::string> Texts(const AuditRecord& record) {
  return {record.user,  record.node,   record.class1,  record.object1, record.attribute,
          record.value, record.class2, record.object2, record.server,  record.tree};
}

struct NamedText {
  const char* name;
  std::string text;
};

// The lists of tests show the name: the text would spoil them, too.
void PrintTo(const NamedText& text, std::ostream* out) { *out << text.name; }
std::string NameOf(const ::testing::TestParamInfo<NamedText>& info) { return info.param.name; }

class HostileValues : public AgentTest {
 protected:
  // The one record of an event that has a text in every field.
  AuditRecord AuditEverywhere(const std::string& text) {
    Audit(JsonLine(20005, {{"UserName", text},
                           {"NodeAddress", text},
                           {"Class1", text},
                           {"Object1", text},
                           {"Attribute1", text},
                           {"AttributeValue", text},
                           {"Class2", text},
                           {"Object2", text},
                           {"ServerName", text},
                           {"TreeName", text}}));
    const std::vector<AuditRecord> records = Records();
    EXPECT_EQ(1U, records.size());
    return records.empty() ? AuditRecord() : records.back();
  }

  // The value that the records show of a changed attribute, written in LDIF behind its name.
  std::vector<std::string> AuditChange(const std::string& lines) {
    const Ended ended =
        RunAgent("auditlog:-",
                 "# modify 1795207563 o=acme cn=admin,o=acme IP=192.0.2.7:35568 conn=1\n"
                 "dn: ou=x,o=acme\nchangetype: modify\nadd: description\n" +
                     lines + "-\n# end modify 1795207563\n\n");
    EXPECT_EQ(0, ended.status) << ended.errors;
    std::vector<std::string> values;
    for (const AuditRecord& record : Records()) values.push_back(record.value);
    return values;
  }
};

class HostileText : public HostileValues, public ::testing::WithParamInterface<NamedText> {};

TEST_P(HostileText, IsWrittenWholeInEveryField) {
  EXPECT_THAT(Texts(AuditEverywhere(GetParam().text)), ::testing::Each(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, HostileText,
    ::testing::Values(
        NamedText{"SpecialCharacters", "<&>\"'"}, NamedText{"EndOfCdata", "]]>"},
        NamedText{"CommentStart", "<!--"}, NamedText{"CommentEnd", "-->"},
        NamedText{"Declaration", "<?xml?>"}, NamedText{"EntityReference", "&amp;"},
        NamedText{"CharacterReference", "&#0;"}, NamedText{"EntityDefinition", "<!ENTITY x>"},
        NamedText{"ElementEnd", "</EDADataRecord>"}, NamedText{"Conversions", "%n%s%n%s"},
        NamedText{"Percent", "%"}, NamedText{"TwoPercents", "%%"},
        NamedText{"WideConversion", "%1000000d"}, NamedText{"CommandSubstitution", "$(reboot)"},
        NamedText{"Backquotes", "`reboot`"}, NamedText{"PathUpwards", "../../etc/passwd"},
        NamedText{"WhiteSpace", "a\tb\nc\rd"}, NamedText{"BlanksAround", " blank "},
        NamedText{"TwoBytes", "\xC3\xBC"}, NamedText{"ThreeBytes", "\xE2\x82\xAC"},
        NamedText{"FourBytes", "\xF0\x9F\x98\x80"}, NamedText{"NextLine", "\xC2\x85"},
        NamedText{"LineSeparator", "\xE2\x80\xA8"}, NamedText{"Delete", "\x7F"}),
    NameOf);

TEST_F(HostileValues, CharactersThatXmlForbidsAreReplaced) {
  const std::string text = std::string("a\0b", 3) + "\x01\x1F\x1B[2J" + "\xEF\xBF\xBE";
  const std::string shown =
      std::string("a") + kReplaced + "b" + kReplaced + kReplaced + kReplaced + "[2J" + kReplaced;
  EXPECT_THAT(Texts(AuditEverywhere(text)), ::testing::Each(shown));
}

TEST_F(HostileValues, LongTextIsCutToEachField) {
  const AuditRecord record = AuditEverywhere(std::string(10000, 'x'));
  std::vector<std::size_t> lengths;
  for (const std::string& text : Texts(record)) lengths.push_back(text.size());
  EXPECT_THAT(lengths, ElementsAre(299, 49, 63, 299, 127, 299, 63, 299, 127, 127));
}

TEST_F(HostileValues, LongTextIsCutBetweenCharacters) {
  const AuditRecord two = AuditEverywhere(Repeated("\xC3\xBC", 5000, "a"));
  EXPECT_EQ(Repeated("\xC3\xBC", 149, "a"), two.value);
  EXPECT_EQ(Repeated("\xC3\xBC", 24, "a"), two.node);
}

TEST_F(HostileValues, LongTextOfWideCharactersIsCutBetweenThem) {
  const AuditRecord four = AuditEverywhere(Repeated("\xF0\x9F\x98\x80", 2500));
  EXPECT_EQ(Repeated("\xF0\x9F\x98\x80", 74), four.value);
  EXPECT_EQ(Repeated("\xF0\x9F\x98\x80", 12), four.node);
}

TEST_F(HostileValues, LongTextOfReplacedCharactersIsCutBetweenThem) {
  const AuditRecord record = AuditEverywhere(std::string(10000, '\x02'));
  EXPECT_EQ(Repeated(kReplaced, 99), record.value);
}

TEST_F(HostileValues, JsonThatIsNotUtf8IsMalformed) {
  const Totals totals = Audit("{\"EventID\":20001,\"Object1\":\"\xFF\"}\n" + Numbered(1));
  EXPECT_EQ((Totals{1, 1, 1, 0, 0, 0}), totals);
}

TEST_F(HostileValues, LoneSurrogateInJsonLeavesTheRestWhole) {
  const Totals totals = Audit("{\"EventID\":20001,\"Object1\":\"\\ud800\"}\n" + Numbered(1));
  EXPECT_EQ(2, totals.malformed + totals.kept);
  EXPECT_EQ(static_cast<std::size_t>(totals.kept), Records().size());
}

TEST_F(HostileValues, NumbersAtTheirLimitsLeaveTheRestWhole) {
  const Totals totals = Audit(
      "{\"EventID\":65536}\n{\"EventID\":-1}\n{\"EventID\":1e400}\n{\"EventID\":20001.5}\n"
      "{\"EventID\":20001,\"Status\":99999999999999999999}\n"
      "{\"EventID\":20001,\"EventTime\":-1}\n" +
      Numbered(1));
  EXPECT_EQ((Totals{1, 6, 1, 0, 0, 0}), totals);
}

TEST_F(HostileValues, EventCodesOutOfRangeAreKeptWhereAllOperationsAre) {
  const std::string rest = ",\"UserName\":\"u\",\"Object1\":\"x.acme\"}\n";
  EXPECT_EQ((Totals{4, 0, 4, 0, 0, 0}),
            Audit("{\"EventID\":1" + rest + "{\"EventID\":20000" + rest + "{\"EventID\":20017" +
                  rest + "{\"EventID\":65535" + rest));
  EXPECT_EQ(4U, Records().size());
}

TEST_F(HostileValues, DeeplyNestedJsonIsMalformed) {
  EXPECT_EQ((Totals{1, 1, 1, 0, 0, 0}), Audit(std::string(100000, '[') + "\n" + Numbered(1)));
}

TEST_F(HostileValues, LineOfManyMebibytesIsMalformed) {
  EXPECT_EQ((Totals{1, 1, 1, 0, 0, 0}), Audit(std::string(8 << 20, 'x') + "\n" + Numbered(1)));
}

TEST_F(HostileValues, ValuesOfAChangeLogAreWrittenAsTheyAre) {
  EXPECT_THAT(AuditChange("description: <b>&\"'%n%s\ndescription: gr\xC3\xBCn\n"
                          "description:: IGxlYWQKYnJlYWs=\ndescription: fol\n ded\ndescription:\n"),
              ElementsAre("<b>&\"'%n%s", "gr\xC3\xBCn", " lead\nbreak", "folded", ""));
}

TEST_F(HostileValues, BinaryValuesOfAChangeLogAreWrittenAsBase64) {
  // FF D8 FF E0, a raw FF, and a zero byte.
  EXPECT_THAT(AuditChange("description:: /9j/4A==\ndescription: \xFF\ndescription:: YQBi\n"),
              ElementsAre("/9j/4A==", "/w==", "YQBi"));
}

TEST_F(HostileValues, LongBinaryValueIsCutToItsField) {
  const std::string bytes = Repeated("/9j/", 3000);
  std::string lines = "description:: ";
  for (std::size_t i = 0; i < bytes.size(); i += 76) lines += bytes.substr(i, 76) + "\n ";
  EXPECT_THAT(AuditChange(lines + "\n"), ElementsAre(bytes.substr(0, 299)));
}

TEST_F(HostileValues, LongValueOfAChangeLogIsCutToItsField) {
  EXPECT_THAT(AuditChange(Repeated("\xC3\xBC", 5000, "description: a") + "\n"),
              ElementsAre(Repeated("\xC3\xBC", 149, "a")));
}

TEST_F(HostileValues, NamesInAChangeLogThatAreNotUtf8AreRepaired) {
  const Ended ended = RunAgent("auditlog:-", "dn:: b3U9/wAsbz1hY21l\nchangetype: delete\n\n");
  EXPECT_EQ(0, ended.status) << ended.errors;
  ASSERT_EQ(1U, Records().size());
  EXPECT_EQ(std::string(kReplaced) + kReplaced + ".acme", Records().front().object1);
}

TEST_F(HostileValues, PasswordsInJsonAreNotWritten) {
  const auto line = [](int code, const char* attribute, const char* value) {
    return JsonLine(code, {{"UserName", "u"},
                           {"Object1", "x.acme"},
                           {"Attribute1", attribute},
                           {"AttributeValue", value}});
  };
  Audit(line(20005, "userPassword", "Geheim7") + line(20005, "USERPASSWORD;lang-de", "Geheim7") +
        line(20007, "", "Geheim7") + line(20005, "olcRootPW", "Geheim7") +
        line(20005, "olcDbACLPasswd", "Geheim7") +
        line(20010, "olcSyncrepl", "{0}rid=1 credentials=Geheim7 type=refreshOnly"));
  ASSERT_EQ(6U, Records().size());
  for (const AuditRecord& record : Records()) EXPECT_THAT(record.value, Not(HasSubstr("Geheim7")));
}

}  // namespace
}  // namespace wkagent::test
