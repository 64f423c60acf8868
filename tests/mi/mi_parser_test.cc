#include "mi/mi_parser.h"

#include <boost/make_shared.hpp>
#include <string>

#include "gtest/gtest.h"

namespace {

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

std::string print(const MiRecordPtr& record) {
  std::string out;
  record->printToString(out);
  return out;
}

// Parses `text`; returns the printed tree, or the syntax-error line written on failure.
std::string parseOrError(const std::string& text, bool& parsed) {
  MiRecordPtr record = boost::make_shared<MiString>("before");
  MiRecordPtr before = record;
  CaptureStderr();
  parsed = parseMiRecord(text, record);
  std::string err = GetCapturedStderr();
  if (parsed) {
    EXPECT_EQ(err, "") << text;
    EXPECT_NE(record->toMiMap(), nullptr);
    EXPECT_TRUE(record->toMiMap()->topLevel);
    return print(record);
  }
  EXPECT_EQ(record, before) << "out changed on failure: " << text;
  return err;
}

TEST(MiParser, BuildsMapsListsPairsAndStrings) {
  MiRecordPtr record;
  ASSERT_TRUE(parseMiRecord(R"(a="1",b={c="2"},d=["x",{},f="y"])", record));
  const MiMap* map = record->toMiMap();
  ASSERT_NE(map, nullptr);
  ASSERT_EQ(map->entries.size(), 3u);
  auto it = map->entries.begin();
  EXPECT_EQ(it->first, "a");
  EXPECT_EQ(it->second->toMiString()->value, "1");
  ++it;
  EXPECT_EQ(it->first, "b");
  ASSERT_NE(it->second->toMiMap(), nullptr);
  EXPECT_FALSE(it->second->toMiMap()->topLevel);
  ++it;
  EXPECT_EQ(it->first, "d");
  const MiList* list = it->second->toMiList();
  ASSERT_NE(list, nullptr);
  ASSERT_EQ(list->elements.size(), 3u);
  auto element = list->elements.begin();
  EXPECT_NE((*element++)->toMiString(), nullptr);
  EXPECT_NE((*element++)->toMiMap(), nullptr);
  const MiPair* pair = (*element)->toMiPair();
  ASSERT_NE(pair, nullptr);
  EXPECT_EQ(pair->name, "f");
  EXPECT_EQ(pair->value->toMiString()->value, "y");
  EXPECT_EQ(print(record), R"(a="1",b={c="2"},d=["x",{},f="y"])");

  MiRecordPtr second;
  ASSERT_TRUE(parseMiRecord(R"(x="2")", second));
  ASSERT_TRUE(parseMiRecord(R"(y="3")", record));  // the old tree is released, not reused
  EXPECT_EQ(print(record), R"(y="3")");
}

TEST(MiParser, AcceptedTextsPrintAsExpected) {
  struct Case {
    const char* input;
    const char* printed;
  };
  const Case cases[] = {
      {R"(a="1",a="2",b="3")", R"(a="2",b="3")"},
      {R"(b="0",a="1",b="2",a="3")", R"(b="2",a="3")"},
      {R"(t={x="1",y={},x="2"})", R"(t={x="2",y={}})"},
      {R"(l=[f="1",f="2"])", R"(l=[f="1",f="2"])"},  // lists keep repeated results
      {R"(s="a\"b")", R"(s="a\"b")"},
      {R"(s="a\\",t="b")", R"(s="a\\",t="b")"},
      {R"(s="\\\"",t="\\\\")", R"(s="\\\"",t="\\\\")"},
      {R"(s="",t="\n\t")", R"(s="",t="\n\t")"},
      {"s=\"line\nbreak\"", "s=\"line\nbreak\""},
      {"s=\"end\\\nx\"", "s=\"end\\\nx\""},
      {" a = \"x\" ,\tb=[ ] , c = { }\n", R"(a="x",b=[],c={})"},
      {R"(a=#"x"\,b=%[])", R"(a="x",b=[])"},  // characters that begin no token are skipped
      {R"(a=[[],[["1"]],{},{k="v"},p=[],"s"])", R"(a=[[],[["1"]],{},{k="v"},p=[],"s"])"},
      {R"(a="x"")", R"(a="x")"},
      {R"(msg="No symbol \"p\" in current context.")",
       R"(msg="No symbol \"p\" in current context.")"},
  };
  for (const Case& c : cases) {
    bool parsed = false;
    EXPECT_EQ(parseOrError(c.input, parsed), c.printed) << c.input;
    EXPECT_TRUE(parsed) << c.input;
  }
}

TEST(MiParser, RejectedTextsWriteOneSyntaxErrorLine) {
  struct Case {
    std::string input;
    std::string errorLine;
  };
  const Case cases[] = {
      {"", "&\"Syntax Error: syntax error at \\\"\\\"\"\n"},
      {"   \n", "&\"Syntax Error: syntax error at \\\"\\\"\"\n"},
      {R"("x")", "&\"Syntax Error: syntax error at \\\"\"x\"\\\"\"\n"},
      {R"("x",a="1")", "&\"Syntax Error: syntax error at \\\"\"x\"\\\"\"\n"},
      {R"({a="1"})", "&\"Syntax Error: syntax error at \\\"{\\\"\"\n"},
      {R"(a="unterminated)", "&\"Syntax Error: syntax error at \\\"unterminated\\\"\"\n"},
      {R"(a="x",b="y)", "&\"Syntax Error: syntax error at \\\"y\\\"\"\n"},
      {R"(a="x\")", "&\"Syntax Error: syntax error at \\\"x\\\"\"\n"},
      {R"(_x-1=""A"")", "&\"Syntax Error: syntax error at \\\"A\\\"\"\n"},
      {"a=", "&\"Syntax Error: syntax error at \\\"\\\"\"\n"},
      {"a", "&\"Syntax Error: syntax error at \\\"\\\"\"\n"},
      {R"(a="1",)", "&\"Syntax Error: syntax error at \\\"\\\"\"\n"},
      {R"(a="1"b="2")", "&\"Syntax Error: syntax error at \\\"b\\\"\"\n"},
      {R"(a={b})", "&\"Syntax Error: syntax error at \\\"}\\\"\"\n"},
      {R"(a=[x])", "&\"Syntax Error: syntax error at \\\"]\\\"\"\n"},
      {R"(a=["1",])", "&\"Syntax Error: syntax error at \\\"]\\\"\"\n"},
      {R"(a=[{b="1"}}])", "&\"Syntax Error: syntax error at \\\"}\\\"\"\n"},
      {R"(a={b="1"])", "&\"Syntax Error: syntax error at \\\"]\\\"\"\n"},
      {R"(a=["1")", "&\"Syntax Error: syntax error at \\\"\\\"\"\n"},
      {R"(a=={})", "&\"Syntax Error: syntax error at \\\"=\\\"\"\n"},
      {R"(a={c="1",d=[{e="2"},"3"],f={g=[["4"]]})",
       "&\"Syntax Error: syntax error at \\\"\\\"\"\n"},
  };
  for (const Case& c : cases) {
    bool parsed = true;
    EXPECT_EQ(parseOrError(c.input, parsed), c.errorLine) << c.input;
    EXPECT_FALSE(parsed) << c.input;
  }
}

std::string longList(int items) {
  std::string text = "a=[";
  for (int i = 0; i < items; ++i) text += i ? ",\"x\"" : "\"x\"";
  text += ']';
  return text;
}

std::string nesting(size_t depth) {
  std::string text = "a=";
  text.append(depth, '[').append(depth, ']');
  return text;
}

// Lists are right-recursive: each open item holds two of the stack's 10000 entries.
TEST(MiParser, StackHoldsListsOfAlmostFiveThousandItemsAndRejectsDeeperInputCleanly) {
  const std::string overflowAtComma = "&\"Syntax Error: parser stack overflow at \\\",\\\"\"\n";
  bool parsed = false;
  std::string printed = parseOrError(longList(4998), parsed);
  EXPECT_TRUE(parsed);
  EXPECT_EQ(printed, longList(4998));
  EXPECT_EQ(parseOrError(longList(5000), parsed), overflowAtComma);
  EXPECT_FALSE(parsed);

  std::string results;
  for (int i = 0; i < 6000; ++i) results.append("r").append(std::to_string(i)).append("=\"v\",");
  EXPECT_EQ(parseOrError(results + "end=\"\"", parsed),
            "&\"Syntax Error: parser stack overflow at \\\"\"v\"\\\"\"\n");
  EXPECT_FALSE(parsed);

  std::string nested = nesting(5000);
  EXPECT_EQ(parseOrError(nested, parsed), nested);
  EXPECT_TRUE(parsed);
  nested = nesting(10000);
  EXPECT_EQ(parseOrError(nested, parsed),
            "&\"Syntax Error: parser stack overflow at \\\"[\\\"\"\n");
  EXPECT_FALSE(parsed);

  std::string tuples;
  for (int i = 0; i < 4000; ++i) tuples += "t={";
  tuples.append("x=\"1\"").append(4000, '}');
  EXPECT_EQ(parseOrError(tuples, parsed),
            "&\"Syntax Error: parser stack overflow at \\\"{\\\"\"\n");
  EXPECT_FALSE(parsed);
}

}  // namespace
