// XML files made to exhaust, to mislead or to reach out, for every reader of such files.

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include "config/xml_attack_fixture.h"
#include "support/sanitized.h"

namespace wkagent::test {
namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::Optional;

constexpr std::size_t kMegabyte = 1'000'000;
#ifdef WKAGENT_TEST_SANITIZED
constexpr std::size_t kManyReferences = kMegabyte / 20;
#else
constexpr std::size_t kManyReferences = kMegabyte;
#endif

std::string Repeated(const std::string& text, std::size_t count) {
  std::string all;
  all.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

// "e0" to "e9", each of which is ten of the one before it.
std::string EntitiesThatMultiply() {
  std::string subset = "<!ENTITY e0 'ha'>";
  for (char level = '1'; level <= '9'; ++level) {
    const std::string before = std::string("&e") + static_cast<char>(level - 1) + ";";
    subset += std::string("<!ENTITY e") + level + " '" + Repeated(before, 10) + "'>";
  }
  return subset;
}

TEST_P(XmlAttack, AnHonestFileIsRead) {
  InBounds([this] { EXPECT_THAT(Read(Document("", "value")), Optional(Holds("value"))); });
}

TEST_P(XmlAttack, EntitiesThatMultiplyAreRefused) {
  InBounds([this] { EXPECT_EQ(Read(Document(EntitiesThatMultiply(), "&e9;")), std::nullopt); });
}

TEST_P(XmlAttack, ALongEntityThatIsUsedOftenIsRefused) {
  InBounds([this] {
    for (const std::size_t count : {5'000U, 100'000U}) {
      const std::string entity = "<!ENTITY e '" + std::string(count, 'x') + "'>";
      EXPECT_EQ(Read(Document(entity, Repeated("&e;", count))), std::nullopt) << count;
    }
  });
}

TEST_P(XmlAttack, AShortEntityThatIsUsedOftenIsRead) {
  InBounds([this] {
    const std::string document = Document("<!ENTITY e 'x'>", Repeated("&e;", kManyReferences));
    EXPECT_THAT(Read(document), Optional(Holds(std::string(10, 'x'))));
  });
}

TEST_P(XmlAttack, AnEntityInElementsOfAnEntityIsCounted) {
  InBounds([this] {
    const std::string subset = "<!ENTITY e '" + std::string(5000, 'x') + "'><!ENTITY f '" +
                               Repeated("<a>&e;</a>", 10) + "'>";
    const std::string document =
        "<!DOCTYPE r [" + subset + "]><r>" + Element("value") + Repeated("&f;", 10'000) + "</r>";
    EXPECT_EQ(Read(document), std::nullopt);
  });
}

TEST_P(XmlAttack, EntitiesThatNameEachOtherAreRefused) {
  InBounds([this] {
    EXPECT_EQ(Read(Document("<!ENTITY e '&f;'><!ENTITY f '&e;'>", "&e;")), std::nullopt);
    std::string chain = "<!ENTITY e0 'x'>";
    for (int i = 1; i < 10'000; ++i) {
      chain += "<!ENTITY e" + std::to_string(i) + " '&e" + std::to_string(i - 1) + ";'>";
    }
    EXPECT_EQ(Read(Document(chain, "&e9999;")), std::nullopt);
  });
}

TEST_P(XmlAttack, NothingOutsideIsOpened) {
  InBounds([this] {
    const Lures lures(home_);
    for (const std::string& lure : lures.Addresses()) {
      for (const std::string& document :
           {Document("<!ENTITY e SYSTEM '" + lure + "'>", "1&e;2"),
            Document("<!ENTITY e PUBLIC 'p' '" + lure + "'>", "1&e;2"),
            Document("<!ENTITY % p SYSTEM '" + lure + "'> %p;", "12"),
            "<!DOCTYPE r SYSTEM '" + lure + "'><r>" + Element("12") + "</r>",
            "<r xmlns:xi='http://www.w3.org/2001/XInclude'>" + Element("12") +
                "<xi:include href='" + lure + "' parse='text'/></r>"}) {
        EXPECT_THAT(Read(document).value_or(""), Not(HasSubstr(Lures::kSecret))) << document;
        EXPECT_FALSE(lures.WereTouched()) << document;
      }
    }
  });
}

TEST_P(XmlAttack, NothingOutsideIsOpenedThoughTheHostsOwnParsersDo) {
  InBounds([this] {
    const Lures lures(home_);
    xmlSubstituteEntitiesDefault(1);
    xmlLoadExtDtdDefaultValue = 1;
    for (const std::string& lure : lures.Addresses()) {
      (void)Read(Document("<!ENTITY e SYSTEM '" + lure + "'>", "1&e;2"));
      (void)Read(Document("<!ENTITY % p SYSTEM '" + lure + "'> %p;", "12"));
      (void)Read("<!DOCTYPE r SYSTEM '" + lure + "'><r>" + Element("12") + "</r>");
      EXPECT_FALSE(lures.WereTouched()) << lure;
    }
  });
}

TEST_P(XmlAttack, HugeValuesAreCutOrRefused) {
  InBounds([this] {
    const std::string huge(10 * kMegabyte + 1, 'v');
    for (const std::string& document :
         {Document("", huge), "<r a='" + huge + "'>" + Element("v") + "</r>",
          "<r>" + Element("v") + "<" + huge + "/></r>",
          "<r><!--" + huge + "-->" + Element("v") + "</r>", "<r>" + huge + Element("v") + "</r>"}) {
      const std::optional<std::string> found = Read(document);
      EXPECT_TRUE(IsRefusedOrHolds(found, "v")) << document.substr(0, 40);
    }
  });
}

TEST_P(XmlAttack, ManySmallThingsAreReadInTime) {
  InBounds([this] {
    std::string attributes;
    for (int i = 0; i < 5'000; ++i) attributes += " a" + std::to_string(i) + "='1'";
    EXPECT_THAT(Read("<r" + attributes + ">" + Element("v") + "</r>"), Optional(Holds("v")));
    EXPECT_THAT(Read("<r>" + Repeated("<a/>", 200'000) + Element("v") + "</r>"),
                Optional(Holds("v")));
    EXPECT_THAT(Read("<r>" + Repeated(Element("v"), 5'000) + "</r>"), Optional(Holds("v")));
  });
}

TEST_P(XmlAttack, ElementsThatLieTooDeepAreRefused) {
  InBounds([this] {
    const std::size_t depth = 100'000;
    EXPECT_EQ(Read(Repeated("<a>", depth)), std::nullopt);
    EXPECT_EQ(Read(Repeated("<a>", depth) + Element("v") + Repeated("</a>", depth)), std::nullopt);
  });
}

TEST_P(XmlAttack, ElementsThatLieAsDeepAsIsAllowedAreRead) {
  InBounds([this] {
    const std::size_t depth = 200;
    const std::string element =
        IsFlat() ? Element("v") : Repeated("<a>", depth) + Element("v") + Repeated("</a>", depth);
    EXPECT_THAT(Read("<r>" + element + "</r>"), Optional(Holds("v")));
  });
}

TEST_P(XmlAttack, BytesThatAreNotOfTheEncodingAreRefused) {
  InBounds([this] {
    for (const char* bytes : {"\xE9", "\xC3", "\xED\xA0\x80", "\xF5\x80\x80\x80", "\xC0\x80"}) {
      EXPECT_EQ(Read("<?xml version=\"1.0\" encoding=\"UTF-8\"?>" + Bare(bytes)), std::nullopt);
      EXPECT_EQ(Read(Bare(bytes)), std::nullopt);
    }
    EXPECT_EQ(Read("<?xml version=\"1.0\" encoding=\"no-such\"?>" + Bare("v")), std::nullopt);
    EXPECT_EQ(Read(Bare("&#0;")), std::nullopt);
    EXPECT_EQ(Read(Bare("&#xD800;")), std::nullopt);
    EXPECT_EQ(Read(Bare("\x01")), std::nullopt);
  });
}

TEST_P(XmlAttack, OtherEncodingsAreReadAsTheyAreDeclared) {
  InBounds([this] {
    EXPECT_THAT(Read("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + Bare("\xE9")),
                Optional(Holds("\xC3\xA9")));
    for (const char* name : {"UTF-16LE", "UTF-16BE", "UTF-32LE", "UTF-32BE"}) {
      for (const char* mark : {"", "\xEF\xBB\xBF"}) {
        const std::string text = std::string(mark) + "<?xml version=\"1.0\" encoding=\"" + name +
                                 "\"?>" + Bare("\xC3\xA9");
        const std::optional<std::string> found = Read(Converted(text, name));
        EXPECT_TRUE(IsRefusedOrHolds(found, "\xC3\xA9")) << name << mark;
      }
    }
  });
}

TEST_P(XmlAttack, Utf16IsToldByItsMark) {
  InBounds([this] {
    for (const char* name : {"UTF-16LE", "UTF-16BE"}) {
      EXPECT_THAT(Read(Converted("\xEF\xBB\xBF" + Bare("\xC3\xA9"), name)),
                  Optional(Holds("\xC3\xA9")));
    }
    EXPECT_THAT(Read("\xEF\xBB\xBF" + Bare("v")), Optional(Holds("v")));
  });
}

// UTF-7 can write "<" in other bytes. Whoever declares it gets what it says.
TEST_P(XmlAttack, Utf7IsNoWayPastTheParser) {
  InBounds([this] {
    const std::string declared = "<?xml version=\"1.0\" encoding=\"UTF-7\"?>";
    const std::optional<std::string> found = Read(declared + Bare("+ADw-/x+AD4-"));
    EXPECT_EQ(found, std::nullopt);
    EXPECT_THAT(Read(Bare("+ADw-")), Optional(Holds("+ADw-")));
  });
}

TEST_P(XmlAttack, AZeroByteIsRefused) {
  InBounds([this] {
    const std::string document = Bare("value");
    for (std::size_t at = 0; at < document.size(); ++at) {
      EXPECT_EQ(Read(std::string(document).insert(at, 1, '\0')), std::nullopt) << at;
    }
  });
}

TEST_P(XmlAttack, AFileCutAnywhereIsRefused) {
  InBounds([this] {
    const std::string document = Document("<!ENTITY e 'x'>", "1&e;<!-- c -->");
    for (std::size_t size = 0; size < document.size(); ++size) {
      EXPECT_EQ(Read(document.substr(0, size)), std::nullopt) << size;
    }
  });
}

TEST_P(XmlAttack, AFolderInTheFilesPlaceIsRefused) {
  InBounds([this] {
    std::filesystem::remove(Place());
    std::filesystem::create_directory(Place());
    EXPECT_EQ(ReadPlace(), std::nullopt);
  });
}

TEST_P(XmlAttack, WhatTheParserSaysNamesTheFile) {
  InBounds([this] {
    const std::string multiplied = Document(EntitiesThatMultiply(), "&e9;");
    for (const std::string& document :
         {std::string(), std::string("<r>"), Bare("\xE9"), multiplied,
          std::string("<?xml version='1.0' encoding='no-such'?><r/>")}) {
      (void)Read(document);
      const std::string own = "Cannot read SMTP Settings";  // of both kinds of alerts
      EXPECT_THAT(said_, AnyOf("", own, HasSubstr(NameOfPlace()))) << document.substr(0, 60);
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Readers, XmlAttack, ::testing::ValuesIn(kXmlReaders),
                         [](const auto& reader) { return std::string(reader.param.name); });

}  // namespace
}  // namespace wkagent::test
