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

// Each lookup finds only its own kind and leaves its output alone otherwise; a copied tuple shares
// its children with the record; setting keeps the place of a key and appends a new one.
TEST(MiMap, LookupsFindTheirKindOnlyAndCopiesShareChildren) {
  MiRecordPtr record = parse(R"(s="text",t={k="v",l=["i1"]},l=["1",n="2"],s="again")");
  const MiMap& map = *record->toMiMap();
  std::string text = "old";
  EXPECT_FALSE(map.findString("t", text) || map.findString("l", text) ||
               map.findString("S", text) || map.findString("missing", text));
  EXPECT_EQ(text, "old");
  EXPECT_TRUE(map.findString("s", text));
  EXPECT_EQ(text, "again");
  MiRecordPtr node = str("untouched");
  const MiRecordPtr before = node;
  EXPECT_FALSE(map.findRecord("missing", node));
  EXPECT_EQ(node, before);
  MiList list;
  list.elements.push_back(str("keep"));
  std::list<MiRecordPtr> items{str("keep")};
  MiMap tuple(true);
  tuple.setString("keep", "1");
  EXPECT_FALSE(map.findMiList("s", list) || map.findList("t", items) || map.findMiMap("l", tuple));
  EXPECT_EQ(print(list) + print(tuple) + std::to_string(items.size()), "[\"keep\"]keep=\"1\"1");
  EXPECT_TRUE(map.findList("l", items) && map.findMiMap("t", tuple));
  EXPECT_EQ(items.size(), 2u);
  tuple.setString("k", "7");  // replaces the copy's pointer only
  tuple.setString("extra", "x");
  ASSERT_TRUE(tuple.findMiList("l", list));
  list.elements.front()->toMiString()->value = "i9";  // a shared child
  list.elements.push_back(str("i2"));
  tuple.setList("k", list.elements);
  list.elements.clear();  // the tuple holds its own copy
  tuple.setList("extra", {});
  std::ostringstream printed;  // a copied tuple is no longer top level
  printed << tuple << '|' << *record << '|' << MiMap(false);
  EXPECT_EQ(printed.str(), R"({k=["i9","i2"],l=["i9"],extra=[]}|)"
                           R"(s="again",t={k="v",l=["i9"]},l=["1",n="2"]|{})");
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
      {{"i1", R"(group-id={},thread-id="5")", R"(!group-id={},thread-id="5")"}},
      {{"i1", R"(l=["a",thread-id={},thread-id="5"])", R"(!l=["a",thread-id={},thread-id="5"])"}},
      {{"i1", R"(l=[group-id=[]])", R"(!l=[group-id=[]])"}},
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
