#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <wkagent/config.h>

#include "tests/config/config_fixture.h"

namespace wkagent::test {
namespace {

// What a settings file may define and refer to. Every attempt to load something from outside is
// counted.
class ConfigFileEntities : public ConfigFile {
 protected:
  ConfigFileEntities() : loader_(xmlGetExternalEntityLoader()) {
    loads_ = 0;
    xmlSetExternalEntityLoader([](const char*, const char*, xmlParserCtxt*) -> xmlParserInput* {
      ++loads_;
      return nullptr;
    });
    home_.Write("bin/secret.txt", "secret");
    home_.Write("bin/outside.dtd", "<!ENTITY e 'secret'><!ATTLIST r a CDATA 'secret'>");
  }
  ~ConfigFileEntities() override { xmlSetExternalEntityLoader(loader_); }

  _xmlNode* RootWith(const std::string& subset, const std::string& element) {
    return Root("<!DOCTYPE r [" + subset + "]>" + element);
  }

  xmlExternalEntityLoader loader_;
  static inline int loads_ = 0;
};

TEST_F(ConfigFileEntities, InternalOnesAreReplaced) {
  _xmlNode* const root = RootWith("<!ENTITY e 'bob'>", "<r a='*&e;*'>1&e;2</r>");
  EXPECT_EQ(Value(root, "a"), "bob");
  EXPECT_EQ(Content(root), "1bob2");
}

TEST_F(ConfigFileEntities, ExternalOnesAreNotLoaded) {
  EXPECT_EQ(Content(RootWith("<!ENTITY e SYSTEM 'secret.txt'>", "<r>1&e;2</r>")), "12");
  EXPECT_EQ(Content(RootWith("<!ENTITY e SYSTEM 'file:///etc/passwd'>", "<r>1&e;2</r>")), "12");
  EXPECT_EQ(Content(RootWith("<!ENTITY e PUBLIC 'p' 'http://127.0.0.1:9/'>", "<r>&e;</r>")), "");
  EXPECT_EQ(loads_, 0);
}

TEST_F(ConfigFileEntities, AnExternalOneInAnAttributeIsMalformed) {
  EXPECT_EQ(Read("<!DOCTYPE r [<!ENTITY e SYSTEM 'secret.txt'>]><r a='&e;'/>"), 1);
  EXPECT_EQ(loads_, 0);
}

TEST_F(ConfigFileEntities, AnExternalSubsetIsNotLoaded) {
  _xmlNode* const root = Root("<!DOCTYPE r SYSTEM 'outside.dtd'><r>1&e;2</r>");
  EXPECT_EQ(Content(root), "12");
  EXPECT_EQ(Value(root, "a"), std::nullopt);
  EXPECT_EQ(loads_, 0);
}

TEST_F(ConfigFileEntities, AnExternalParameterEntityIsNotLoaded) {
  const std::string subset = "<!ENTITY % p SYSTEM 'outside.dtd'> %p;";
  EXPECT_EQ(Value(RootWith(subset, "<r>12</r>"), "a"), std::nullopt);
  EXPECT_EQ(Read("<!DOCTYPE r [" + subset + "]><r>1&e;2</r>"), 1);
  EXPECT_EQ(loads_, 0);
}

TEST_F(ConfigFileEntities, XIncludeIsNotFollowed) {
  _xmlNode* const root = Root(
      "<r xmlns:xi='http://www.w3.org/2001/XInclude'>1<xi:include href='secret.txt' "
      "parse='text'/>2</r>");
  EXPECT_EQ(Content(root), "12");
  EXPECT_EQ(loads_, 0);
}

TEST_F(ConfigFileEntities, NoneAreLoadedEvenWhenTheHostsOwnParsersDo) {
  const int substitute = xmlSubstituteEntitiesDefault(1);
  xmlLoadExtDtdDefaultValue = 1;
  EXPECT_EQ(Content(RootWith("<!ENTITY e SYSTEM 'secret.txt'>", "<r>1&e;2</r>")), "12");
  EXPECT_EQ(Content(Root("<!DOCTYPE r SYSTEM 'outside.dtd'><r>12</r>")), "12");
  xmlSubstituteEntitiesDefault(substitute);
  xmlLoadExtDtdDefaultValue = 0;
  EXPECT_EQ(loads_, 0);
}

TEST_F(ConfigFileEntities, DefaultsOfTheFilesOwnSubsetHold) {
  EXPECT_EQ(Value(RootWith("<!ATTLIST r a CDATA '*default*'>", "<r/>"), "a"), "default");
}

TEST_F(ConfigFileEntities, OnesThatNameEachOtherAreMalformed) {
  const std::string subset = "<!DOCTYPE r [<!ENTITY e '&f;'><!ENTITY f '&e;'>]>";
  EXPECT_EQ(Read(subset + "<r>&e;</r>"), 1);
  EXPECT_EQ(Read(subset + "<r a='&e;'/>"), 1);
  EXPECT_EQ(Read(subset + "<r/>"), 0);
}

// Ten of ten of ten and so on: a gigabyte of text from a file of a few hundred bytes.
TEST_F(ConfigFileEntities, OnesThatMultiplyAreMalformed) {
  std::string text = "<!DOCTYPE r [<!ENTITY e0 'ha'>";
  for (char level = '1'; level <= '9'; ++level) {
    text += std::string("<!ENTITY e") + level + " '";
    for (int i = 0; i < 10; ++i) text += std::string("&e") + static_cast<char>(level - 1) + ";";
    text += "'>";
  }
  EXPECT_EQ(Read(text + "]><r>&e9;</r>"), 1);
  EXPECT_EQ(Read(text + "]><r a='&e9;'/>"), 1);
}

}  // namespace
}  // namespace wkagent::test
