#include <climits>
#include <cstddef>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/core.h>

#include "support/counted_heap.h"
#include "tests/core/list_inspection.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_standard_layout_v<ClsMemManager>);
static_assert(!std::is_polymorphic_v<ClsMemManager>);
static_assert(offsetof(ClsMemManager, freeList) == 0);
static_assert(offsetof(ClsMemManager, freeList) < offsetof(ClsMemManager, usedList));
static_assert(offsetof(ClsMemManager, usedList) < offsetof(ClsMemManager, freeBlocks));
static_assert(offsetof(ClsMemManager, freeBlocks) < offsetof(ClsMemManager, usedBlocks));
static_assert(offsetof(ClsMemManager, usedBlocks) < offsetof(ClsMemManager, mutex));
static_assert(offsetof(ClsMemManager, mutex) < offsetof(ClsMemManager, mutexReady));
static_assert(std::is_same_v<decltype(ClsMemManager::mutex), pthread_mutex_t>);
static_assert(sizeof(ClsMemManager::freeBlocks) == 4 && sizeof(ClsMemManager::usedBlocks) == 4);

// A pool of blocks of three bytes.
class MemManager : public testing::Test {
 protected:
  int Initialize(int count, std::string blockTemplate = "...") {
    return pool_.Initialize(count, blockTemplate.data(), static_cast<int>(blockTemplate.size()));
  }
  int Queue(std::string block) { return pool_.AddToQ(block.data()); }

  // The oldest block, or "<empty>" where the result is 1 and the target was left alone.
  std::string Take() {
    std::string target = "###";
    const int result = pool_.GetData(target.data());
    if (result == 0) return target;
    EXPECT_EQ(result, 1);
    EXPECT_EQ(target, "###");
    return "<empty>";
  }

  // The number of free and of used blocks, as the pool tells it.
  std::vector<unsigned> Counts() { return {pool_.GetFreeMemoryBlocks(), pool_.GetUsedBlocks()}; }

  std::set<const void*> BlockAddresses() const {
    std::set<const void*> addresses;
    for (const CLinkList* list : {&pool_.freeList, &pool_.usedList}) {
      for (const tagLinkList* node = list->head; node != nullptr; node = node->next) {
        addresses.insert(node);
        addresses.insert(node->data);
      }
    }
    return addresses;
  }

  ClsMemManager pool_;
};

const std::string kZeros(3, '\0');

TEST_F(MemManager, StartsEmptyAndWithoutMutex) {
  EXPECT_THAT(Counts(), ElementsAre(0, 0));
  EXPECT_FALSE(pool_.mutexReady);
  EXPECT_THAT(Blocks(pool_.freeList), IsEmpty());
  EXPECT_THAT(Blocks(pool_.usedList), IsEmpty());
}

TEST_F(MemManager, RefusesEverythingBeforeInitialize) {
  EXPECT_EQ(Queue("abc"), 1);
  EXPECT_EQ(Take(), "<empty>");
  EXPECT_THAT(Counts(), ElementsAre(0, 0));
}

TEST_F(MemManager, InitializeMakesFreeCopiesOfTheTemplate) {
  std::string blockTemplate = "abc";
  EXPECT_EQ(pool_.Initialize(3, blockTemplate.data(), 3), 0);
  blockTemplate = "xyz";
  EXPECT_TRUE(pool_.mutexReady);
  EXPECT_THAT(Counts(), ElementsAre(3, 0));
  EXPECT_THAT(Blocks(pool_.freeList), ElementsAre("abc", "abc", "abc"));
  EXPECT_THAT(Blocks(pool_.usedList), IsEmpty());
}

TEST_F(MemManager, CountOfZeroOrLessMakesNoBlocks) {
  for (const int count : {0, -1, INT_MIN}) {
    EXPECT_EQ(Initialize(count), 0) << count;
    EXPECT_TRUE(pool_.mutexReady);
    EXPECT_THAT(Counts(), ElementsAre(0, 0));
    EXPECT_EQ(Queue("abc"), 1);
    EXPECT_EQ(Take(), "<empty>");
  }
}

TEST_F(MemManager, ThirdBlockOfTwoIsRefused) {
  ASSERT_EQ(Initialize(2), 0);
  EXPECT_EQ(Queue("one"), 0);
  EXPECT_EQ(Queue("two"), 0);
  EXPECT_EQ(Queue("thr"), 1);
  EXPECT_EQ(Take(), "one");
  EXPECT_EQ(Queue("fou"), 0);
  EXPECT_EQ(Queue("fiv"), 1);
  EXPECT_EQ(Take(), "two");
  EXPECT_EQ(Take(), "fou");
  EXPECT_EQ(Take(), "<empty>");
}

TEST_F(MemManager, CountsFollowEveryMove) {
  ASSERT_EQ(Initialize(2), 0);
  Queue("one");
  EXPECT_THAT(Counts(), ElementsAre(1, 1));
  Queue("two");
  EXPECT_THAT(Counts(), ElementsAre(0, 2));
  Queue("thr");
  EXPECT_THAT(Counts(), ElementsAre(0, 2));
  Take();
  EXPECT_THAT(Counts(), ElementsAre(1, 1));
  Take();
  EXPECT_THAT(Counts(), ElementsAre(2, 0));
  Take();
  EXPECT_THAT(Counts(), ElementsAre(2, 0));
}

TEST_F(MemManager, RefusedBlockLeavesTheCountsAsTheyWere) {
  ASSERT_EQ(Initialize(1), 0);
  Queue("one");
  pool_.freeBlocks = 77;
  pool_.usedBlocks = 88;
  EXPECT_EQ(Queue("two"), 1);
  EXPECT_THAT(Counts(), ElementsAre(77, 88));
}

TEST_F(MemManager, ReadingAnEmptyQueueStillRefreshesTheCounts) {
  ASSERT_EQ(Initialize(1), 0);
  pool_.freeBlocks = 77;
  pool_.usedBlocks = 88;
  EXPECT_EQ(Take(), "<empty>");
  EXPECT_THAT(Counts(), ElementsAre(1, 0));
}

TEST_F(MemManager, FirstInIsFirstOut) {
  ASSERT_EQ(Initialize(4), 0);
  for (const char* block : {"one", "two", "thr", "fou"}) Queue(block);
  for (const char* block : {"one", "two", "thr", "fou"}) EXPECT_EQ(Take(), block);
}

TEST_F(MemManager, OrderHoldsWhileThePoolGoesRound) {
  ASSERT_EQ(Initialize(3), 0);
  int taken = 100;
  for (int queued = 100; queued < 400; ++queued) {
    EXPECT_EQ(Queue(std::to_string(queued)), 0);
    if (queued % 3 == 0) continue;  // so that the queue grows now and then
    while (pool_.GetUsedBlocks() > 1) EXPECT_EQ(Take(), std::to_string(taken++));
  }
  while (pool_.GetUsedBlocks() > 0) EXPECT_EQ(Take(), std::to_string(taken++));
  EXPECT_EQ(taken, 400);
}

TEST_F(MemManager, ZeroBytesAreData) {
  ASSERT_EQ(Initialize(2), 0);
  const std::string block("a\0b", 3);
  Queue(block);
  EXPECT_EQ(Take(), block);
  Queue(kZeros);
  EXPECT_EQ(Take(), kZeros);
}

TEST_F(MemManager, BlockThatIsHandedBackIsZerosAtTheEndOfTheFreeOnes) {
  ASSERT_EQ(Initialize(2), 0);
  Queue("one");
  EXPECT_THAT(Blocks(pool_.freeList), ElementsAre("..."));
  EXPECT_EQ(Take(), "one");
  EXPECT_THAT(Blocks(pool_.freeList), ElementsAre("...", kZeros));
}

TEST_F(MemManager, EveryBlockIsUsedInTurn) {
  ASSERT_EQ(Initialize(3), 0);
  for (int round = 0; round < 3; ++round) {
    Queue("one");
    Take();
  }
  EXPECT_THAT(Blocks(pool_.freeList), ElementsAre(kZeros, kZeros, kZeros));
}

TEST_F(MemManager, BlocksAreTheSameForThePoolsWholeLife) {
  ASSERT_EQ(Initialize(3), 0);
  const std::set<const void*> before = BlockAddresses();
  for (int round = 0; round < 100; ++round) {
    Queue("one");
    Queue("two");
    Take();
    EXPECT_EQ(BlockAddresses(), before);
    Take();
  }
}

TEST_F(MemManager, NothingIsAllocatedWhileBlocksFlow) {
  ASSERT_EQ(Initialize(2), 0);
  char block[] = "one";
  int failures = 0;
  {
    const HeapLimit nothing(0);
    for (int round = 0; round < 10; ++round) {
      failures += pool_.AddToQ(block) + pool_.AddToQ(block);
      failures += pool_.GetData(block) + pool_.GetData(block);
    }
  }
  EXPECT_EQ(failures, 0);
}

TEST_F(MemManager, BlockThatCannotBeMadeFailsInitialize) {
  std::string large(4096, 'x');
  int result = 0;
  {
    const HeapLimit limit(1024);
    result = pool_.Initialize(5, large.data(), static_cast<int>(large.size()));
  }
  EXPECT_EQ(result, 1);
  EXPECT_TRUE(pool_.mutexReady);
  EXPECT_THAT(Counts(), ElementsAre(0, 0));
  EXPECT_EQ(Queue("abc"), 1);
}

TEST_F(MemManager, PoolWhoseInitializeFailedWorksWithTheBlocksItHas) {
  ASSERT_EQ(Initialize(2), 0);
  std::string large(4096, 'x');
  int result = 0;
  {
    const HeapLimit limit(1024);
    result = pool_.Initialize(5, large.data(), static_cast<int>(large.size()));
  }
  EXPECT_EQ(result, 1);
  EXPECT_EQ(Queue("one") + Queue("two"), 0);
  EXPECT_EQ(Queue("thr"), 1);
  EXPECT_EQ(Take(), "one");
}

TEST_F(MemManager, SecondInitializeAddsFurtherBlocks) {
  ASSERT_EQ(Initialize(1), 0);
  EXPECT_EQ(Initialize(2), 0);
  for (const char* block : {"one", "two", "thr"}) EXPECT_EQ(Queue(block), 0);
  EXPECT_EQ(Queue("fou"), 1);
  EXPECT_EQ(Take(), "one");
}

TEST_F(MemManager, SecondInitializeCountsItsOwnBlocksUntilTheNextMove) {
  ASSERT_EQ(Initialize(3), 0);
  Queue("one");
  EXPECT_EQ(Initialize(2), 0);
  EXPECT_THAT(Counts(), ElementsAre(2, 0));
  Queue("two");
  EXPECT_THAT(Counts(), ElementsAre(3, 2));
  EXPECT_EQ(Take(), "one");
}

TEST_F(MemManager, FreeReleasesFreeAndUsedBlocks) {
  ASSERT_EQ(Initialize(3), 0);
  Queue("one");
  pool_.Free();
  EXPECT_FALSE(pool_.mutexReady);
  EXPECT_THAT(Counts(), ElementsAre(0, 0));
  EXPECT_THAT(BlockAddresses(), IsEmpty());
  EXPECT_EQ(Queue("two"), 1);
  EXPECT_EQ(Take(), "<empty>");
}

TEST_F(MemManager, FreeIsForAnyPool) {
  pool_.Free();
  pool_.Free();
  ASSERT_EQ(Initialize(1), 0);
  pool_.Free();
  pool_.Free();
  EXPECT_FALSE(pool_.mutexReady);
}

TEST_F(MemManager, FreedPoolIsInitializedAnewAlsoWithOtherSizes) {
  for (const std::string block : {"abc", "a", "a much longer block"}) {
    ASSERT_EQ(Initialize(2, std::string(block.size(), '.')), 0);
    EXPECT_THAT(Counts(), ElementsAre(2, 0));
    EXPECT_EQ(Queue(block), 0);
    std::string target(block.size(), '#');
    EXPECT_EQ(pool_.GetData(target.data()), 0);
    EXPECT_EQ(target, block);
    pool_.Free();
  }
}

TEST_F(MemManager, BlocksOfNoBytesAreCountedOnly) {
  ASSERT_EQ(Initialize(1, ""), 0);
  EXPECT_EQ(Queue("abc"), 0);
  EXPECT_EQ(Queue("abc"), 1);
  std::string target = "###";
  EXPECT_EQ(pool_.GetData(target.data()), 0);
  EXPECT_EQ(target, "###");
}

TEST_F(MemManager, EndOfAPoolReleasesEverything) {
  char block[] = "abc";
  const long before = LiveBlocks();
  {
    ClsMemManager pool;
    pool.Initialize(5, block, 3);
    pool.AddToQ(block);
    pool.AddToQ(block);
    pool.GetData(block);
  }
  const long after = LiveBlocks();
  EXPECT_EQ(after, before);
}

}  // namespace
}  // namespace wkagent::test
