#include <gtest/gtest.h>

#include "session/breakpoint_table.h"
#include "session/conversion_table.h"

// Re-pointing happens when a breakpoint is inserted again while an engine still holds it (a
// copy after an attach whose delete failed).
TEST(ConversionTable, KeepsBothDirectionsInStep) {
  ConversionTable<std::string, std::string> table;
  table.insert("1", "5");
  table.insert("2", "6");
  table.insert("1", "7");  // re-pointing "1" drops its old partner "5"
  table.insert("3", "6");  // "6" moves to "3": "2" is gone
  EXPECT_EQ(table.forward, (std::map<std::string, std::string>{{"1", "7"}, {"3", "6"}}));
  EXPECT_EQ(table.backward, (std::map<std::string, std::string>{{"6", "3"}, {"7", "1"}}));
}

// Breakpoint 1 is held by both engines, 2 by i1 only; i1 then reports its number 1 again. Once
// deleted, an engine may report its old number for a new breakpoint.
TEST(BreakPointTable, OneUserNumberPerBreakpointAcrossEnginesNeverReused) {
  BreakPointTable table;
  std::string user = table.newBkpNumber();
  ASSERT_TRUE(table.recordBkp("i1", "1", user, "-break-insert f\n"));
  ASSERT_TRUE(table.recordBkp("vek1", "5", user, "-break-insert f\n"));
  user = table.newBkpNumber();
  ASSERT_TRUE(table.recordBkp("i1", "2", user, "-break-insert g\n"));
  user = table.newBkpNumber();
  EXPECT_FALSE(table.recordBkp("i1", "1", user, "-break-insert h\n"));
  EXPECT_EQ(user, "1");  // the first user number stays, nothing else changes
  EXPECT_EQ(table.breakpointCmds, (std::map<std::string, std::string>{{"1", "-break-insert f\n"},
                                                                      {"2", "-break-insert g\n"}}));
  std::string number = "x";
  EXPECT_FALSE(table.toEngineBkp("vek2", "1", number) || table.toEngineBkp("vek1", "2", number));
  EXPECT_EQ(number, "x");
  table.disabledBreakpoints = {"1", "9"};
  EXPECT_TRUE(table.deleteBkp("1"));
  EXPECT_FALSE(table.deleteBkp("1") || table.deleteBkp("9"));  // a disabled "9" is still forgotten
  EXPECT_TRUE(table.disabledBreakpoints.empty());
  EXPECT_FALSE(table.toEngineBkp("vek1", "1", number) || table.toEngineBkp("i1", "1", number));
  ASSERT_TRUE(table.toEngineBkp("i1", "2", number));
  EXPECT_EQ(number, "2");
  EXPECT_TRUE(table.recordBkp("vek1", "5", user = table.newBkpNumber(), "-break-insert f\n"));
  for (int i = 4; i <= 10; ++i) table.breakpointCmds[table.newBkpNumber()] = "";
  EXPECT_EQ(table.breakpointCmds.begin()->first, "10");  // numbers order as text
}
