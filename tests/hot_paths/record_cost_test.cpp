// What a record may cost beside time, after the first ones of its file.

#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <libxml/xmlmemory.h>

#include <wkagent/output.h>

#include "core/bounded_copy.h"
#include "support/agent_home.h"
#include "support/counted_calls.h"
#include "support/counted_heap.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

long libraryAllocations = 0;

// Counts the memory that libxml2 takes; must be called before it takes any.
void CountLibraryMemory() {
  xmlMemSetup(
      std::free,
      [](std::size_t size) {
        ++libraryAllocations;
        return std::malloc(size);
      },
      [](void* block, std::size_t size) {
        ++libraryAllocations;
        return std::realloc(block, size);
      },
      [](const char* text) {
        ++libraryAllocations;
        return strdup(text);
      });
}

class RecordCost : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { CountLibraryMemory(); }

  RecordCost() {
    output_.InitializeLogMessage([](int, char*, char*) {});
    output_.SetThresholdLimit(0);
    output_.OpenFile();
    CopyBounded(event_.UserName, "admin.acme");
    CopyBounded(event_.Object1, "jsmith <js>.sales.acme");
    Write(100);
  }

  void Write(int count) {
    for (int i = 0; i < count; ++i) output_.WriteAuditData(&event_);
  }

  AgentHome home_;
  WKEDAOutputFile output_{Text("live.xml"), "EDAuditData", "EDADataRecords"};
  tagWKEventData event_{};
};

TEST_F(RecordCost, IsNoMemory) {
  const long before = Allocations() + libraryAllocations;
  Write(1000);
  EXPECT_EQ(before, Allocations() + libraryAllocations);
  EXPECT_GT(libraryAllocations, 0);
}

TEST_F(RecordCost, IsAWriteForEach32KiB) {
  output_.FlushFile();
  const std::size_t before = home_.Read("bin/live.xml").size();
  const CountedCalls calls;
  Write(1000);
  const std::string text = calls.Text();
  output_.FlushFile();
  const std::size_t blocks = (home_.Read("bin/live.xml").size() - before) / (32U << 10);
  EXPECT_GE(blocks, 10U);
  const int writes = std::atoi(text.c_str() + std::strlen("write "));
  EXPECT_EQ("write " + std::to_string(writes), text);
  EXPECT_LE(writes, static_cast<int>(blocks * 5 / 4));
}

}  // namespace
}  // namespace wkagent::test
