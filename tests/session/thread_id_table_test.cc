#include "session/thread_id_table.h"

#include <gtest/gtest.h>

TEST(ThreadIdTable, NumbersPairsInOrderOfFirstSightAcrossEngines) {
  ThreadIdTable table;
  std::string id;
  table.toExtThreadId("i1", "1", id);
  EXPECT_EQ(id, "1");
  table.toExtThreadId("vek1", "1", id);
  EXPECT_EQ(id, "2");
  table.toExtThreadId("i1", "1", id);  // known pair: same id, next id unchanged
  EXPECT_EQ(id, "1");
  table.toExtThreadId("i1", "2", id);
  EXPECT_EQ(id, "3");

  std::string engine = "x", thread = "y";
  ASSERT_TRUE(table.fromExtThreadId("2", engine, thread));
  EXPECT_EQ(engine, "vek1");
  EXPECT_EQ(thread, "1");
}

TEST(ThreadIdTable, UnknownUserIdsLeaveOutputsUntouched) {
  ThreadIdTable table;
  std::string id;
  table.toExtThreadId("i1", "1", id);
  for (const char* bad : {"4", "01", " 1", "", "1 "}) {
    std::string engine = "x", thread = "y";
    EXPECT_FALSE(table.fromExtThreadId(bad, engine, thread)) << bad;
    EXPECT_EQ(engine, "x");
    EXPECT_EQ(thread, "y");
  }
}
