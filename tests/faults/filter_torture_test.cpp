// Both filters, read and decide, while calls fail.

#include <string>

#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "faults/torture.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

constexpr int kStatements = 25;
constexpr int kAlerts = 3;

// A statement for one user, that wants each alert.
std::string Statement(const std::string& user) {
  return "<Filter Title=\"t\" IncludeExclude=\"1\" Enabled=\"1\" AllDay=\"1\" "
         "StartTime=\"00:00:00 AM\" EndTime=\"00:00:00 AM\" Context=\"acme\" "
         "IncludeSubContainers=\"1\"><Operations AllOperations=\"0\"><Operation EventId=\"20001\"/>"
         "<Operation EventId=\"21001\" Condition=\"705\"/></Operations>"
         "<Users AllUsers=\"0\"><User Name=\"" +
         user +
         "\"/></Users><Nodes AllNodes=\"1\"/><Objects AllObjects=\"0\"><Object Name=\"bob\"/>"
         "</Objects><Classes AllClasses=\"0\"><Class Name=\"Person\"/></Classes>"
         "<Attributes AllAttributes=\"1\"/><AttributeValues AllAttributeValues=\"1\"/>"
         "<Action ExcludeAlert=\"0\"/><SNMP Alert=\"1\"/><SysLog Alert=\"1\"/>"
         "<SMTP Alert=\"1\" From=\"a@acme\" To=\"b@acme\" Cc=\"\" Subject=\"s\"/></Filter>";
}

// So many that they are looked up in an index.
std::string Filters() {
  std::string text = "<?xml version=\"1.0\"?><Filters>";
  for (int i = 0; i < kStatements; ++i) text += Statement("user" + std::to_string(i));
  return text + "</Filters>";
}

const std::vector<Failure> kFailures = {{"allocate", "errno:ENOMEM"},
                                        {"allocate", "errno:ENOMEM", 0},
                                        {"open", "errno:EMFILE"},
                                        {"read", "errno:EIO"}};

bool Passes(WKEDAFilter& filter, const char* user) {
  return filter.PassFilter(20001, Text(user), Text("10.0.0.1"), Text("bob.sales.acme"),
                           Text("Person"), Text("cn"), Text("v"));
}

bool Passes(WKELAFilter& filter, const char* user) {
  return filter.PassFilter(21001, 705, Text(user), Text("10.0.0.1"));
}

template <typename Filter>
Outcome ReadAndDecide(const AgentHome& /*home*/) {
  Filter filter(Text("Filter.xml"));
  filter.InitializeLogMessage(Messages::Take);
  const bool read = filter.GetReadError() == nullptr && filter.statements.GetCount() > 0;
  const bool passes = Passes(filter, "user4.acme") && filter.alerts.GetCount() == kAlerts;
  return {.complete = read && filter.statements.GetCount() == kStatements && passes &&
                      !Passes(filter, "nobody.acme"),
          .told = filter.GetReadError() != nullptr};
}

TEST(TorturedFilters, OfChangesAreReadWholeOrNotAtAll) {
  Torture(ReadAndDecide<WKEDAFilter>).With("config/Filter.xml", Filters()).Fail(kFailures);
}

TEST(TorturedFilters, OfLoginsAreReadWholeOrNotAtAll) {
  Torture(ReadAndDecide<WKELAFilter>).With("config/Filter.xml", Filters()).Fail(kFailures);
}

// Reads a filter again: whatever comes of it, there are the old statements or the new ones.
template <typename Filter>
Outcome ReadAgain(const AgentHome& /*home*/) {
  Filter filter(Text("Filter.xml"));
  filter.InitializeLogMessage(Messages::Take);
  if (filter.GetReadError() != nullptr) return {.complete = false, .told = true};
  bool read = false;
  try {
    read = filter.ReadFilter() == 0;
  } catch (const std::bad_alloc&) {
  }
  const bool whole = filter.statements.GetCount() == kStatements;
  const bool decides = Passes(filter, "user4.acme") && filter.alerts.GetCount() == kAlerts &&
                       !Passes(filter, "nobody.acme");
  return {.complete = read && whole && decides, .told = !read && whole && decides};
}

TEST(TorturedFilters, OfChangesKeepTheirStatementsWhereReadingAgainFails) {
  Torture(ReadAgain<WKEDAFilter>).With("config/Filter.xml", Filters()).Fail(kFailures);
}

TEST(TorturedFilters, OfLoginsKeepTheirStatementsWhereReadingAgainFails) {
  Torture(ReadAgain<WKELAFilter>).With("config/Filter.xml", Filters()).Fail(kFailures);
}

// A decision that failed once is right the next time.
Outcome DecideTwice(const AgentHome& /*home*/) {
  WKEDAFilter filter(Text("Filter.xml"));
  if (filter.GetReadError() != nullptr) return {.complete = false, .told = true};
  bool told = false;
  for (int attempts = 2; attempts > 0; --attempts) {
    try {
      const bool right = Passes(filter, "user4.acme") && filter.alerts.GetCount() == kAlerts &&
                         !Passes(filter, "nobody.acme");
      return {.complete = right && !told, .told = right && told};
    } catch (const std::bad_alloc&) {
      told = true;
    }
  }
  return {.complete = false, .told = true};
}

TEST(TorturedFilters, DecideRightlyAfterADecisionFailed) {
  Torture(DecideTwice)
      .With("config/Filter.xml", Filters())
      .AtMost(400)
      .Fail({{"allocate", "errno:ENOMEM"}});
}

}  // namespace
}  // namespace wkagent::test
