#include <gtest/gtest.h>
#include <unistd.h>

#include <boost/regex.hpp>
#include <fstream>
#include <sstream>

#include "base/env_var.h"
#include "base/log.h"
#include "base/options.h"
#include "base/signals.h"

namespace {

std::string stripNumbers(const std::string& log) {
  return boost::regex_replace(log, boost::regex(R"(^\d+: )"), "");
}

// Each argument, then the name and value it gives, or "-" when it is no option.
TEST(Options, EachArgumentIsAnOptionOrNot) {
  const std::pair<const char*, const char*> cases[] = {
      {"--interpreter=mi", "interpreter=mi"},
      {"-i", "i="},
      {"  -rconnect=tcpip:1.2.3.4:2000 ", "rconnect=tcpip:1.2.3.4:2000"},
      {"--a|b_C", "a|b_C="},  // "|" inside the brackets is an ordinary name character
      {"mi", "-"},
      {"./prog", "-"},
      {"---x", "-"},
      {"-x=", "-"},
      {"--name second", "-"},
      {"-x=a b", "-"},
      {"-", "-"},
      {"--", "-"},
      {"-9", "-"},
      {"--na-me", "-"}};
  for (const auto& [argument, expected] : cases) {
    std::string name = "keep", value = "kept";
    const bool found = matchOption(argument, name, value);
    EXPECT_EQ(found                        ? name + "=" + value
              : name + value == "keepkept" ? "-"
                                           : "!",
              expected)
        << argument;
  }
}

TEST(Options, EveryElementIsLoggedAndInterpreterTakesTheNextOne) {
  const char* argv[] = {"wem",   "-x=1", "prog", "--x=2",         "--interpreter",
                        "-i=mi", "-i",   "mi",   "--interpreter", nullptr};
  Options options;
  std::ostringstream log;
  parseOptions(argv, options, log);
  EXPECT_EQ(stripNumbers(log.str()),
            "argv: wem\nargv: -x=1\noptions[x]=1\nargv: prog\nargv: --x=2\noptions[x]=2\n"
            "argv: --interpreter\noptions[interpreter]=-i=mi\nargv: -i\noptions[i]=\nargv: mi\n"
            "argv: --interpreter\n");
  EXPECT_EQ(options, (Options{{"x", "2"}, {"interpreter", "-i=mi"}, {"i", ""}}));
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

TEST(EnvVar, SetValueIsReadOnceAndUnsetOrEmptyKeepsTheDefault) {
  setenv("WEM_TEST_SET", "first", 1);
  setenv("WEM_TEST_EMPTY", "", 1);
  unsetenv("WEM_TEST_UNSET");
  const EnvVar set("WEM_TEST_SET", "d");
  setenv("WEM_TEST_SET", "second", 1);
  EXPECT_EQ(
      set.value() + EnvVar("WEM_TEST_EMPTY", "d").value() + EnvVar("WEM_TEST_UNSET", "d").value(),
      "firstdd");
}

// That a blocking wait really breaks inside the guard is checked where the controller reaps an
// engine that does not end (the engine tests).
TEST(Signals, HandlersOnlySetTheirFlagAndTheGuardAndTheDefaultsComeBack) {
  installSignalHandlers();
  for (volatile bool* flag : {&sigIntPending, &sigQuitPending, &sigTermPending}) *flag = false;
  raise(SIGQUIT);
  raise(SIGTERM);
  EXPECT_TRUE(sigQuitPending && sigTermPending && !sigIntPending);
  struct sigaction action;
  {
    InterruptibleWaits interruptible;
    sigaction(SIGINT, nullptr, &action);
    EXPECT_FALSE(action.sa_flags & SA_RESTART);
  }
  sigaction(SIGINT, nullptr, &action);
  EXPECT_TRUE((action.sa_flags & SA_RESTART) && action.sa_handler == sigIntHandler);
  restoreDefaultSignalActions();
  for (int sig : {SIGINT, SIGQUIT, SIGTERM}) {
    sigaction(sig, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
  }
  for (volatile bool* flag : {&sigIntPending, &sigQuitPending, &sigTermPending}) *flag = false;
}

}  // namespace
