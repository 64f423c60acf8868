#include "base/options.h"

#include <gtest/gtest.h>

#include <boost/regex.hpp>
#include <sstream>
#include <vector>

namespace {

std::string stripNumbers(const std::string& log) {
  static const boost::regex number(R"(^\d+: )");
  return boost::regex_replace(log, number, "");
}

// Parses `args` (argv[0] included) and returns the log without record numbers.
std::string parse(std::vector<const char*> args, Options& options) {
  args.push_back(nullptr);
  std::ostringstream log;
  parseOptions(args.data(), options, log);
  return stripNumbers(log.str());
}

}  // namespace

TEST(MatchOption, AcceptsOneOrTwoDashesWithOptionalValue) {
  std::string name;
  std::string value;
  EXPECT_TRUE(matchOption("--interpreter=mi", name, value));
  EXPECT_EQ(name, "interpreter");
  EXPECT_EQ(value, "mi");
  EXPECT_TRUE(matchOption("-i", name, value));
  EXPECT_EQ(name, "i");
  EXPECT_EQ(value, "");
  EXPECT_TRUE(matchOption("  -rconnect=tcpip:1.2.3.4:2000 ", name, value));
  EXPECT_EQ(name, "rconnect");
  EXPECT_EQ(value, "tcpip:1.2.3.4:2000");
  // "|" inside the brackets is an ordinary name character.
  EXPECT_TRUE(matchOption("--a|b_C", name, value));
  EXPECT_EQ(name, "a|b_C");
}

TEST(MatchOption, RejectsNonOptionsAndKeepsOutputs) {
  for (const char* bad :
       {"mi", "./prog", "---x", "-x=", "--name second", "-x=a b", "-", "--", "-9", "--na-me"}) {
    std::string name = "keep";
    std::string value = "kept";
    EXPECT_FALSE(matchOption(bad, name, value)) << bad;
    EXPECT_EQ(name, "keep");
    EXPECT_EQ(value, "kept");
  }
}

TEST(ParseOptions, LogsEveryElementAndEveryStoredOptionLastValueWins) {
  Options options;
  const std::string log =
      parse({"wem", "-x=1", "prog", "--x=2", "--interpreter", "mi2", "-i"}, options);
  EXPECT_EQ(log,
            "argv: wem\n"
            "argv: -x=1\noptions[x]=1\n"
            "argv: prog\n"
            "argv: --x=2\noptions[x]=2\n"
            "argv: --interpreter\noptions[interpreter]=mi2\n"
            "argv: -i\noptions[i]=\n");
  EXPECT_EQ(options, (Options{{"x", "2"}, {"interpreter", "mi2"}, {"i", ""}}));
}

TEST(ParseOptions, InterpreterConsumesNextElementAndAtTheEndRecordsNothing) {
  Options options;
  // The consumed "-x=1" is a value, not an option.
  EXPECT_EQ(parse({"wem", "--interpreter", "-x=1"}, options),
            "argv: wem\nargv: --interpreter\noptions[interpreter]=-x=1\n");
  EXPECT_EQ(options, (Options{{"interpreter", "-x=1"}}));

  Options last;
  EXPECT_EQ(parse({"wem", "-i=mi", "--interpreter"}, last),
            "argv: wem\nargv: -i=mi\noptions[i]=mi\nargv: --interpreter\n");
  EXPECT_EQ(last, (Options{{"i", "mi"}}));

  // "-i" does not take the next element.
  Options pair;
  parse({"wem", "-i", "mi"}, pair);
  EXPECT_EQ(pair, (Options{{"i", ""}}));
}

TEST(ParseOptions, ProgramPathAloneIsExamined) {
  Options options;
  EXPECT_EQ(parse({"-p=1"}, options), "argv: -p=1\noptions[p]=1\n");
  Options none;
  EXPECT_EQ(parse({}, none), "");
  EXPECT_TRUE(none.empty());
}
