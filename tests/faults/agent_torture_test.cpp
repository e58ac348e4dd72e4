// The agent on a small feed, with alerts and a syslog collector, while its calls fail.

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <set>

#include "faults/collector_process.h"
#include "faults/fault.h"
#include "faults/most_places.h"
#include "integration/agent_test.h"
#include "syslog/syslog_fixture.h"

namespace wkagent::test {
namespace {

constexpr int kEvents = 6;
constexpr int kKilled = 128 + 9;
constexpr char kWithAlerts[] =
    "<Filter Title=\"t\" IncludeExclude=\"1\" Enabled=\"1\" AllDay=\"1\" StartTime=\"00:00:00 AM\" "
    "EndTime=\"00:00:00 AM\" Context=\"\" IncludeSubContainers=\"1\">"
    "<Operations AllOperations=\"1\"/><Users AllUsers=\"1\"/><Objects AllObjects=\"1\"/>"
    "<Classes AllClasses=\"1\"/><Attributes AllAttributes=\"1\"/>"
    "<AttributeValues AllAttributeValues=\"1\"/><Action ExcludeAlert=\"0\"/><SNMP Alert=\"1\"/>"
    "<SysLog Alert=\"0\"/><SMTP Alert=\"1\" From=\"a@acme\" To=\"b@acme\"/></Filter>";

// A change log of the server's, with the additions n0 to n5.
std::string ChangeLog() {
  std::string text;
  for (int i = 0; i < kEvents; ++i) {
    const std::string number = std::to_string(i);
    text += "# add 170000000" + number + " dc=acme cn=admin,dc=acme IP=127.0.0.1:5" + number +
            " conn=100" + number + "\ndn: cn=n" + number + ",ou=load,dc=acme\nchangetype: add\n" +
            "objectClass: person\n# end add 170000000" + number + "\n\n";
  }
  return text;
}

class TorturedAgent : public AgentTest {
 protected:
  TorturedAgent() {
    home_.Write("config/EDAFilter.xml", FilterFile({kWithAlerts}));
    home_.Write("config/DaemonSettings.xml", "<S><ArmThreshold>4</ArmThreshold></S>");
    WriteFile(kConfigFile, "<syslog><host>127.0.0.1</host><protocol>TCP</protocol><port>" +
                               std::to_string(collector_.Port()) + "</port></syslog>");
    home_.Write("feed.jsonl", Numbered(0, kEvents));
    home_.Write("feed.ldif", ChangeLog());
  }

  struct Failure {
    const char* call;
    const char* act;
    int times = 1;
  };

  // Lets a call fail at each place, or at evenly spread ones.
  void FailAtEachPlace(const std::string& feed, const Failure& failure) {
    ClearHome();
    EXPECT_EQ(0, Run(feed, {}).status);
    const long places = std::max(1L, ReadFaultReport(Report()).calls[failure.call]);
    const long step = std::max(1L, places / MostPlaces(20));
    long hits = 0;
    for (long nth = 1; nth <= 2 * places && !HasFailure(); nth += step) {
      if (!RunTwice(feed, {.call = failure.call,
                           .nth = static_cast<int>(nth),
                           .act = failure.act,
                           .times = failure.times})) {
        break;
      }
      ++hits;
    }
    std::cout << "  " << failure.call << ' ' << failure.act << (failure.times == 0 ? " from" : "")
              << ": " << hits << " of " << places << " places" << std::endl;
  }

 private:
  [[nodiscard]] std::string Report() const { return home_.Path("report"); }

  void ClearHome() const {
    for (const char* folder : {"tmp", "outbox"}) {
      for (const std::string& name : home_.List(folder)) {
        std::filesystem::remove(home_.Path(std::string(folder) + "/" + name));
      }
    }
    std::filesystem::remove_all(kStore);
    std::filesystem::remove(Report());
  }

  Ended Run(const std::string& feed, Fault fault) const {
    fault.under = HomePath();
    std::vector<std::string> more = {"--syslog"};
    // libseccomp, which is asked once at the start, crashes where memory runs out.
    if (fault.call == "allocate") more.emplace_back("--no-sandbox");
    return RunToEnd(WithFault(fault, Report(), Command(feed, more)), {}, "/");
  }

  [[nodiscard]] bool HasAll() const {
    std::set<std::string> names;
    for (const AuditRecord& record : Records()) {
      names.insert(record.object1.substr(0, record.object1.find('.')));
    }
    return names.size() == kEvents;
  }

  // With the fault, then without; false where the fault was not met.
  bool RunTwice(const std::string& feed, const Fault& fault) {
    ClearHome();
    SCOPED_TRACE(fault.call + ' ' + std::to_string(fault.nth) + ' ' + fault.act);
    const Ended first = Run(feed, fault);
    if (ReadFaultReport(Report()).hits <= 0) return false;
    const std::set<int> statuses = {0, 64, 66, 69, 70, 73, 78};
    const bool killed = fault.act.starts_with("kill") && first.status == kKilled;
    EXPECT_TRUE(killed || statuses.contains(first.status)) << first.status << ": " << first.errors;
    EXPECT_TRUE(killed || first.status == 0 || !first.errors.empty()) << "it says nothing";
    // An end without any complaint is one with all events.
    EXPECT_TRUE(first.status != 0 || !first.errors.empty() || HasAll());
    const Ended second = Run(feed, {});
    EXPECT_EQ(0, second.status) << second.errors;
    EXPECT_TRUE(HasAll()) << first.status << ": " << first.errors << second.errors;
    return true;
  }

  CollectorProcess collector_;
};

TEST_F(TorturedAgent, EndsWithAMessageOrGoesOnWhereMemoryRunsOut) {
  FailAtEachPlace("jsonl:" + home_.Path("feed.jsonl"), {"allocate", "errno:ENOMEM"});
  FailAtEachPlace("auditlog:" + home_.Path("feed.ldif"), {"allocate", "errno:ENOMEM"});
  FailAtEachPlace("jsonl:" + home_.Path("feed.jsonl"), {"allocate", "errno:ENOMEM", 0});
}

TEST_F(TorturedAgent, EndsWithAMessageOrGoesOnWhereFilesFail) {
  const std::string feed = "jsonl:" + home_.Path("feed.jsonl");
  for (const Failure& failure : {Failure{"open", "errno:EMFILE"}, Failure{"write", "errno:ENOSPC"},
                                 Failure{"write", "errno:EDQUOT", 0}, Failure{"write", "short"},
                                 Failure{"read", "errno:EIO"}, Failure{"rename", "errno:ENOSPC", 0},
                                 Failure{"stream", "errno:ENOSPC"}, Failure{"lock", "errno:EIO"},
                                 Failure{"watch", "errno:ENOSPC", 0}}) {
    FailAtEachPlace(feed, failure);
  }
}

TEST_F(TorturedAgent, EndsWithAMessageOrGoesOnWhereNetworkAndThreadsFail) {
  const std::string feed = "auditlog:" + home_.Path("feed.ldif");
  for (const Failure& failure :
       {Failure{"socket", "errno:EMFILE"}, Failure{"connect", "errno:ECONNREFUSED", 0},
        Failure{"send", "errno:EPIPE"}, Failure{"pthread_create", "errno:EAGAIN"}}) {
    FailAtEachPlace(feed, failure);
  }
}

TEST_F(TorturedAgent, LeavesAllToTheNextRunWhereItIsKilled) {
  const std::string feed = "jsonl:" + home_.Path("feed.jsonl");
  for (const char* call : {"open", "write", "rename"}) {
    FailAtEachPlace(feed, {call, "kill-before"});
    FailAtEachPlace(feed, {call, "kill-after"});
  }
}

}  // namespace
}  // namespace wkagent::test
