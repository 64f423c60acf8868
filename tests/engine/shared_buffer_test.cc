#include "engine/shared_buffer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "engine/test_util.h"

// Capacity one: the producer waits on every item while the consumer alternates waiting and
// polling; the last put is still waiting when the buffer closes, as is a take on another buffer.
TEST(SharedBuffer, ItemsLeaveInOrderAtCapacityAndCloseReleasesEveryWaiter) {
  SharedBuffer<std::string> buffer(1), empty(1);
  std::string item = "untouched";
  EXPECT_FALSE(buffer.tryTake(item));
  EXPECT_EQ(item, "untouched");
  std::atomic<bool> takeResult = true;
  std::thread producer([&] {
    for (int i = 0; i < 2002; ++i) buffer.put(std::to_string(i));
  });
  std::thread consumer([&] { takeResult = empty.take(item); });
  for (int i = 0; i < 2000; ++i) {
    std::string taken;
    ASSERT_TRUE(i % 2 ? buffer.take(taken) : waitUntil([&] { return buffer.tryTake(taken); }));
    ASSERT_EQ(taken, std::to_string(i));
  }
  ASSERT_TRUE(waitUntil([&] { return buffer.size() == 1; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  buffer.close();
  empty.close();
  producer.join();
  consumer.join();
  EXPECT_FALSE(takeResult);
  EXPECT_EQ(buffer.size(), 0u);  // the queued "2000" is gone, "2001" never came in
  buffer.put("dropped\n");
  EXPECT_FALSE(buffer.tryTake(item) || buffer.take(item));
  EXPECT_EQ(item, "untouched");
}
