// The MI parser on odd texts, at its stack limits and on a recorded engine session; the thread-id
// rewrite.
#include <boost/make_shared.hpp>
#include <cstring>
#include <fstream>
#include <string>

#include "gtest/gtest.h"
#include "mi/mi_parser.h"
#include "mi/mi_record.h"

namespace {

std::string print(const MiRecord& record) {
  std::string out;
  record.printToString(out);
  return out;
}

// The printed tree, or "!" and the syntax-error line written on failure, when `out` must stay.
std::string parse(const std::string& text) {
  MiRecordPtr record = boost::make_shared<MiString>("before");
  const MiRecordPtr before = record;
  testing::internal::CaptureStderr();
  const bool parsed = parseMiRecord(text, record);
  const std::string err = testing::internal::GetCapturedStderr();
  if (!parsed) {
    EXPECT_EQ(record, before) << text;
    return "!" + err;
  }
  EXPECT_EQ(err, "") << text;
  EXPECT_TRUE(record->toMiMap() && record->toMiMap()->topLevel) << text;
  return print(*record);
}

std::string error(const std::string& kind, const std::string& at) {
  return "!&\"Syntax Error: " + kind + " at \\\"" + at + "\\\"\"\n";
}

// A row: the input and its printed tree, or "!" and the text the syntax error names. Ordinary
// records are the recorded session below; these are the odd ones. Rows from the fuzzer are marked.
TEST(MiParser, TextsPrintBackOrWriteOneSyntaxErrorLine) {
  const std::pair<std::string, std::string> cases[] = {
      {R"(b="0",a="1",b="2",a="3")", R"(b="2",a="3")"},  // a repeated name: last value, first place
      {R"(l=[f="1",f="2"])", R"(l=[f="1",f="2"])"},      // lists keep repeated results
      {R"(t={x="1",y="2",x="3"},u={y="4"})", R"(t={x="3",y="2"},u={y="4"})"},  // in a tuple
      {R"(s="a\"b",t="\\\"",u="\\\\",v="",w="\n\t")",
       R"(s="a\"b",t="\\\"",u="\\\\",v="",w="\n\t")"},
      {"s=\"line\nbreak\",t=\"end\\\nx\"", "s=\"line\nbreak\",t=\"end\\\nx\""},
      {" a = \"x\" ,\tb=[ ] , c = { }\n", R"(a="x",b=[],c={})"},
      {R"(a=#"x"\,b=%[])", R"(a="x",b=[])"},  // characters that begin no token are skipped
      {R"(a=[[],[["1"]],{},{k="v"},p=[],"s"])", R"(a=[[],[["1"]],{},{k="v"},p=[],"s"])"},
      {R"(a="x"")", R"(a="x")"},
      {R"(a=[{b="1",b={}},b=[]],a={a={}})", R"(a={a={}})"},  // fuzzer
      // Bare tuples after a tuple-valued result belong to it (a breakpoint's locations).
      {R"(b={n="1"},{n="1.1"},{},c={d={},{e="2"}},b2={})",
       R"(b={n="1"},{n="1.1"},{},c={d={},{e="2"}},b2={})"},
      {R"(b={n="1"},{n="2"},b="3")", R"(b="3")"},
      {R"(a="0",b={},{},a={x="1"},{y="2"},c="3")", R"(a={x="1"},{y="2"},b={},{},c="3")"},
      {R"(l=[b={},{}])", R"(l=[b={},{}])"},
      {"", "!"},
      {std::string("\0\xff", 2), "!"},  // fuzzer: every byte value scans
      {std::string("a=\"\0\xff\"", 6), std::string("a=\"\0\xff\"", 6)},
      {R"("x",a="1")", "!\"x\""},
      {R"({a="1"})", "!{"},
      {R"(a="unterminated)", "!unterminated"},
      {R"(a="x\")", "!x"},
      {R"(a="\)", "!"},                    // fuzzer
      {R"("""""""""")", "!\"\""},          // fuzzer
      {R"(\\\\"a=\"x\")", "!x"},           // fuzzer
      {R"(id="i1"type="7582")", "!type"},  // fuzzer
      {"a=", "!"},
      {R"(a="1",)", "!"},
      {R"(a=["1",])", "!]"},
      {R"(a={b="1"])", "!]"},
      {R"(a="1",{})", "!{"},
      {R"(a={},{},)", "!"},
      {R"(a=={})", "!="},
  };
  for (const auto& [input, expected] : cases) {
    if (expected[0] == '!')
      EXPECT_EQ(parse(input), error("syntax error", expected.substr(1))) << input;
    else
      EXPECT_EQ(parse(input), expected) << input;
  }
}

std::string repeated(const std::string& first, const std::string& unit, int count,
                     const std::string& last) {
  std::string text = first;
  for (int i = 0; i < count; ++i) text += unit;
  return text + last;
}

// Lists and results of any length take a few stack entries; the stack (200 entries, growing to
// 10000) bounds only nesting, and deeper input fails cleanly.
TEST(MiParser, LongListsParseAndOnlyDeepNestingOverflowsTheStack) {
  const std::string tuples = repeated("a=[{n=\"0\"}", ",{n=\"1\",t=[]}", 19999, "]");
  EXPECT_TRUE(parse(tuples) == tuples);
  const std::string locations = repeated("b={n=\"1\"}", ",{n=\"1.1\"}", 19999, ",c=\"\"");
  EXPECT_TRUE(parse(locations) == locations);
  EXPECT_EQ(parse(repeated("", "r=\"v\",", 20000, "end=\"\"")), R"(r="v",end="")");
  const std::string nested = repeated("a=", "[", 5000, std::string(5000, ']'));
  EXPECT_TRUE(parse(nested) == nested);
  EXPECT_EQ(parse(repeated("a=", "[", 10000, std::string(10000, ']'))),
            error("parser stack overflow", "["));
  EXPECT_EQ(parse(repeated("", "t={", 4000, "x=\"1\"" + std::string(4000, '}'))),
            error("parser stack overflow", "{"));
}

// Every record of a real engine session prints back byte for byte, except the one tuple in which
// the engine repeats a name, and has its thread ids rewritten.
TEST(MiParser, RecordedEngineOutputPrintsBackUnchanged) {
  const std::string twice = R"(thread-ids={thread-id="1",thread-id="2"})";
  int records = 0;
  ThreadIdTable table;
  std::ifstream in(WEM_SOURCE_DIR "/tests/data/recorded/gdb_session.mi");
  for (std::string line; std::getline(in, line);) {
    // The results: after the first comma of a result or asynchronous record.
    const size_t start = line.find_first_not_of("0123456789");
    if (start == line.npos || !strchr("^*=+", line[start]) || line.find(',') == line.npos) continue;
    std::string expected = line.substr(line.find(',') + 1);
    MiRecordPtr record;
    ASSERT_TRUE(parseMiRecord(expected, record)) << line;
    if (size_t at = expected.find(twice); at != std::string::npos)
      expected.replace(at, twice.size(), R"(thread-ids={thread-id="2"})");
    EXPECT_EQ(print(*record), expected);
    EXPECT_TRUE(record->replaceThreadIds(table, "i1")) << line;
    ++records;
  }
  EXPECT_GE(records, 50);
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
      {{"i1", R"(threads="x",group-id="vek1")", R"(!threads="x",group-id="vek1")"}},
      {{"i1", R"(thread-id="5",threads=["x"])", R"(!thread-id="1",threads=["x"])"}},
      {{"i1", R"(threads=[{id="5"},{name="x"}])", R"(!threads=[{id="1"},{name="x"}])"}},
      {{"i1", R"(current-thread-id=["1"])", R"(!current-thread-id=["1"])"}},
      {{"i1", R"(group-id={},thread-id="5")", R"(!group-id={},thread-id="5")"}},
      {{"i1", R"(l=["a",thread-id={},thread-id="5"])", R"(!l=["a",thread-id={},thread-id="5"])"}},
      {{"i1", R"(l=[group-id=[]])", R"(!l=[group-id=[]])"}},
  };
  for (const std::vector<Row>& rows : groups) {
    ThreadIdTable table;
    for (const Row& row : rows) {
      MiRecordPtr record;
      ASSERT_TRUE(parseMiRecord(row.input, record)) << row.input;
      const bool rewritten = record->replaceThreadIds(table, row.engine);
      EXPECT_EQ((rewritten ? "" : "!") + print(*record), row.output) << row.input;
    }
  }
}

}  // namespace
