#include "engine/shared_buffer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "engine/test_util.h"

TEST(SharedBuffer, ItemsLeaveInOrderOnceWhileTheProducerWaitsAtCapacity) {
  SharedBuffer<std::string> buffer(1);
  std::string item = "untouched";
  EXPECT_FALSE(buffer.tryTake(item));
  EXPECT_EQ(item, "untouched");
  std::thread producer([&] {
    for (int i = 0; i < 2000; ++i) buffer.put(std::to_string(i));
  });
  for (int i = 0; i < 2000; ++i) {
    ASSERT_TRUE(i % 2 ? buffer.take(item) : waitUntil([&] { return buffer.tryTake(item); }));
    ASSERT_EQ(item, std::to_string(i));
    EXPECT_LE(buffer.size(), 1u);
  }
  producer.join();
}

TEST(SharedBuffer, CloseDiscardsItemsWakesWaitersAndDropsLaterPuts) {
  SharedBuffer<std::string> full(1), empty(1);
  full.put("kept until close\n");
  std::atomic<bool> putReturned = false, takeResult = true;
  std::thread producer([&] {
    full.put("blocked\n");
    putReturned = true;
  });
  std::thread consumer([&] {
    std::string item;
    takeResult = empty.take(item);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(putReturned);
  full.close();
  empty.close();
  producer.join();
  consumer.join();
  EXPECT_FALSE(takeResult);
  EXPECT_TRUE(full.isClosed());
  EXPECT_EQ(full.size(), 0u);
  full.put("dropped\n");
  std::string item = "untouched";
  EXPECT_FALSE(full.tryTake(item) || full.take(item));
  EXPECT_EQ(item, "untouched");
}
