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

TEST(MiRecord, ConversionsNameTheNodeKind) {
  MiString s("x");
  MiPair p("n", str("v"));
  MiList l;
  MiMap m(false);
  const MiRecord& cs = s;
  EXPECT_EQ(s.toMiString(), &s);
  EXPECT_EQ(cs.toMiString(), &s);
  EXPECT_EQ(s.toMiPair(), nullptr);
  EXPECT_EQ(cs.toMiMap(), nullptr);
  EXPECT_EQ(p.toMiPair(), &p);
  EXPECT_EQ(p.toMiList(), nullptr);
  EXPECT_EQ(l.toMiList(), &l);
  EXPECT_EQ(static_cast<const MiRecord&>(l).toMiString(), nullptr);
  EXPECT_EQ(m.toMiMap(), &m);
  EXPECT_EQ(static_cast<const MiRecord&>(m).toMiMap(), &m);
  EXPECT_EQ(m.toMiPair(), nullptr);
}

TEST(MiRecord, PrintsExactlyWithoutSeparators) {
  EXPECT_EQ(print(MiMap(true)), "");
  EXPECT_EQ(print(MiMap(false)), "{}");
  EXPECT_EQ(print(MiList()), "[]");
  EXPECT_EQ(print(MiString("say \\\"hi\\\"")), "\"say \\\"hi\\\"\"");
  EXPECT_EQ(print(MiPair("frame", str("1"))), "frame=\"1\"");

  MiMap map(true);
  map.setString("a", "1");
  auto tuple = boost::make_shared<MiMap>(false);
  tuple->setString("b", "2");
  tuple->setString("c", "");
  map["t"] = tuple;
  auto list = boost::make_shared<MiList>();
  list->elements = {str("x"), boost::make_shared<MiPair>("p", str("y")),
                    boost::make_shared<MiList>(), boost::make_shared<MiMap>(false)};
  map["l"] = list;
  EXPECT_EQ(print(map), "a=\"1\",t={b=\"2\",c=\"\"},l=[\"x\",p=\"y\",[],{}]");
  map.topLevel = false;
  std::ostringstream os;
  os << map << '|' << *list;
  EXPECT_EQ(os.str(), "{a=\"1\",t={b=\"2\",c=\"\"},l=[\"x\",p=\"y\",[],{}]}|[\"x\",p=\"y\",[],{}]");
}

TEST(MiMap, LookupsFindTheFirstEntryOfTheAskedKindAndOtherwiseLeaveOutputsAlone) {
  MiRecordPtr record = parse(R"(s="text",t={k="v"},l=["1",n="2"],s="again")");
  const MiMap& map = *record->toMiMap();

  std::string text = "old";
  EXPECT_TRUE(map.findString("s", text));
  EXPECT_EQ(text, "again");  // the parser merged the repeated name
  text = "old";
  EXPECT_FALSE(map.findString("t", text));
  EXPECT_FALSE(map.findString("l", text));
  EXPECT_FALSE(map.findString("missing", text));
  EXPECT_FALSE(map.findString("S", text));
  EXPECT_EQ(text, "old");

  MiString string("old");
  EXPECT_FALSE(map.findMiString("t", string));
  EXPECT_EQ(string.value, "old");
  EXPECT_TRUE(map.findMiString("s", string));
  EXPECT_EQ(string.value, "again");

  MiRecordPtr node = str("untouched");
  MiRecordPtr before = node;
  EXPECT_FALSE(map.findRecord("missing", node));
  EXPECT_EQ(node, before);
  EXPECT_TRUE(map.findRecord("t", node));
  EXPECT_NE(node->toMiMap(), nullptr);

  MiList list;
  list.elements.push_back(str("keep"));
  EXPECT_FALSE(map.findMiList("s", list));
  EXPECT_FALSE(map.findMiList("missing", list));
  ASSERT_EQ(list.elements.size(), 1u);
  EXPECT_TRUE(map.findMiList("l", list));
  EXPECT_EQ(print(list), "[\"1\",n=\"2\"]");

  std::list<MiRecordPtr> items{str("keep")};
  EXPECT_FALSE(map.findList("t", items));
  EXPECT_EQ(items.size(), 1u);
  EXPECT_TRUE(map.findList("l", items));
  EXPECT_EQ(items.size(), 2u);

  MiMap tuple(true);
  tuple.setString("keep", "1");
  EXPECT_FALSE(map.findMiMap("l", tuple));
  EXPECT_FALSE(map.findMiMap("missing", tuple));
  EXPECT_EQ(print(tuple), "keep=\"1\"");
  EXPECT_TRUE(map.findMiMap("t", tuple));
  EXPECT_FALSE(tuple.topLevel);
  EXPECT_EQ(print(tuple), "{k=\"v\"}");
}

TEST(MiMap, CopiesShareChildrenButNotTheirEntryLists) {
  MiRecordPtr record = parse(R"(bkpt={number="1",thread-groups=["i1"]})");
  MiMap& map = *record->toMiMap();
  MiMap copy(true);
  ASSERT_TRUE(map.findMiMap("bkpt", copy));
  copy.setString("number", "7");  // replaces the copy's pointer only
  copy.setString("extra", "x");
  MiList groups;
  ASSERT_TRUE(copy.findMiList("thread-groups", groups));
  groups.elements.front()->toMiString()->value = "i9";  // a shared child
  groups.elements.push_back(str("i2"));
  EXPECT_EQ(print(map), R"(bkpt={number="1",thread-groups=["i9"]})");
  EXPECT_EQ(print(copy), R"({number="7",thread-groups=["i9"],extra="x"})");
}

TEST(MiMap, UpdatesKeepPositionsAndAppendNewKeys) {
  MiMap map(true);
  map.setString("a", "1");
  map.setString("b", "2");
  map.setString("a", "3");
  EXPECT_EQ(print(map), "a=\"3\",b=\"2\"");

  MiList list;
  list.elements = {str("x"), str("y")};
  map.setMiList("a", list);
  map.setList("c", {str("z")});
  list.elements.clear();  // the map holds its own copy
  EXPECT_EQ(print(map), "a=[\"x\",\"y\"],b=\"2\",c=[\"z\"]");
  map.setList("b", {});
  EXPECT_EQ(print(map), "a=[\"x\",\"y\"],b=[],c=[\"z\"]");

  MiRecordPtr& slot = map["new"];
  EXPECT_FALSE(slot);
  ASSERT_EQ(map.entries.size(), 4u);
  EXPECT_EQ(map.entries.back().first, "new");
  EXPECT_FALSE(map.entries.back().second);
  slot = str("v");
  EXPECT_EQ(&map["new"], &slot);
  EXPECT_EQ(map.entries.size(), 4u);
  EXPECT_EQ(print(map), "a=[\"x\",\"y\"],b=[],c=[\"z\"],new=\"v\"");
}

bool rewrite(MiRecordPtr& record, ThreadIdTable& table, const std::string& engineId) {
  return record->replaceThreadIds(table, engineId);
}

TEST(MiRecord, ThreadIdsBecomeUserIdsOnFirstSight) {
  ThreadIdTable table;
  MiRecordPtr first = parse(R"(threads=[{id="3",target-id="t"},{id="1"}],current-thread-id="1")");
  ASSERT_TRUE(rewrite(first, table, "vek1"));
  EXPECT_EQ(print(*first), R"(threads=[{id="1",target-id="t"},{id="2"}],current-thread-id="2")");

  MiRecordPtr host = parse(R"(thread-id="3",frame={thread-id="1"},group-id="i1")");
  ASSERT_TRUE(rewrite(host, table, "i1"));
  EXPECT_EQ(print(*host), R"(thread-id="3",frame={thread-id="4"},group-id="i1")");

  MiRecordPtr again = parse(R"(stopped-threads=["3"],thread-id="3",new={threads=[{id="1"}]})");
  ASSERT_TRUE(rewrite(again, table, "vek1"));
  EXPECT_EQ(print(*again), R"(stopped-threads=["3"],thread-id="1",new={threads=[{id="2"}]})");

  std::string engineId, threadId;
  ASSERT_TRUE(table.fromExtThreadId("4", engineId, threadId));
  EXPECT_EQ(engineId, "i1");
  EXPECT_EQ(threadId, "1");
}

TEST(MiRecord, CardGroupIdsBecomeTheHostGroup) {
  ThreadIdTable table;
  MiRecordPtr record =
      parse(R"(a={group-id="vek1"},b={group-id="xvekx"},c={group-id="i2vek"},group-id="i2")");
  ASSERT_TRUE(rewrite(record, table, "vek1"));
  EXPECT_EQ(print(*record),
            R"(a={group-id="i1"},b={group-id="i1"},c={group-id="i1"},group-id="i2")");

  MiRecordPtr pairs = parse(R"(l=[group-id="vek2",group-id="ve-k",thread-id="5"])");
  ASSERT_TRUE(rewrite(pairs, table, "vek2"));
  EXPECT_EQ(print(*pairs), R"(l=[group-id="i1",group-id="ve-k",thread-id="1"])");
}

TEST(MiRecord, PairsDoNotDescendButMapsDo) {
  ThreadIdTable table;
  MiRecordPtr record = parse(R"(l=[p={thread-id="7"},{thread-id="7"}],m={thread-id="8"})");
  ASSERT_TRUE(rewrite(record, table, "i1"));
  EXPECT_EQ(print(*record), R"(l=[p={thread-id="7"},{thread-id="1"}],m={thread-id="2"})");
}

TEST(MiRecord, UnexpectedShapesFailAndKeepWhatWasAlreadyRewritten) {
  struct Case {
    const char* input;
    const char* after;
  };
  const Case cases[] = {
      {R"(thread-id="9",threads="x",group-id="vek1")",
       R"(thread-id="1",threads="x",group-id="vek1")"},
      {R"(thread-id="5",threads=["x"],b={thread-id="6"})",
       R"(thread-id="1",threads=["x"],b={thread-id="6"})"},
      {R"(threads=[{id="5"},{name="x"}],x={thread-id="6"})",
       R"(threads=[{id="1"},{name="x"}],x={thread-id="6"})"},
      {R"(threads=[{id={}}])", R"(threads=[{id={}}])"},
      {R"(threads={id="5"})", R"(threads={id="5"})"},
      {R"(a={thread-id="5"},current-thread-id=["1"])",
       R"(a={thread-id="1"},current-thread-id=["1"])"},
      {R"(group-id={},thread-id="5")", R"(group-id={},thread-id="5")"},
      {R"(l=["a",thread-id={},thread-id="5"])", R"(l=["a",thread-id={},thread-id="5"])"},
      {R"(l=[current-thread-id=[]])", R"(l=[current-thread-id=[]])"},
      {R"(l=[group-id=[]])", R"(l=[group-id=[]])"},
      {R"(x={y={thread-id=[]}},thread-id="5")", R"(x={y={thread-id=[]}},thread-id="5")"},
  };
  for (const Case& c : cases) {
    ThreadIdTable table;
    MiRecordPtr record = parse(c.input);
    EXPECT_FALSE(rewrite(record, table, "i1")) << c.input;
    EXPECT_EQ(print(*record), c.after) << c.input;
  }
}

}  // namespace
