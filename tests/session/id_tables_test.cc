#include <gtest/gtest.h>

#include "session/breakpoint_table.h"
#include "session/conversion_table.h"
#include "session/var_obj_table.h"

namespace {

// Inserts user breakpoint `expectedUser` into engines with the given engine numbers, the way an
// insert records every engine's answer under one new user number.
void insertEverywhere(BreakPointTable& table,
                      std::initializer_list<std::pair<const char*, const char*>> engines,
                      const char* expectedUser) {
  std::string user = table.newBkpNumber();
  ASSERT_EQ(user, expectedUser);
  for (auto [engine, number] : engines)
    ASSERT_TRUE(table.recordBkp(engine, number, user, "-break-insert f" + user + "\n"));
}

}  // namespace

TEST(ConversionTable, KeepsBothDirectionsInStep) {
  ConversionTable<std::string, std::string> table;
  table.insert("1", "5");
  table.insert("2", "6");
  table.insert("1", "7");  // re-pointing "1" drops its old partner "5"
  table.insert("3", "6");  // "6" moves to "3": "2" is gone
  EXPECT_EQ(table.forward, (std::map<std::string, std::string>{{"1", "7"}, {"3", "6"}}));
  EXPECT_EQ(table.backward, (std::map<std::string, std::string>{{"6", "3"}, {"7", "1"}}));

  std::string out = "x";
  EXPECT_FALSE(table.toInternal("2", out));
  EXPECT_FALSE(table.toExternal("5", out));
  EXPECT_EQ(out, "x");
  EXPECT_TRUE(table.eraseInternal("6"));
  EXPECT_FALSE(table.eraseExternal("3"));
  EXPECT_EQ(table.forward.size(), table.backward.size());
}

TEST(BreakPointTable, OneUserNumberPerBreakpointAcrossEngines) {
  BreakPointTable table;
  insertEverywhere(table, {{"i1", "1"}, {"vek1", "5"}}, "1");
  insertEverywhere(table, {{"i1", "2"}, {"vek1", "6"}}, "2");

  std::string number;
  ASSERT_TRUE(table.toEngineBkp("vek1", "2", number));
  EXPECT_EQ(number, "6");
  EXPECT_EQ(table.engineBreakpoints["vek1"].backward["6"], "2");
  EXPECT_EQ(table.breakpointCmds["2"], "-break-insert f2\n");

  number = "x";
  EXPECT_FALSE(table.toEngineBkp("vek2", "1", number));  // unknown engine
  EXPECT_FALSE(table.toEngineBkp("i1", "3", number));    // unknown number
  EXPECT_EQ(number, "x");
}

TEST(BreakPointTable, EngineNumberReportedTwiceKeepsItsFirstUserNumber) {
  BreakPointTable table;
  insertEverywhere(table, {{"i1", "1"}}, "1");
  std::string user = table.newBkpNumber();
  EXPECT_FALSE(table.recordBkp("i1", "1", user, "-break-insert g\n"));
  EXPECT_EQ(user, "1");
  EXPECT_EQ(table.breakpointCmds,
            (std::map<std::string, std::string>{{"1", "-break-insert f1\n"}}));
  EXPECT_EQ(table.engineBreakpoints["i1"].forward.size(), 1u);
}

TEST(BreakPointTable, DeleteForgetsEverywhereAndNumbersAreNotReused) {
  BreakPointTable table;
  insertEverywhere(table, {{"i1", "1"}, {"vek1", "5"}}, "1");
  insertEverywhere(table, {{"i1", "2"}, {"vek1", "6"}}, "2");
  table.disabledBreakpoints.insert("2");

  EXPECT_TRUE(table.deleteBkp("2"));
  for (const char* engine : {"i1", "vek1"}) {
    EXPECT_EQ(table.engineBreakpoints[engine].forward.count("2"), 0u) << engine;
    EXPECT_EQ(table.engineBreakpoints[engine].backward.size(), 1u) << engine;
  }
  EXPECT_TRUE(table.disabledBreakpoints.empty());
  EXPECT_EQ(table.breakpointCmds.count("2"), 0u);
  EXPECT_FALSE(table.deleteBkp("2"));
  EXPECT_EQ(table.newBkpNumber(), "3");
}

TEST(BreakPointTable, DeleteOfNumberHeldBySomeEnginesLeavesOthersAlone) {
  BreakPointTable table;
  insertEverywhere(table, {{"i1", "1"}, {"vek1", "1"}}, "1");
  insertEverywhere(table, {{"i1", "2"}}, "2");
  auto vekBefore = table.engineBreakpoints["vek1"].forward;

  EXPECT_TRUE(table.deleteBkp("2"));
  EXPECT_TRUE(table.engineBreakpoints["i1"].backward.count("1"));
  EXPECT_FALSE(table.engineBreakpoints["i1"].backward.count("2"));
  EXPECT_EQ(table.engineBreakpoints["vek1"].forward, vekBefore);

  // A disabled number that was never inserted is still forgotten, and the result says so.
  table.disabledBreakpoints.insert("9");
  EXPECT_FALSE(table.deleteBkp("9"));
  EXPECT_TRUE(table.disabledBreakpoints.empty());

  // Emptied engine tables stay.
  EXPECT_TRUE(table.deleteBkp("1"));
  EXPECT_EQ(table.engineBreakpoints.size(), 2u);
  EXPECT_TRUE(table.engineBreakpoints["vek1"].forward.empty());
  EXPECT_TRUE(table.engineBreakpoints["vek1"].backward.empty());
}

TEST(BreakPointTable, NumbersOrderAsText) {
  BreakPointTable table;
  for (int i = 1; i <= 10; ++i) table.breakpointCmds[table.newBkpNumber()] = "";
  EXPECT_EQ(table.breakpointCmds.begin()->first, "1");
  EXPECT_EQ(std::next(table.breakpointCmds.begin())->first, "10");
}

TEST(VarObjTable, AutomaticNamesSkipTakenNamesAndUseUpTheirNumbers) {
  VarObjTable table;
  ASSERT_TRUE(table.addVarObj("var0", "i1"));
  EXPECT_FALSE(table.addVarObj("var0", "vek1"));  // name in use: owner unchanged

  std::string name;
  table.newVarObj("vek1", name);
  EXPECT_EQ(name, "var1");
  table.newVarObj("i1", name);
  EXPECT_EQ(name, "var2");

  ASSERT_TRUE(table.addVarObj("var4", "i1"));
  ASSERT_TRUE(table.addVarObj("var3", "i1"));
  table.newVarObj("i1", name);
  EXPECT_EQ(name, "var5");
  EXPECT_EQ(table.nextAutoNumber, 6u);

  std::string owner = "x";
  EXPECT_TRUE(table.findOwner("var0", owner));
  EXPECT_EQ(owner, "i1");
  EXPECT_TRUE(table.findOwner("var1", owner));
  EXPECT_EQ(owner, "vek1");
  owner = "x";
  EXPECT_FALSE(table.findOwner("var9", owner));
  EXPECT_EQ(owner, "x");
}
