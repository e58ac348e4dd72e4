#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/config.h>

#include "support/counted_heap.h"
#include "support/list_objects.h"
#include "tests/config/settings_fixture.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_base_of_v<WKConfigFile, WKManagerList>);

std::string Server(const std::string& elements) { return Element("SharedFolderSetting", elements); }

// A server of this name.
std::string Named(const std::string& name, const std::string& elements = "") {
  return Server(Element("MachineName", name) + elements);
}

std::string Primary(const std::string& name, const std::string& elements = "") {
  return Named(name, "<IsPrincipal>1</IsPrincipal>" + elements);
}

// An entry of the manager list.
std::string Address(const std::string& name, const std::string& address) {
  return "<Manager>" + Element("MachineName", name) + Element("IpAddress", address) + "</Manager>";
}

const std::string kAccounts = Element("SharedFolderPath", "share") +
                              Element("SharedFolderPrimaryUserName", "P\\p") +
                              Element("SharedFolderPrimaryUserPassword", "pp") +
                              Element("SharedFolderSecondaryUserName", "S\\s") +
                              Element("SharedFolderSecondaryUserPassword", "ss");

std::string Shown(const char* text) { return text == nullptr ? "-" : text; }

// Every text of a server, in one line.
std::string Show(WKShareFolderSetting& server) {
  return Shown(server.GetMachineName()) + " " + Shown(server.GetPrimaryDomain()) + "\\" +
         Shown(server.GetPrimaryUser()) + ":" + Shown(server.GetPrimaryUserPassword()) + " " +
         Shown(server.GetSecondaryDomain()) + "\\" + Shown(server.GetSecondaryUser()) + ":" +
         Shown(server.GetSecondaryUserPassword()) + " " + Shown(server.GetShareFolderPath()) +
         " [" + server.GetMachineIpAddress() + (server.IsPrimaryServer() ? "] 1" : "] 0");
}

class ManagerList : public SettingsFixture<WKManagerList> {
 protected:
  // Reads both files, of these elements.
  int Read(const std::string& servers, const std::string& addresses) {
    WriteElements("Shared.xml", servers);
    WriteElements("ManagerList.xml", addresses);
    return reader_.Read(Text("../config/Shared.xml"));
  }

  // Walks shared settings of these elements, and commits the last one as Read does.
  void WalkServers(const std::string& servers) {
    reader_.ReadSharedSettings(Root(servers));
    reader_.CreateNewNode();
  }
  void WalkAddresses(const std::string& addresses) { reader_.ReadManagerList(Root(addresses)); }

  std::string PrimaryServer() { return Show(*reader_.GetPrimaryServer()); }

  // The name and address of each secondary server.
  std::vector<std::string> SecondaryServers() {
    CLinkList list;
    EXPECT_EQ(reader_.GetSecondaryServers(list), 1);
    std::vector<std::string> servers;
    for (WKShareFolderSetting* server : Objects<WKShareFolderSetting>(list)) {
      servers.push_back(Shown(server->GetMachineName()) + " " + server->GetMachineIpAddress());
    }
    return servers;
  }
};

constexpr char kUnset[] = "- -\\-:- -\\-:- - [] 0";

TEST_F(ManagerList, StartsWithoutServers) {
  EXPECT_EQ(PrimaryServer(), kUnset);
  EXPECT_EQ(reader_.GetPrimaryServer(), &reader_.primaryServer);
  EXPECT_EQ(reader_.pendingEntry, nullptr);
  EXPECT_THAT(SecondaryServers(), IsEmpty());
  EXPECT_LT(static_cast<void*>(&reader_.primaryServer), static_cast<void*>(&reader_.pendingEntry));
}

TEST_F(ManagerList, PrimaryServerIsReadWhole) {
  EXPECT_EQ(Read(Primary("srv", kAccounts), Address("srv", "192.0.2.1")), 0);
  EXPECT_EQ(PrimaryServer(), "srv P\\p:pp S\\s:ss share [192.0.2.1] 1");
  EXPECT_EQ(reader_.pendingEntry, nullptr);
}

TEST_F(ManagerList, MissingSharedSettingsFail) {
  WriteElements("ManagerList.xml", "");
  EXPECT_EQ(reader_.Read(Text("../config/Shared.xml")), 1);
  EXPECT_EQ(reader_.Read(nullptr), 1);
  EXPECT_THAT(LogRecorder::Messages(),
              ElementsAre("WKConfigFile.ReadFile:Unable to access file ../config/Shared.xml - "
                          "Error 2\n"));
}

TEST_F(ManagerList, MissingManagerListFailsAndKeepsThePrimaryServer) {
  WriteElements("Shared.xml", Named("a") + Primary("srv") + Named("b"));
  EXPECT_EQ(reader_.Read(Text("../config/Shared.xml")), 1);
  EXPECT_EQ(PrimaryServer(), "srv -\\-:- -\\-:- - [] 1");
  EXPECT_THAT(SecondaryServers(), IsEmpty());
  EXPECT_THAT(LogRecorder::Messages(), ElementsAre("WKConfigFile.ReadFile:Unable to access file "
                                                   "../config/ManagerList.xml - Error 2\n"));
}

TEST_F(ManagerList, MalformedFilesFail) {
  WriteText("Shared.xml", "<x>");
  EXPECT_EQ(reader_.Read(Text("../config/Shared.xml")), 1);
  WriteElements("Shared.xml", Primary("srv"));
  WriteText("ManagerList.xml", "");
  EXPECT_EQ(reader_.Read(Text("../config/Shared.xml")), 1);
  EXPECT_EQ(reader_.GetPrimaryServer()->GetMachineName(), std::string("srv"));
}

TEST_F(ManagerList, BothFilesAreReadByTheVirtualReadFile) {
  class Recording : public WKManagerList {
   public:
    int ReadFile(char* path) override {
      paths_.emplace_back(path);
      return WKManagerList::ReadFile(path);
    }
    std::vector<std::string> paths_;
  };
  Recording reader;
  WriteElements("Shared.xml", "");
  WriteElements("ManagerList.xml", "");
  EXPECT_EQ(reader.Read(Text("../config/Shared.xml")), 0);
  EXPECT_THAT(reader.paths_, ElementsAre("../config/Shared.xml", "../config/ManagerList.xml"));
}

TEST_F(ManagerList, ReadingTheSecondFileEmptiesTheSecondaryServers) {
  EXPECT_EQ(Read(Named("a") + Named("b"), Address("a", "192.0.2.1")), 0);
  EXPECT_THAT(SecondaryServers(), IsEmpty());
  EXPECT_EQ(reader_.list.GetCount(), 0);
}

TEST_F(ManagerList, LastSecondaryServerStaysPendingAfterARead) {
  EXPECT_EQ(Read(Named("a") + Named("b"), Address("b", "192.0.2.2")), 0);
  ASSERT_NE(reader_.pendingEntry, nullptr);
  EXPECT_EQ(Show(*reader_.pendingEntry), "b -\\-:- -\\-:- - [] 0");
}

TEST_F(ManagerList, SecondReadReplacesThePrimaryServer) {
  EXPECT_EQ(Read(Primary("one", kAccounts), Address("one", "192.0.2.1")), 0);
  EXPECT_EQ(Read(Primary("two", Element("SharedFolderPrimaryUserName", "Q\\q")),
                 Address("two", "192.0.2.2")),
            0);
  EXPECT_EQ(PrimaryServer(), "two Q\\q:- S\\s:ss - [192.0.2.2] 1");
  EXPECT_THAT(SecondaryServers(), IsEmpty());
}

TEST_F(ManagerList, SecondReadAfterSecondaryServersStartsFromAnEmptyList) {
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(Read(Named("a") + Primary("srv") + Named("b"), Address("srv", "192.0.2.1")), 0);
    EXPECT_EQ(PrimaryServer(), "srv -\\-:- -\\-:- - [192.0.2.1] 1");
    EXPECT_THAT(SecondaryServers(), IsEmpty());
  }
}

TEST_F(ManagerList, ReadsReleaseEverything) {
  WriteElements("Shared.xml",
                Named("a", kAccounts) + Primary("srv", kAccounts) + Named("b", kAccounts));
  WriteElements("ManagerList.xml", Address("srv", "192.0.2.1"));
  const auto read = [] {
    WKManagerList reader;
    char path[] = "../config/Shared.xml";
    return reader.Read(path) + reader.Read(path);
  };
  EXPECT_EQ(read(), 0);
  const long before = LiveBlocks();
  read();
  const long after = LiveBlocks();
  EXPECT_EQ(after, before);
}

// Those of the servers: the document is not the list's.
TEST_F(ManagerList, PasswordsAreWipedBeforeTheyAreReleased) {
  char secret[] = "a secret of some length";
  _xmlNode* const root = Root(Primary("srv", Element("SharedFolderPrimaryUserPassword", secret)) +
                              Named("a", Element("SharedFolderSecondaryUserPassword", secret)));
  const LeftInMemory left(secret);
  {
    WKManagerList reader;
    reader.ReadSharedSettings(root);
    reader.CreateNewNode();
    reader.ReadSharedSettings(root);
  }
  EXPECT_EQ(left.count, 0);
}

TEST_F(ManagerList, SecondaryServersStandInFileOrder) {
  WalkServers(Named("a") + Named("b") + Primary("srv") + Named("c"));
  EXPECT_THAT(SecondaryServers(), ElementsAre("a ", "b ", "c "));
  EXPECT_THAT(SecondaryServers(), ElementsAre("a ", "b ", "c "));
}

TEST_F(ManagerList, SecondaryServersAreAppendedAndStayTheLists) {
  WalkServers(Named("a"));
  CLinkList target;
  EXPECT_EQ(reader_.GetSecondaryServers(target), 1);
  EXPECT_EQ(reader_.GetSecondaryServers(target), 1);
  const auto servers = Objects<WKShareFolderSetting>(target);
  ASSERT_EQ(servers.size(), 2U);
  EXPECT_EQ(servers[0], servers[1]);
  EXPECT_EQ(servers[0], reader_.pendingEntry);
}

TEST_F(ManagerList, SecondaryServerIsReadWhole) {
  WalkServers(Named("srv", kAccounts));
  EXPECT_EQ(Show(*reader_.pendingEntry), "srv P\\p:pp S\\s:ss share [] 0");
  EXPECT_EQ(PrimaryServer(), kUnset);
}

TEST_F(ManagerList, AServerIsCommittedWhenTheNextOneBegins) {
  reader_.ReadSharedSettings(Root(Named("a") + Named("b")));
  EXPECT_THAT(SecondaryServers(), ElementsAre("a "));
  EXPECT_STREQ(reader_.pendingEntry->GetMachineName(), "b");
}

TEST_F(ManagerList, CommittedSecondaryServerStaysPending) {
  reader_.ReadSharedSettings(Root(Named("a")));
  reader_.CreateNewNode();
  reader_.CreateNewNode();
  EXPECT_THAT(SecondaryServers(), ElementsAre("a ", "a "));
  EXPECT_STREQ(reader_.pendingEntry->GetMachineName(), "a");
}

TEST_F(ManagerList, CommittedPrimaryServerIsNoLongerPending) {
  WalkServers(Named("a") + Primary("srv", kAccounts));
  EXPECT_EQ(reader_.pendingEntry, nullptr);
  reader_.CreateNewNode();
  EXPECT_EQ(PrimaryServer(), "srv P\\p:pp S\\s:ss share [] 1");
  EXPECT_THAT(SecondaryServers(), ElementsAre("a "));
}

TEST_F(ManagerList, NothingPendingMeansNothingToCommit) {
  reader_.CreateNewNode();
  EXPECT_EQ(PrimaryServer(), kUnset);
  EXPECT_THAT(SecondaryServers(), IsEmpty());
}

TEST_F(ManagerList, SecondPrimaryServerOverwritesTheFirst) {
  WalkServers(Primary("one", kAccounts) +
              Primary("two", Element("SharedFolderPath", "other") +
                                 Element("SharedFolderPrimaryUserName", "Q\\q") +
                                 Element("SharedFolderPrimaryUserPassword", "qq") +
                                 Element("SharedFolderSecondaryUserName", "T\\t") +
                                 Element("SharedFolderSecondaryUserPassword", "tt")));
  EXPECT_EQ(PrimaryServer(), "two Q\\q:qq T\\t:tt other [] 1");
}

TEST_F(ManagerList, MissingValuesOfAPrimaryServerAreAbsent) {
  WalkServers(Primary("srv", Element("SharedFolderSecondaryUserName", "s")));
  EXPECT_EQ(PrimaryServer(), "srv -\\-:- -\\s:- - [] 1");
  WalkServers(Server("<IsPrincipal>1</IsPrincipal>"));
  EXPECT_EQ(reader_.GetPrimaryServer()->GetMachineName(), nullptr);
}

TEST_F(ManagerList, SecondaryAccountNeedsItsUser) {
  WalkServers(Primary("srv", Element("SharedFolderSecondaryUserPassword", "ss")));
  EXPECT_EQ(PrimaryServer(), "srv -\\-:- -\\-:- - [] 1");
}

// The user's name is split once more when it is copied.
TEST_F(ManagerList, PrimaryAccountOfThreePartsLosesItsMiddle) {
  const std::string account = Element("SharedFolderPrimaryUserName", "A\\B\\C");
  WalkServers(Named("srv", account));
  EXPECT_EQ(Show(*reader_.pendingEntry), "srv A\\B\\C:- -\\-:- - [] 0");
  WalkServers(Primary("srv", account));
  EXPECT_EQ(PrimaryServer(), "srv A\\C:- -\\-:- - [] 1");
}

TEST_F(ManagerList, AccountWithoutDomainKeepsTheDomainOfTheFirstPrimaryServer) {
  WalkServers(Primary("one", kAccounts) +
              Primary("two", Element("SharedFolderPrimaryUserName", "q")));
  EXPECT_EQ(PrimaryServer(), "two P\\q:- S\\s:ss - [] 1");
}

TEST_F(ManagerList, IsPrincipalIsANumber) {
  for (const char* text : kTrueTexts) {
    WKManagerList reader;
    reader.ReadSharedSettings(Root(Server(Element("IsPrincipal", text))));
    EXPECT_TRUE(reader.pendingEntry->IsPrimaryServer()) << text;
  }
  for (const char* text : kFalseTexts) {
    WKManagerList reader;
    reader.ReadSharedSettings(
        Root(Server("<IsPrincipal>1</IsPrincipal>" + Element("IsPrincipal", text))));
    EXPECT_FALSE(reader.pendingEntry->IsPrimaryServer()) << text;
  }
}

TEST_F(ManagerList, LaterElementOverridesAnEarlierOne) {
  WalkServers(Named("a", kAccounts + Element("MachineName", "b") +
                             Element("SharedFolderPrimaryUserName", "q") +
                             Element("SharedFolderPath", "")));
  EXPECT_EQ(Show(*reader_.pendingEntry), "b P\\q:pp S\\s:ss  [] 0");
}

TEST_F(ManagerList, ElementsBeforeTheFirstServerAreIgnored) {
  WalkServers(Element("MachineName", "x") + "<IsPrincipal>1</IsPrincipal>" + kAccounts +
              Named("a"));
  EXPECT_EQ(Show(*reader_.pendingEntry), "a -\\-:- -\\-:- - [] 0");
  EXPECT_EQ(PrimaryServer(), kUnset);
}

TEST_F(ManagerList, FileWithoutServersReadsNone) {
  EXPECT_EQ(Read(Element("MachineName", "x"), Address("x", "192.0.2.1")), 0);
  EXPECT_EQ(PrimaryServer(), kUnset);
  EXPECT_EQ(reader_.pendingEntry, nullptr);
}

TEST_F(ManagerList, ElementsBelongToTheServerBeforeThemAtAnyDepth) {
  WalkServers("<SharedFolderSetting/><x><y>" + Element("MachineName", "a") + "</y></x>" +
              Server("<x>" + Element("MachineName", "b") + "</x>"));
  EXPECT_THAT(SecondaryServers(), ElementsAre("a ", "b "));
}

TEST_F(ManagerList, ElementNamesAreExact) {
  WalkServers("<sharedFolderSetting/><SharedFolderSettings/>" +
              Server(Element("machineName", "x") + Element("Machine", "y") +
                     "<isPrincipal>1</isPrincipal>" + Element("SharedFolderUserName", "z")));
  EXPECT_EQ(Show(*reader_.pendingEntry), kUnset);
}

TEST_F(ManagerList, AddressGoesToThePrimaryServerOfThatExactName) {
  WalkServers(Primary("srv"));
  WalkAddresses(Address("SRV", "1") + Address("srv2", "2") + Address("sr", "3"));
  EXPECT_STREQ(reader_.GetPrimaryServer()->GetMachineIpAddress(), "");
  WalkAddresses(Address("srv", "4"));
  EXPECT_STREQ(reader_.GetPrimaryServer()->GetMachineIpAddress(), "4");
}

TEST_F(ManagerList, AddressesGoToSecondaryServersToo) {
  WalkServers(Primary("srv") + Named("a") + Named("b"));
  WalkAddresses(Address("b", "2") + Address("srv", "0") + Address("a", "1") + Address("c", "3"));
  EXPECT_THAT(SecondaryServers(), ElementsAre("a 1", "b 2"));
  EXPECT_STREQ(reader_.GetPrimaryServer()->GetMachineIpAddress(), "0");
}

TEST_F(ManagerList, WithoutAPendingServerSecondaryServersGetNoAddress) {
  WalkServers(Named("a") + Primary("srv"));
  WalkAddresses(Address("a", "1") + Address("srv", "0"));
  EXPECT_THAT(SecondaryServers(), ElementsAre("a "));
  EXPECT_STREQ(reader_.GetPrimaryServer()->GetMachineIpAddress(), "0");
}

TEST_F(ManagerList, FirstSecondaryServerOfANameGetsTheAddress) {
  WalkServers(Named("a") + Named("b") + Named("a"));
  reader_.SetIPAddressforSecondaryMgrs(Text("a"), Text("1"));
  EXPECT_THAT(SecondaryServers(), ElementsAre("a 1", "b ", "a "));
  reader_.SetIPAddressforSecondaryMgrs(Text("a"), Text("2"));
  reader_.SetIPAddressforSecondaryMgrs(Text("A"), Text("3"));
  EXPECT_THAT(SecondaryServers(), ElementsAre("a 2", "b ", "a "));
}

TEST_F(ManagerList, ServersWithoutANameGetNoAddress) {
  WalkServers(Server("") + Server(""));
  reader_.SetIPAddressforSecondaryMgrs(Text(""), Text("1"));
  reader_.SetIPAddressforSecondaryMgrs(nullptr, Text("1"));
  EXPECT_THAT(SecondaryServers(), ElementsAre("- ", "- "));
}

TEST_F(ManagerList, AddressNeedsANameBeforeItAmongItsSiblings) {
  WalkServers(Primary("srv"));
  WalkAddresses(Element("IpAddress", "1") + Element("MachineName", "srv") + "<x>" +
                Element("IpAddress", "2") + "</x>" + "<x>" + Element("MachineName", "other") +
                "</x>");
  EXPECT_STREQ(reader_.GetPrimaryServer()->GetMachineIpAddress(), "");
  WalkAddresses(Element("MachineName", "srv") + "<x>" + Address("other", "3") + "</x>text" +
                Element("IpAddress", "4"));
  EXPECT_STREQ(reader_.GetPrimaryServer()->GetMachineIpAddress(), "4");
}

TEST_F(ManagerList, NameCountsForEveryAddressThatFollows) {
  WalkServers(Primary("srv") + Named("a"));
  WalkAddresses(Element("MachineName", "srv") + Element("IpAddress", "1") +
                Element("IpAddress", "2") + Element("MachineName", "a") +
                Element("IpAddress", "3"));
  EXPECT_STREQ(reader_.GetPrimaryServer()->GetMachineIpAddress(), "2");
  EXPECT_THAT(SecondaryServers(), ElementsAre("a 3"));
}

TEST_F(ManagerList, LongAddressIsCut) {
  EXPECT_EQ(Read(Primary("srv"), Address("srv", std::string(300, '1'))), 0);
  EXPECT_EQ(reader_.GetPrimaryServer()->GetMachineIpAddress(), std::string(24, '1'));
}

TEST_F(ManagerList, WalksOfNothingReadNothing) {
  reader_.ReadSharedSettings(nullptr);
  reader_.ReadManagerList(nullptr);
  EXPECT_EQ(PrimaryServer(), kUnset);
}

}  // namespace
}  // namespace wkagent::test
