#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "e2e/session_fixture.h"
#include "support/e2e.h"

namespace {

TEST(SessionStartup, HostEngineIsAnnouncedAsGroupI1ThenThePrompt) {
  WemRun run;
  ASSERT_TRUE(run.start("banner ~\"engine banner is not shown\""));
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
< =thread-group-added,id="i1"
< (gdb)
quiet 200
)"));
  // The host engine gets the program's own arguments behind the engine's path.
  const std::vector<e2e::EngineTranscript> engines = run.engines();
  ASSERT_EQ(engines.size(), 1u);
  EXPECT_EQ(engines[0].role, "host");
  EXPECT_EQ(e2e::readFile(run.dir.file("argv-host-" + std::to_string(engines[0].pid) + ".txt")),
            e2e::fakeEnginePath() + "\n--interpreter=mi\n");
  EXPECT_TRUE(run.logged("ZUBC: " + e2e::fakeEnginePath()));
  EXPECT_TRUE(run.exitSession("3"));
  EXPECT_EQ(run.hostInput(), "3-gdb-exit\n");
}

TEST(SessionStartup, WithoutHostEngineConfiguredNothingIsSaid) {
  WemRun run;
  ASSERT_TRUE(run.start("", {"--interpreter=mi"}, {{"ZUBC_HOST", std::nullopt}}));
  EXPECT_TRUE(run.endsCleanly());
  EXPECT_EQ(run.wem.allStdout(), "");
  EXPECT_TRUE(run.logged("ZUBC_HOST is not defined."));
  EXPECT_FALSE(run.logged("Failed to spawn zub."));
  EXPECT_TRUE(run.logged("Failed to spawn Zub."));
  EXPECT_TRUE(run.engines().empty());
}

TEST(SessionStartup, OtherInterpretersAreRefusedOnStandardError) {
  const std::vector<std::vector<std::string>> refused = {
      {},
      {"-i", "console"},
      {"-i", "mi"},  // "-i" takes no separate value
      {"-i=console"},
      {"--interpreter=console"},
      {"--interpreter"},
      {"--interpreter=m"},
      {"mi"},
      {"-interpreter= mi"},
  };
  for (const std::vector<std::string>& args : refused) {
    SCOPED_TRACE(testing::PrintToString(args));
    WemRun run;
    ASSERT_TRUE(run.start("", args));
    EXPECT_TRUE(run.endsCleanly());
    EXPECT_EQ(run.wem.allStderr(), "Error: Interpreter mode not supported.\n");
    EXPECT_EQ(run.wem.allStdout(), "");
    EXPECT_TRUE(run.engines().empty());
  }
}

TEST(SessionStartup, EverySpellingOfTheMiInterpreterIsAccepted) {
  const std::vector<std::vector<std::string>> accepted = {
      {"--interpreter=mi"},
      {"-interpreter=mi"},
      {"--interpreter", "mi"},
      {"-i=mi"},
      {"--interpreter=mi2"},
      {"-i=mi3"},
      {"-i=console", "--interpreter=mi1"},
      {"--interpreter=console", "-i=mi"},
      {"prog", "--interpreter=mi", "--nx"},
      {"-i=mi", "--interpreter"},
  };
  for (const std::vector<std::string>& args : accepted) {
    SCOPED_TRACE(testing::PrintToString(args));
    WemRun run;
    ASSERT_TRUE(run.start("", args));
    EXPECT_TRUE(run.wem.expect("=thread-group-added,id=\"i1\"\n(gdb)\n"));
    EXPECT_TRUE(run.exitSession());
    EXPECT_EQ(run.wem.allStderr(), "");
  }
}

}  // namespace
