#include <vector>

#include <gtest/gtest.h>

#include <wkagent/core.h>

#include "support/counted_heap.h"

namespace wkagent::test {
namespace {

TEST(PoolCost, OfMovesIsNoMemory) {
  constexpr int kBlock = 2048;
  std::vector<char> block(kBlock, 'x');
  ClsMemManager pool;
  ASSERT_EQ(0, pool.Initialize(16, block.data(), kBlock));
  int failed = 0;
  const long before = Allocations();
  for (int i = 0; i < 1000; ++i) {
    failed += pool.AddToQ(block.data());
    failed += pool.AddToQ(block.data());
    failed += pool.GetData(block.data());
    failed += pool.GetData(block.data());
  }
  const long allocations = Allocations() - before;
  EXPECT_EQ(0, allocations);
  EXPECT_EQ(0, failed);
}

}  // namespace
}  // namespace wkagent::test
