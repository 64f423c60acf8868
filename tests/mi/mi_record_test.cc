#include "mi/mi_record.h"

#include <boost/make_shared.hpp>
#include <sstream>

#include "gtest/gtest.h"
#include "mi/mi_parser.h"

namespace {

MiRecordPtr str(const std::string& text) { return boost::make_shared<MiString>(text); }

MiRecordPtr parse(const std::string& text) {
  MiRecordPtr record;
  EXPECT_TRUE(parseMiRecord(text, record)) << text;
  return record;
}

std::string print(const MiRecord& record) {
  std::string out;
  record.printToString(out);
  return out;
}

TEST(MiMap, LookupsFindOnlyTheAskedKindAndOtherwiseLeaveOutputsAlone) {
  MiRecordPtr record = parse(R"(s="text",t={k="v"},l=["1",n="2"],s="again")");
  const MiMap& map = *record->toMiMap();
  std::string text = "old";
  EXPECT_FALSE(map.findString("t", text) || map.findString("l", text) ||
               map.findString("S", text) || map.findString("missing", text));
  EXPECT_EQ(text, "old");
  EXPECT_TRUE(map.findString("s", text));
  EXPECT_EQ(text, "again");
  MiString string("old");
  EXPECT_FALSE(map.findMiString("t", string));
  EXPECT_EQ(string.value, "old");
  MiRecordPtr node = str("untouched");
  const MiRecordPtr before = node;
  EXPECT_FALSE(map.findRecord("missing", node));
  EXPECT_EQ(node, before);
  MiList list;
  list.elements.push_back(str("keep"));
  std::list<MiRecordPtr> items{str("keep")};
  EXPECT_FALSE(map.findMiList("s", list) || map.findList("t", items));
  EXPECT_EQ(list.elements.size() + items.size(), 2u);
  EXPECT_TRUE(map.findMiList("l", list) && map.findList("l", items));
  EXPECT_EQ(print(list), "[\"1\",n=\"2\"]");
  EXPECT_EQ(items.size(), 2u);
  MiMap tuple(true);
  tuple.setString("keep", "1");
  EXPECT_FALSE(map.findMiMap("l", tuple));
  EXPECT_EQ(print(tuple), "keep=\"1\"");
  EXPECT_TRUE(map.findMiMap("t", tuple));
  std::ostringstream printed;  // a tuple is no longer top level
  printed << tuple << '|' << MiMap(true) << '|' << MiMap(false);
  EXPECT_EQ(printed.str(), "{k=\"v\"}||{}");
}

TEST(MiMap, CopiesShareChildrenAndUpdatesKeepPositions) {
  MiRecordPtr record = parse(R"(bkpt={number="1",thread-groups=["i1"]})");
  MiMap copy(true);
  ASSERT_TRUE(record->toMiMap()->findMiMap("bkpt", copy));
  copy.setString("number", "7");  // replaces the copy's pointer only
  copy.setString("extra", "x");
  MiList groups;
  ASSERT_TRUE(copy.findMiList("thread-groups", groups));
  groups.elements.front()->toMiString()->value = "i9";  // a shared child
  groups.elements.push_back(str("i2"));
  EXPECT_EQ(print(*record), R"(bkpt={number="1",thread-groups=["i9"]})");
  EXPECT_EQ(print(copy), R"({number="7",thread-groups=["i9"],extra="x"})");

  MiMap map(true);
  map.setString("a", "1");
  map.setString("b", "2");
  map.setMiList("a", groups);
  map.setList("c", {str("z")});
  groups.elements.clear();  // the map holds its own copy
  map.setList("b", {});
  MiRecordPtr& slot = map["new"];
  EXPECT_FALSE(slot);
  slot = str("v");
  EXPECT_EQ(&map["new"], &slot);
  EXPECT_EQ(print(map), R"(a=["i9","i2"],b=[],c=["z"],new="v")");
}

// Rows sharing one thread table: the engine, the record, and the record after the rewrite, with
// "!" first when the rewrite fails (keeping what it had already rewritten).
TEST(MiRecord, ThreadIdsBecomeUserIdsAndCardGroupsTheHostGroup) {
  struct Row {
    const char* engine;
    const char* input;
    const char* output;
  };
  const std::vector<std::vector<Row>> groups = {
      {{"vek1", R"(threads=[{id="3",target-id="t"},{id="1"}],current-thread-id="1")",
        R"(threads=[{id="1",target-id="t"},{id="2"}],current-thread-id="2")"},
       {"i1", R"(thread-id="3",frame={thread-id="1"},group-id="i1")",
        R"(thread-id="3",frame={thread-id="4"},group-id="i1")"},
       {"vek1", R"(stopped-threads=["3"],thread-id="3",new={threads=[{id="1"}]})",
        R"(stopped-threads=["3"],thread-id="1",new={threads=[{id="2"}]})"},
       {"vek1", R"(a={group-id="vek1"},b={group-id="xvekx"},c={group-id="i2vek"},group-id="i2")",
        R"(a={group-id="i1"},b={group-id="i1"},c={group-id="i1"},group-id="i2")"},
       {"vek2", R"(l=[group-id="vek2",group-id="ve-k",thread-id="5"])",
        R"(l=[group-id="i1",group-id="ve-k",thread-id="5"])"},
       {"i1", R"(l=[p={thread-id="7"},{thread-id="7"}],m={thread-id="8"})",  // pairs: no descent
        R"(l=[p={thread-id="7"},{thread-id="6"}],m={thread-id="7"})"}},
      {{"i1", R"(thread-id="9",threads="x",group-id="vek1")",
        R"(!thread-id="1",threads="x",group-id="vek1")"}},
      {{"i1", R"(thread-id="5",threads=["x"],b={thread-id="6"})",
        R"(!thread-id="1",threads=["x"],b={thread-id="6"})"}},
      {{"i1", R"(threads=[{id="5"},{name="x"}],x={thread-id="6"})",
        R"(!threads=[{id="1"},{name="x"}],x={thread-id="6"})"}},
      {{"i1", R"(a={thread-id="5"},current-thread-id=["1"])",
        R"(!a={thread-id="1"},current-thread-id=["1"])"}},
      {{"i1", R"(threads=[{id={}}])", R"(!threads=[{id={}}])"}},
      {{"i1", R"(threads={id="5"})", R"(!threads={id="5"})"}},
      {{"i1", R"(group-id={},thread-id="5")", R"(!group-id={},thread-id="5")"}},
      {{"i1", R"(l=["a",thread-id={},thread-id="5"])", R"(!l=["a",thread-id={},thread-id="5"])"}},
      {{"i1", R"(l=[current-thread-id=[]])", R"(!l=[current-thread-id=[]])"}},
      {{"i1", R"(l=[group-id=[]])", R"(!l=[group-id=[]])"}},
      {{"i1", R"(x={y={thread-id=[]}},thread-id="5")", R"(!x={y={thread-id=[]}},thread-id="5")"}},
  };
  for (const std::vector<Row>& rows : groups) {
    ThreadIdTable table;
    for (const Row& row : rows) {
      MiRecordPtr record = parse(row.input);
      const bool rewritten = record->replaceThreadIds(table, row.engine);
      EXPECT_EQ((rewritten ? "" : "!") + print(*record), row.output) << row.input;
    }
  }
}

}  // namespace
