#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include <wkagent/config.h>

#include "support/counted_heap.h"
#include "support/printed.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

static_assert(!std::is_polymorphic_v<WKShareFolderSetting>);
static_assert(!std::is_copy_constructible_v<WKShareFolderSetting>);
static_assert(sizeof(WKShareFolderSetting::machineIpAddress) == 25);

class ShareFolderSetting : public testing::Test {
 protected:
  static std::string Shown(const char* text) { return text == nullptr ? "-" : text; }

  // Domain and user of each account.
  std::string Primary() {
    return Shown(setting_.GetPrimaryDomain()) + " " + Shown(setting_.GetPrimaryUser());
  }
  std::string Secondary() {
    return Shown(setting_.GetSecondaryDomain()) + " " + Shown(setting_.GetSecondaryUser());
  }

  WKShareFolderSetting setting_;
};

struct TextSetting {
  const char* name;
  void (WKShareFolderSetting::*set)(char*);
  char* (WKShareFolderSetting::*get)();
};
constexpr TextSetting kTexts[] = {
    {"machine name", &WKShareFolderSetting::SetMachineName, &WKShareFolderSetting::GetMachineName},
    {"primary domain", &WKShareFolderSetting::SetPrimaryDomain,
     &WKShareFolderSetting::GetPrimaryDomain},
    {"primary user", &WKShareFolderSetting::SetPrimaryUser, &WKShareFolderSetting::GetPrimaryUser},
    {"primary password", &WKShareFolderSetting::SetPrimaryUserPassword,
     &WKShareFolderSetting::GetPrimaryUserPassword},
    {"secondary domain", &WKShareFolderSetting::SetSecondaryDomain,
     &WKShareFolderSetting::GetSecondaryDomain},
    {"secondary user", &WKShareFolderSetting::SetSecondaryUser,
     &WKShareFolderSetting::GetSecondaryUser},
    {"secondary password", &WKShareFolderSetting::SetSecondaryUserPassword,
     &WKShareFolderSetting::GetSecondaryUserPassword},
    {"path", &WKShareFolderSetting::SetShareFolderPath, &WKShareFolderSetting::GetShareFolderPath},
};

TEST_F(ShareFolderSetting, StartsUnset) {
  for (const TextSetting& text : kTexts) EXPECT_EQ((setting_.*text.get)(), nullptr) << text.name;
  EXPECT_STREQ(setting_.GetMachineIpAddress(), "");
  EXPECT_FALSE(setting_.IsPrimaryServer());
}

TEST_F(ShareFolderSetting, FieldsStandInTheirOrder) {
  EXPECT_LT(&setting_.machineName, &setting_.primaryDomain);
  EXPECT_LT(&setting_.primaryDomain, &setting_.primaryUser);
  EXPECT_LT(&setting_.primaryUser, &setting_.primaryUserPassword);
  EXPECT_LT(&setting_.primaryUserPassword, &setting_.secondaryDomain);
  EXPECT_LT(&setting_.secondaryDomain, &setting_.secondaryUser);
  EXPECT_LT(&setting_.secondaryUser, &setting_.secondaryUserPassword);
  EXPECT_LT(&setting_.secondaryUserPassword, &setting_.shareFolderPath);
  EXPECT_LT(static_cast<void*>(&setting_.shareFolderPath),
            static_cast<void*>(setting_.machineIpAddress));
  EXPECT_LT(static_cast<void*>(setting_.machineIpAddress),
            static_cast<void*>(&setting_.primaryFlag));
}

TEST_F(ShareFolderSetting, EachTextIsSetAlone) {
  for (const TextSetting& text : kTexts) {
    WKShareFolderSetting setting;
    (setting.*text.set)(Text("a text"));
    for (const TextSetting& other : kTexts) {
      EXPECT_STREQ((setting.*other.get)(), &text == &other ? "a text" : nullptr)
          << text.name << " and " << other.name;
    }
    EXPECT_STREQ(setting.GetMachineIpAddress(), "");
  }
}

TEST_F(ShareFolderSetting, TextsAreCopies) {
  for (const TextSetting& text : kTexts) {
    std::string source = "before";
    (setting_.*text.set)(source.data());
    source = "after!";
    EXPECT_STREQ((setting_.*text.get)(), "before") << text.name;
  }
}

TEST_F(ShareFolderSetting, SecondTextReplacesTheFirst) {
  for (const TextSetting& text : kTexts) {
    for (const char* value : {"first", "second, and longer than the first", "x"}) {
      (setting_.*text.set)(Text(value));
      EXPECT_STREQ((setting_.*text.get)(), value) << text.name;
    }
  }
}

TEST_F(ShareFolderSetting, TextMayBeTheObjectsOwn) {
  for (const TextSetting& text : kTexts) {
    (setting_.*text.set)(Text("own text"));
    (setting_.*text.set)((setting_.*text.get)() + 4);
    EXPECT_STREQ((setting_.*text.get)(), "text") << text.name;
  }
}

TEST_F(ShareFolderSetting, PrimaryDomainAloneIgnoresNullAndEmpty) {
  setting_.SetPrimaryDomain(Text("CORP"));
  setting_.SetPrimaryDomain(Text(""));
  setting_.SetPrimaryDomain(nullptr);
  EXPECT_STREQ(setting_.GetPrimaryDomain(), "CORP");
  setting_.SetSecondaryDomain(Text("CORP"));
  setting_.SetSecondaryDomain(Text(""));
  EXPECT_STREQ(setting_.GetSecondaryDomain(), "");
  setting_.SetSecondaryDomain(nullptr);
  EXPECT_EQ(setting_.GetSecondaryDomain(), nullptr);
}

TEST_F(ShareFolderSetting, FlagIsSetAndReset) {
  setting_.SetPrimaryFlag(true);
  EXPECT_TRUE(setting_.IsPrimaryServer());
  setting_.SetPrimaryFlag(false);
  EXPECT_FALSE(setting_.IsPrimaryServer());
}

TEST_F(ShareFolderSetting, AddressIsCopiedIntoItsBuffer) {
  setting_.SetMachineIPAddress(Text("192.0.2.17"));
  EXPECT_STREQ(setting_.GetMachineIpAddress(), "192.0.2.17");
  EXPECT_EQ(setting_.GetMachineIpAddress(), setting_.machineIpAddress);
  setting_.SetMachineIPAddress(Text(""));
  EXPECT_STREQ(setting_.GetMachineIpAddress(), "");
}

TEST_F(ShareFolderSetting, LongAddressIsCutAt24Bytes) {
  setting_.SetPrimaryFlag(true);
  for (const std::size_t size : {24U, 25U, 26U, 5000U}) {
    setting_.SetMachineIPAddress(Text(std::string(size, '1')));
    EXPECT_EQ(setting_.GetMachineIpAddress(), std::string(24, '1')) << size;
    EXPECT_TRUE(setting_.IsPrimaryServer());
  }
}

struct AccountCase {
  const char* account;
  const char* domain;
  const char* user;
};
constexpr AccountCase kAccounts[] = {
    {"CORP\\auditor", "CORP", "auditor"},
    {"auditor", "before", "auditor"},
    {"A\\B\\C", "A", "B\\C"},
    {"CORP\\", "CORP", ""},
    {"\\auditor", "", "auditor"},
    {"\\", "", ""},
    {"\\\\host\\x", "", "\\host\\x"},
    {"", "before", ""},
    {"CORP/auditor", "before", "CORP/auditor"},
    {"auditor@corp", "before", "auditor@corp"},
};

TEST_F(ShareFolderSetting, AccountIsSplitAtItsFirstBackslash) {
  for (const AccountCase& c : kAccounts) {
    setting_.SetPrimaryDomain(Text("before"));
    setting_.SetSecondaryDomain(Text("before"));
    setting_.SetPrimaryUser(Text(c.account));
    setting_.SetSecondaryUser(Text(c.account));
    EXPECT_EQ(Primary(), std::string(c.domain) + " " + c.user) << c.account;
    EXPECT_EQ(Secondary(), std::string(c.domain) + " " + c.user) << c.account;
  }
}

TEST_F(ShareFolderSetting, AccountWithoutDomainLeavesAnUnsetDomainUnset) {
  setting_.SetPrimaryUser(Text("auditor"));
  setting_.SetSecondaryUser(Text("auditor"));
  EXPECT_EQ(Primary(), "- auditor");
  EXPECT_EQ(Secondary(), "- auditor");
}

TEST_F(ShareFolderSetting, AccountIsNotChangedInPlace) {
  char account[] = "CORP\\auditor";
  setting_.SetPrimaryUser(account);
  setting_.SetSecondaryUser(account);
  EXPECT_STREQ(account, "CORP\\auditor");
}

TEST_F(ShareFolderSetting, LongAccountIsCutAt299Bytes) {
  const std::string name(400, 'n');
  setting_.SetPrimaryUser(Text(name));
  EXPECT_EQ(setting_.GetPrimaryUser(), std::string(299, 'n'));
  setting_.SetPrimaryUser(Text("D\\" + name));
  EXPECT_EQ(setting_.GetPrimaryUser(), std::string(297, 'n'));
  setting_.SetSecondaryUser(Text(name + "\\user"));
  EXPECT_EQ(setting_.GetSecondaryUser(), std::string(299, 'n'));
  EXPECT_EQ(setting_.GetSecondaryDomain(), nullptr);
}

TEST_F(ShareFolderSetting, NullAccountIsIgnored) {
  setting_.SetPrimaryUser(Text("A\\a"));
  setting_.SetSecondaryUser(Text("B\\b"));
  setting_.SetPrimaryUser(nullptr);
  setting_.SetSecondaryUser(nullptr);
  EXPECT_EQ(Primary(), "A a");
  EXPECT_EQ(Secondary(), "B b");
}

TEST_F(ShareFolderSetting, PrintWritesNeitherDomainsNorAddress) {
  setting_.SetMachineName(Text("srv%s"));
  setting_.SetPrimaryUser(Text("CORP\\auditor"));
  setting_.SetPrimaryUserPassword(Text("one"));
  setting_.SetSecondaryUser(Text("HOME\\other"));
  setting_.SetSecondaryUserPassword(Text("two"));
  setting_.SetShareFolderPath(Text("\\\\srv\\share"));
  setting_.SetMachineIPAddress(Text("192.0.2.17"));
  setting_.SetPrimaryFlag(true);
  EXPECT_EQ(Printed([&] { setting_.Print(); }),
            "Share Folder Setting:\nMN: srv%s, PU: auditor, PUS: one, SU: other, SUP: two, "
            "SFP: \\\\srv\\share, PS: 1\n");
}

TEST_F(ShareFolderSetting, PrintOfUnsetTextsIsEmptyBetweenTheirNames) {
  EXPECT_EQ(Printed([&] { setting_.Print(); }),
            "Share Folder Setting:\nMN: , PU: , PUS: , SU: , SUP: , SFP: , PS: 0\n");
}

// How many released blocks hold the text after it was set twice and the object has ended.
int LeftBy(void (WKShareFolderSetting::*set)(char*)) {
  char secret[] = "a secret of some length";
  const LeftInMemory left(secret);
  {
    WKShareFolderSetting setting;
    (setting.*set)(secret);
    (setting.*set)(secret);
  }
  return left.count;
}

TEST_F(ShareFolderSetting, PasswordsAloneAreWipedBeforeTheyAreReleased) {
  EXPECT_EQ(LeftBy(&WKShareFolderSetting::SetPrimaryUserPassword), 0);
  EXPECT_EQ(LeftBy(&WKShareFolderSetting::SetSecondaryUserPassword), 0);
  EXPECT_EQ(LeftBy(&WKShareFolderSetting::SetMachineName), 2);
}

TEST_F(ShareFolderSetting, PasswordIsWipedWhenItIsUnset) {
  char secret[] = "a secret of some length";
  setting_.SetPrimaryUserPassword(secret);
  setting_.SetSecondaryUserPassword(secret);
  const LeftInMemory left(secret);
  setting_.SetPrimaryUserPassword(nullptr);
  setting_.SetSecondaryUserPassword(nullptr);
  EXPECT_EQ(left.count, 0);
}

TEST_F(ShareFolderSetting, EveryTextIsReleased) {
  const long before = LiveBlocks();
  {
    WKShareFolderSetting setting;
    for (int round = 0; round < 3; ++round) {
      for (const TextSetting& text : kTexts) {
        char value[] = "DOMAIN\\a text that is on the heap";
        (setting.*text.set)(value);
      }
    }
  }
  const long after = LiveBlocks();
  EXPECT_EQ(after, before);
}

}  // namespace
}  // namespace wkagent::test
