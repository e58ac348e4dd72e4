// Encrypted settings files, file monitors, lists, pools and status messages, while calls fail.

#include <algorithm>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include <wkagent/core.h>
#include <wkagent/crypto.h>
#include <wkagent/monitor.h>

#include "faults/fault_control.h"
#include "faults/torture.h"
#include "support/text.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

const std::vector<Failure> kMemory = {{"allocate", "errno:ENOMEM"},
                                      {"allocate", "errno:ENOMEM", 0}};

constexpr char kGuid[] = "1B4E28BA-2FA1-11D2-883F-0016D3CCA427";
constexpr char kSettings[] = "<Settings><SMTPServer>10.0.0.9</SMTPServer></Settings>";

// No failure of these files is told, but that of reading the plain one.
TEST(TorturedEncryption, LeavesAFileThatIsWholeOrAnException) {
  Torture([](const AgentHome& home) {
    bool told = false;
    try {
      CRijndael().WKEncryptFile(Text("../config/plain.xml"), Text("../config/settings.cfg"),
                                Text(kGuid));
      CRijndael().WKDecryptFile(Text("../config/settings.cfg"), Text("../tmp/again.xml"),
                                Text(kGuid));
    } catch (const std::bad_alloc&) {
      told = true;
    } catch (const std::string&) {
      told = true;
    }
    const WithoutFaults within;
    return Outcome{.complete = !told && home.Read("tmp/again.xml") == kSettings, .told = told};
  })
      .With("config/plain.xml", kSettings)
      .Fail({{"allocate", "errno:ENOMEM"}, {"allocate", "errno:ENOMEM", 0}, {"write", "short"}});
}

TEST(TorturedList, HasTheNodesThatItTook) {
  Torture([](const AgentHome&) {
    CLinkList list;
    int taken = 0;
    bool told = false;
    for (int i = 0; i < 5; ++i) {
      try {
        list.AddNode(&i, sizeof(i));
        ++taken;
      } catch (const std::bad_alloc&) {
        told = true;
      }
    }
    int sum = 0;
    int number = 0;
    list.SetHead();
    while (list.GetNode(&number, sizeof(number)) == 0) ++sum;
    const bool consistent = sum == taken && list.GetCount() == taken;
    return Outcome{.complete = consistent && taken == 5, .told = consistent && told};
  }).Fail(kMemory);
}

TEST(TorturedPool, WorksWithTheBlocksThatItGot) {
  Torture([](const AgentHome&) {
    ClsMemManager pool;
    int value = 0;
    const bool whole = pool.Initialize(4, &value, sizeof(value)) == 0;
    const unsigned blocks = pool.GetFreeMemoryBlocks();
    unsigned taken = 0;
    for (int i = 0; i < 4; ++i) taken += pool.AddToQ(&i) == 0 ? 1 : 0;
    unsigned given = 0;
    while (pool.GetData(&value) == 0) ++given;
    const bool consistent = taken == blocks && given == blocks;
    return Outcome{.complete = whole && consistent && blocks == 4, .told = !whole && consistent};
  }).Fail(kMemory);
}

TEST(TorturedMonitor, TellsOfAFileThatWasWrittenOrFails) {
  Torture([](const AgentHome& home) {
    Messages::Forget();
    CLinkList changed;
    bool told = false;
    try {
      WKFileMonitor monitor;
      monitor.InitializeLogMessage(Messages::Take);
      told = monitor.inotifyFd < 0;
      told = monitor.SetDirectoryToMonitor(Text("../config")) != 0 || told;
      told = monitor.AddFileToMonitor(Text("*.xml")) != 0 || told;
      {
        const WithoutFaults within;
        home.Write("config/a.xml", "x");
      }
      monitor.IsFileModified(changed);
    } catch (const std::bad_alloc&) {
      told = true;
    }
    return Outcome{.complete = changed.GetCount() == 1, .told = told};
  }).Fail({{"allocate", "errno:ENOMEM"}, {"watch", "errno:ENOSPC"}, {"watch", "errno:EMFILE", 0}});
}

std::atomic<int> called = 0;

TEST(TorturedMonitor, WithAThreadTellsOfAFileThatWasWrittenOrFails) {
  Torture([](const AgentHome& home) {
    called = 0;
    bool told = false;
    try {
      WKFileMonitor1 monitor;
      monitor.RegisterCallBack([](char* /*name*/) { ++called; });
      monitor.AddFileToMonitor(Text("*.xml"));
      told = monitor.SetDirectoryToMonitor(Text("../config")) != 0 || told;
      told = monitor.StartMonitoring() != 0 || told;
      const WithoutFaults within;
      home.Write("config/a.xml", "x");
      if (!told) told = !WaitUntil([] { return called > 0; });
    } catch (const std::bad_alloc&) {
      told = true;
    }
    return Outcome{.complete = called > 0, .told = told};
  })
      .Fail({{"allocate", "errno:ENOMEM"},
             {"watch", "errno:ENOSPC"},
             {"watch", "errno:EMFILE", 0},
             {"pthread_create", "errno:EAGAIN"}});
}

TEST(TorturedStatus, MessagesAreWholeLinesOrNone) {
  Torture([](const AgentHome& home) {
    tagStatusMessage record{};
    std::snprintf(record.message, sizeof(record.message), "%s", "started");
    WKStatusMessage(Text("../tmp/status")).WriteMessage(&record);
    const WithoutFaults within;
    const std::string text = home.Read("tmp/status");
    std::filesystem::remove(home.Path("tmp/status"));
    return Outcome{.complete = text.ends_with("started\n\r"), .told = text.empty()};
  }).Fail(kMemory);
}

}  // namespace
}  // namespace wkagent::test
