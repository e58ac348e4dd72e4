#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/config.h>

#include "tests/config/settings_fixture.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_base_of_v<WKConfigFile, WKLdapConfig>);
static_assert(std::is_same_v<decltype(WKLdapConfig::logStatus), WKLogStatus>);
static_assert(std::is_standard_layout_v<tagLDAPConfig>);
static_assert(offsetof(tagLDAPConfig, PortNumber) == 0);
static_assert(offsetof(tagLDAPConfig, Server) == 8 && sizeof(tagLDAPConfig::Server) == 255);
static_assert(offsetof(tagLDAPConfig, UserName) == 263 && sizeof(tagLDAPConfig::UserName) == 255);
static_assert(offsetof(tagLDAPConfig, Password) == 518 && sizeof(tagLDAPConfig::Password) == 128);
static_assert(offsetof(tagLDAPConfig, TreeName) == 646 && sizeof(tagLDAPConfig::TreeName) == 255);
static_assert(offsetof(tagLDAPConfig, SecureConnection) == 901);
static_assert(sizeof(tagLDAPConfig::PortNumber) == 8);

class LdapConfig : public SettingsFixture<WKLdapConfig> {
 protected:
  LdapConfig() { Refill(); }

  // What the caller had in the fields before.
  void Refill() {
    config_ = {};
    config_.PortNumber = 7;
    config_.SecureConnection = true;
    for (char* field : {config_.Server, config_.UserName, config_.Password, config_.TreeName}) {
      std::strcpy(field, "was");
    }
  }

  int Read() { return reader_.ReadFile(Text("../config/Ldap.xml"), config_); }

  void ReadElements(const std::string& elements) {
    WriteElements("Ldap.xml", elements);
    EXPECT_EQ(Read(), 0) << elements;
  }

  std::string Show() const {
    return std::to_string(config_.PortNumber) + " " + config_.Server + " " + config_.UserName +
           " " + config_.Password + " " + config_.TreeName +
           (config_.SecureConnection ? " secure" : " plain");
  }

  tagLDAPConfig config_;
};

TEST_F(LdapConfig, FileIsReadWhole) {
  ReadElements(Element("LDAPPortNumber", "636") + Element("LDAPServer", "ldap.acme.example") +
               Element("LDAPUserName", "cn=agent,o=acme") + Element("LDAPPassword", " *p&amp;w* ") +
               Element("LDAPeDirectoryTreeName", "ACME_TREE"));
  EXPECT_EQ(Show(), "636 ldap.acme.example cn=agent,o=acme  *p&w*  ACME_TREE secure");
}

TEST_F(LdapConfig, FieldsWithoutElementStayAndTheFlagIsFalse) {
  ReadElements("");
  EXPECT_EQ(Show(), "7 was was was was plain");
}

TEST_F(LdapConfig, EachElementSetsItsFieldAlone) {
  const std::pair<const char*, const char*> cases[] = {
      {"LDAPPortNumber", "1 was was was was plain"},
      {"LDAPServer", "7 1 was was was plain"},
      {"LDAPUserName", "7 was 1 was was plain"},
      {"LDAPPassword", "7 was was 1 was plain"},
      {"LDAPeDirectoryTreeName", "7 was was was 1 plain"}};
  for (const auto& [name, expected] : cases) {
    Refill();
    ReadElements(Element(name, "1"));
    EXPECT_EQ(Show(), expected) << name;
  }
}

TEST_F(LdapConfig, OnlyPort636IsSecure) {
  for (const char* port : {"389", "0", "635", "637", "-636", "", "6360"}) {
    ReadElements(Element("LDAPPortNumber", port));
    EXPECT_FALSE(config_.SecureConnection) << port;
  }
  for (const char* port : {"636", " 636", "0636", "636/tcp", "4294967932"}) {
    ReadElements(Element("LDAPPortNumber", port));
    EXPECT_TRUE(config_.SecureConnection) << port;
    EXPECT_EQ(config_.PortNumber, 636);
  }
}

TEST_F(LdapConfig, PortIsA32BitNumber) {
  for (const NumberText& c : kNumberTexts) {
    ReadElements(Element("LDAPPortNumber", c.text));
    EXPECT_EQ(config_.PortNumber, c.number) << c.text;
  }
}

TEST_F(LdapConfig, LaterPortDoesNotResetTheFlag) {
  ReadElements(Element("LDAPPortNumber", "636") + Element("LDAPPortNumber", "389"));
  EXPECT_EQ(config_.PortNumber, 389);
  EXPECT_TRUE(config_.SecureConnection);
}

TEST_F(LdapConfig, SecondReadResetsTheFlag) {
  ReadElements(Element("LDAPPortNumber", "636") + Element("LDAPServer", "srv"));
  ReadElements(Element("LDAPUserName", "user"));
  EXPECT_EQ(Show(), "636 srv user was was plain");
}

TEST_F(LdapConfig, LaterElementOverridesAnEarlierOne) {
  ReadElements(Element("LDAPServer", "a longer one") + Element("LDAPServer", "b") +
               Element("LDAPPassword", "x") + Element("LDAPPassword", ""));
  EXPECT_EQ(Show(), "7 b was  was plain");
}

TEST_F(LdapConfig, ElementsAreFoundAtAnyDepthByTheirExactNames) {
  ReadElements("<a><b>" + Element("LDAPServer", "srv<x>" + Element("LDAPUserName", "u") + "</x>") +
               "</b></a>" + Element("ldapPassword", "x") + Element("LDAPPasswords", "x") +
               Element("LDAPTreeName", "x"));
  EXPECT_EQ(Show(), "7 srvu u was was plain");
}

TEST_F(LdapConfig, LongTextsAreCutToTheirFields) {
  const std::string longText(5000, 'x');
  ReadElements(Element("LDAPServer", longText) + Element("LDAPUserName", longText) +
               Element("LDAPPassword", longText) + Element("LDAPeDirectoryTreeName", longText));
  EXPECT_EQ(config_.Server, std::string(254, 'x'));
  EXPECT_EQ(config_.UserName, std::string(254, 'x'));
  EXPECT_EQ(config_.Password, std::string(127, 'x'));
  EXPECT_EQ(config_.TreeName, std::string(254, 'x'));
  EXPECT_FALSE(config_.SecureConnection);
}

TEST_F(LdapConfig, TextsThatJustFitAreWhole) {
  ReadElements(Element("LDAPServer", std::string(254, 's')) +
               Element("LDAPPassword", std::string(127, 'p')));
  EXPECT_EQ(config_.Server, std::string(254, 's'));
  EXPECT_EQ(config_.Password, std::string(127, 'p'));
}

TEST_F(LdapConfig, MissingFileFailsAndResetsTheFlagAlone) {
  EXPECT_EQ(Read(), 1);
  EXPECT_EQ(Show(), "7 was was was was plain");
  EXPECT_THAT(LogRecorder::Messages(),
              ElementsAre("WKConfigFile.ReadFile:Unable to access file ../config/Ldap.xml - "
                          "Error 2\n"));
}

TEST_F(LdapConfig, MalformedFileFailsSilently) {
  WriteText("Ldap.xml", "<x>" + Element("LDAPServer", "srv"));
  EXPECT_EQ(Read(), 1);
  EXPECT_EQ(Show(), "7 was was was was plain");
  EXPECT_THAT(LogRecorder::Messages(), IsEmpty());
}

TEST_F(LdapConfig, NullPathFails) { EXPECT_EQ(reader_.ReadFile(nullptr, config_), 1); }

TEST_F(LdapConfig, VirtualReadFileIsPassedBy) {
  class Refusing : public WKLdapConfig {
   public:
    using WKLdapConfig::ReadFile;
    int ReadFile(char* /*path*/) override { return 1; }
  };
  Refusing reader;
  WriteElements("Ldap.xml", Element("LDAPServer", "srv"));
  EXPECT_EQ(reader.ReadFile(Text("../config/Ldap.xml"), config_), 0);
  EXPECT_STREQ(config_.Server, "srv");
}

TEST_F(LdapConfig, ReadFileOfOneArgumentIsTheBases) {
  WriteElements("Ldap.xml", Element("LDAPServer", "srv"));
  EXPECT_EQ(reader_.ReadFile(Text("../config/Ldap.xml")), 0);
  EXPECT_NE(reader_.GetXMLRootNode(), nullptr);
}

TEST_F(LdapConfig, WalkFillsWhatItIsGiven) {
  reader_.GetLDAPSetting(Root(Element("LDAPPortNumber", "389")), config_);
  EXPECT_EQ(Show(), "389 was was was was secure");
  reader_.GetLDAPSetting(nullptr, config_);
  EXPECT_EQ(Show(), "389 was was was was secure");
}

}  // namespace
}  // namespace wkagent::test
