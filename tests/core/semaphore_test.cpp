#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstddef>
#include <thread>
#include <type_traits>

#include <gtest/gtest.h>

#include <wkagent/core.h>

#include "support/wait_until.h"

namespace wkagent::test {
namespace {

static_assert(std::is_standard_layout_v<CSemaphore>);
static_assert(offsetof(CSemaphore, semaphore) == 0);
static_assert(offsetof(CSemaphore, semaphore) < offsetof(CSemaphore, isOpen));
static_assert(offsetof(CSemaphore, isOpen) < offsetof(CSemaphore, errorText));
static_assert(std::is_same_v<decltype(CSemaphore::semaphore), sem_t>);
static_assert(sizeof(CSemaphore::isOpen) == 4);
static_assert(sizeof(CSemaphore::errorText) >=
              sizeof("Unable to initialize sema_init returned -2147483648"));

class Semaphore : public testing::Test {
 protected:
  int Value() {
    int value = -1;
    EXPECT_EQ(sem_getvalue(&semaphore_.semaphore, &value), 0);
    return value;
  }

  CSemaphore semaphore_;
};

TEST_F(Semaphore, StartsClosed) {
  EXPECT_EQ(semaphore_.isOpen, 0U);
  EXPECT_STREQ(semaphore_.errorText, "");
}

TEST_F(Semaphore, PostWaitAndCloseOfAClosedOneDoNothing) {
  EXPECT_EQ(semaphore_.Post(), 1);
  EXPECT_EQ(semaphore_.Wait(), 1);
  EXPECT_EQ(semaphore_.Close(), 0);
}

TEST_F(Semaphore, OpenGivesOneAndItsCount) {
  for (const int count : {0, 1, 7, INT_MAX}) {
    EXPECT_EQ(semaphore_.Open(count), 1);
    EXPECT_EQ(semaphore_.isOpen, 1U);
    EXPECT_EQ(Value(), count);
    EXPECT_EQ(semaphore_.Close(), 0);
  }
  EXPECT_STREQ(semaphore_.errorText, "");
}

TEST_F(Semaphore, SecondOpenGivesOneAndChangesNothing) {
  EXPECT_EQ(semaphore_.Open(1), 1);
  EXPECT_EQ(semaphore_.Open(5), 1);
  EXPECT_EQ(semaphore_.Open(-1), 1);
  EXPECT_EQ(Value(), 1);
  EXPECT_STREQ(semaphore_.errorText, "");
}

TEST_F(Semaphore, OpenWithACountOutOfRangeGivesZeroAndTheReason) {
  for (const int count : {-1, INT_MIN}) {
    CSemaphore semaphore;
    EXPECT_EQ(semaphore.Open(count), 0);
    EXPECT_EQ(semaphore.isOpen, 0U);
    EXPECT_STREQ(semaphore.errorText, "Unable to initialize sema_init returned 22");
    EXPECT_EQ(semaphore.Post(), 1);
    EXPECT_EQ(semaphore.Wait(), 1);
    EXPECT_EQ(semaphore.Close(), 0);
  }
}

TEST_F(Semaphore, OpenSucceedsAfterAFailure) {
  EXPECT_EQ(semaphore_.Open(-1), 0);
  EXPECT_EQ(semaphore_.Open(2), 1);
  EXPECT_EQ(Value(), 2);
}

TEST_F(Semaphore, PostCountsUpAndWaitDown) {
  ASSERT_EQ(semaphore_.Open(1), 1);
  EXPECT_EQ(semaphore_.Post(), 0);
  EXPECT_EQ(Value(), 2);
  EXPECT_EQ(semaphore_.Wait(), 0);
  EXPECT_EQ(semaphore_.Wait(), 0);
  EXPECT_EQ(Value(), 0);
}

TEST_F(Semaphore, PostAtTheLargestCountGivesTheSystemsResult) {
  ASSERT_EQ(semaphore_.Open(INT_MAX), 1);
  EXPECT_EQ(semaphore_.Post(), -1);
  EXPECT_EQ(errno, EOVERFLOW);
}

TEST_F(Semaphore, CloseEndsItUntilTheNextOpen) {
  ASSERT_EQ(semaphore_.Open(3), 1);
  EXPECT_EQ(semaphore_.Close(), 0);
  EXPECT_EQ(semaphore_.isOpen, 0U);
  EXPECT_EQ(semaphore_.Post(), 1);
  EXPECT_EQ(semaphore_.Wait(), 1);
  EXPECT_EQ(semaphore_.Close(), 0);
  EXPECT_EQ(semaphore_.Open(0), 1);
  EXPECT_EQ(Value(), 0);
}

TEST_F(Semaphore, PostWakesTheThreadThatWaits) {
  ASSERT_EQ(semaphore_.Open(0), 1);
  std::atomic<int> result = -1;
  std::thread waiting([&] { result = semaphore_.Wait(); });
  EXPECT_EQ(result, -1);
  EXPECT_EQ(semaphore_.Post(), 0);
  waiting.join();
  EXPECT_EQ(result, 0);
}

TEST_F(Semaphore, SignalInterruptsWait) {
  ASSERT_EQ(semaphore_.Open(0), 1);
  struct sigaction ignore {};
  ignore.sa_handler = [](int) {};
  ASSERT_EQ(sigaction(SIGUSR1, &ignore, nullptr), 0);
  std::atomic<int> error = 0;
  std::thread waiting([&] {
    if (semaphore_.Wait() == -1) error = errno;
  });
  EXPECT_TRUE(WaitUntil([&] {
    pthread_kill(waiting.native_handle(), SIGUSR1);
    return error != 0;
  }));
  semaphore_.Post();
  waiting.join();
  EXPECT_EQ(error, EINTR);
}

}  // namespace
}  // namespace wkagent::test
