#include "engine/shared_buffer.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <string>
#include <thread>

TEST(SharedBuffer, ItemsLeaveInOrderAndTryTakeLeavesOutputUntouchedWhenEmpty) {
  SharedBuffer<std::string> buffer(3);
  buffer.put("a\n");
  buffer.put("b\n");
  std::string item = "untouched";
  EXPECT_TRUE(buffer.tryTake(item));
  EXPECT_EQ(item, "a\n");
  EXPECT_TRUE(buffer.take(item));
  EXPECT_EQ(item, "b\n");
  item = "untouched";
  EXPECT_FALSE(buffer.tryTake(item));
  EXPECT_EQ(item, "untouched");
}

TEST(SharedBuffer, CloseDiscardsItemsWakesWaitersAndDropsLaterPuts) {
  SharedBuffer<std::string> full(1);
  full.put("kept until close\n");
  std::atomic<bool> putReturned = false;
  std::thread producer([&] {
    full.put("blocked\n");  // Full: waits until the close.
    putReturned = true;
  });
  SharedBuffer<std::string> empty(1);
  std::atomic<bool> takeResult = true;
  std::thread consumer([&] {
    std::string item;
    takeResult = empty.take(item);
  });
  EXPECT_FALSE(putReturned);
  full.close();
  empty.close();
  producer.join();
  consumer.join();
  EXPECT_TRUE(putReturned);
  EXPECT_FALSE(takeResult);
  EXPECT_TRUE(full.isClosed());
  EXPECT_EQ(full.size(), 0u);
  full.put("dropped\n");
  std::string item = "untouched";
  EXPECT_FALSE(full.tryTake(item));
  EXPECT_FALSE(full.take(item));
  EXPECT_EQ(item, "untouched");
}

TEST(SharedBuffer, ProducerWaitsAtCapacityOneAndEveryItemArrivesOnce) {
  SharedBuffer<std::string> buffer(1);
  constexpr int kCount = 2000;
  std::thread producer([&] {
    for (int i = 0; i < kCount; ++i) buffer.put(std::to_string(i));
  });
  for (int i = 0; i < kCount; ++i) {
    std::string item;
    ASSERT_TRUE(buffer.take(item));
    ASSERT_EQ(item, std::to_string(i));
    EXPECT_LE(buffer.size(), 1u);
  }
  producer.join();
}
