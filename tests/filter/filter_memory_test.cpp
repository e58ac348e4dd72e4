#include <cstddef>
#include <fstream>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_support.h"
#include "support/agent_home.h"
#include "support/sanitized.h"

#ifdef WKAGENT_TEST_SANITIZED
// Of the sanitizers' runtime; not every compiler installs the header that declares it.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace wkagent::test {
namespace {

// The memory that the process holds, in KiB. A sanitizer keeps released blocks for a while, so
// there it is what is allocated and not released.
long HeldMemory() {
#ifdef WKAGENT_TEST_SANITIZED
  return static_cast<long>(__sanitizer_get_current_allocated_bytes() / 1024);
#else
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word) {
    long size = 0;
    if (word == "VmRSS:" && status >> size) return size;
  }
  ADD_FAILURE() << "no VmRSS";
  return 0;
#endif
}

// How much a process may grow by what is no leak: pages of the heap and of the runtime.
constexpr long kSlack = 1024;

class FilterMemory : public ::testing::Test {
 protected:
  // A file of `count` statements with lists, texts and mail alerts of some size.
  void WriteFile(int count) {
    const std::string name(200, 'n');
    const std::string elements = std::string(kAllElements) + "<User Name=\"CN=" + name +
                                 ",O=acme\"/><Object Name=\"" + name + "\"/><SNMP Alert=\"1\"/>" +
                                 "<SMTP Alert=\"1\" From=\"f\" Subject=\"" + name + "\" To=\"" +
                                 name + "\" Cc=\"c\"/>";
    std::string filters;
    for (; count > 0; --count) filters += FilterElement(name, elements);
    home_.Write("config/f.xml", FilterFile(filters));
  }

  // By how many KiB `rounds` calls let the process grow, after a tenth as many to warm up.
  template <typename Call>
  long Growth(int rounds, Call call) {
    for (int round = 0; round < rounds / 10; ++round) call();
    const long before = HeldMemory();
    for (int round = 0; round < rounds; ++round) call();
    return HeldMemory() - before;
  }

  AgentHome home_;
};

TEST_F(FilterMemory, DecisionsWithMailAlertsDoNotGrow) {
  WriteFile(3);
  WKEDAFilter filter(Text("f.xml"));
  ASSERT_TRUE(Passes(filter, DirectoryEvent()));
  ASSERT_EQ(4, filter.alerts.GetCount());
  EXPECT_LT(Growth(100000, [&] { Passes(filter, DirectoryEvent()); }), kSlack);
}

TEST_F(FilterMemory, ReadFilterDoesNotGrow) {
  WriteFile(50);
  WKEDAFilter filter(Text("f.xml"));
  EXPECT_LT(Growth(100, [&] { filter.ReadFilter(); }), kSlack);
  EXPECT_EQ(50, filter.statements.GetCount());
}

TEST_F(FilterMemory, FailedReadFilterDoesNotGrow) {
  home_.Write("config/f.xml", FilterFile(FilterElement("one") + "<Filter"));
  ::testing::internal::CaptureStderr();
  WKEDAFilter filter(Text("f.xml"));
  ::testing::internal::GetCapturedStderr();
  EXPECT_LT(Growth(5000, [&] { filter.ReadFilter(); }), kSlack);
  EXPECT_NE(nullptr, filter.GetReadError());
}

TEST_F(FilterMemory, FiltersThatEndDoNotGrow) {
  WriteFile(10);
  EXPECT_LT(Growth(500,
                   [] {
                     WKEDAFilter filter(Text("f.xml"));
                     EXPECT_TRUE(Passes(filter, DirectoryEvent()));
                   }),
            kSlack);
}

TEST_F(FilterMemory, ReadersThatKeepTheirStatementsDoNotGrow) {
  WriteFile(10);
  EXPECT_LT(Growth(500,
                   [] {
                     WKEdaConfig reader;
                     EXPECT_EQ(0, reader.ReadFile(Text("../config/f.xml")));
                   }),
            kSlack);
}

TEST_F(FilterMemory, ReplacedTextsDoNotGrow) {
  WKEDAFilterStatement statement;
  const std::string text(200, 't');
  EXPECT_LT(Growth(100000,
                   [&] {
                     statement.SetTitle(Text(text));
                     statement.SetTo(Text(text));
                     statement.SetSubject(Text(text));
                     statement.SetAuditedContext(Text(text));
                     statement.ClearTitle();
                     statement.ClearContext();
                   }),
            kSlack);
}

}  // namespace
}  // namespace wkagent::test
