#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "base/log.h"
#include "base/options.h"

namespace {

// Only "-name" or "--name" with an optional "=value" (no blank, nothing empty) is an option;
// "--interpreter" takes the next element whatever it is, and nothing at the end.
TEST(Options, OnlyWellFormedArgumentsBecomeOptionsAndInterpreterTakesTheNextOne) {
  // clang-format off
  const char* argv[] = {"wem", "--a|b_C", "  -rconnect=tcpip:1.2.3.4:2000 ", "---y", "-y=",
                        "-z=a b", "-", "--", "-9", "--na-me", "--name second", "prog", "-x=1",
                        "--x=2", "--interpreter", "-i=mi", "-i", "mi", "--interpreter", nullptr};
  // clang-format on
  Options options;
  std::ostringstream log;
  parseOptions(argv, options, log);
  EXPECT_EQ(options, (Options{{"a|b_C", ""},
                              {"rconnect", "tcpip:1.2.3.4:2000"},
                              {"x", "2"},
                              {"interpreter", "-i=mi"},
                              {"i", ""}}));
}

TEST(Log, RecordsAreNumberedAndFlushedWhenTheStatementEnds) {
  char path[] = "/tmp/wem_log_test_XXXXXX";
  close(mkstemp(path));
  {
    LogStreams streams;
    std::ostream& log = chooseLogStream(streams, path);
    const int line = __LINE__ + 1;
    LOG_TO(log) << "argv: " << 1;
    LOG_BLANK_TO(log) << "Removed " << std::string("i1");
    std::stringstream text;
    text << std::ifstream(path).rdbuf();  // still open: the text must be on disk already
    EXPECT_EQ(text.str(),
              std::to_string(line) + ": argv: 1\n" + std::to_string(line + 1) + ": Removed i1\n\n");
  }
  unlink(path);
}

}  // namespace
