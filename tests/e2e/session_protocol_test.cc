#include <gtest/gtest.h>

#include <string>

#include "e2e/session_fixture.h"
#include "support/e2e.h"

namespace {

TEST(SessionProtocol, ResultWithAnotherTokenIsIgnoredAndOneWithoutTokenAccepted) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(R"(
on -gdb-set 99^done,stale="1"
on -gdb-set $TOKEN^done,fresh="1"
on -stack-info-depth ^done,depth="2"
on -environment-pwd $TOKEN^done
)"));
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
> 5-gdb-set confirm off
< 5^done,fresh="1"
< (gdb)
> 6-stack-info-depth
< 6^done,depth="2"
< (gdb)
> 7-environment-pwd
< 7^done
< (gdb)
)"));
  EXPECT_TRUE(run.logged("Cmd Id does not match. Expected: 5; got: 99"));
  EXPECT_TRUE(run.exitSession());
}

TEST(SessionProtocol, ConsoleLinesAreDroppedOtherStreamsPassedUnchanged) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(R"(
on -gdb-set ~"console text\n"
on -gdb-set &"log text\n"
on -gdb-set @text @"target text\n"
on -gdb-set *running,thread-id="all"
on -gdb-set not an MI line at all
on -gdb-set $TOKEN^done
)"));
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
> 8-gdb-set width 0
< &"log text\n"
< @"target text\n"
< *running,thread-id="all"
< not an MI line at all
< 8^done
< (gdb)
)"));
  const std::string log = e2e::readFile(run.logPath());
  EXPECT_NE(log.find(": Ignoring input (~\"console text\\n\"\n) from i1.\n"), std::string::npos);
  EXPECT_TRUE(run.exitSession());
}

TEST(SessionProtocol, EngineErrorsPassOnAndUnknownIdsGetFixedErrors) {
  WemRun run;
  ASSERT_TRUE(run.startAndGreet(R"(
on -stack-list-frames $TOKEN^error,msg="No stack."
on -list-features $TOKEN^done,features=["frozen-varobjs","thread-info"]
)"));
  EXPECT_TRUE(e2e::runTranscript(run.wem, R"(
> 1-stack-list-frames
< 1^error,msg="No stack."
< (gdb)
> 2-stack-info-depth --thread 9
< 2^error,msg="Invalid thread: 9"
< (gdb)
> 3-stack-info-depth --thread-group i7
< 3^error,msg="Invalid thread-group: i7"
< (gdb)
> 4-gdb-set --thread-group vek1 confirm off
< 4^error,msg="Invalid thread-group: vek1"
< (gdb)
> 5-stack-list-locals --thread 1 --thread-group i1 1
< 5^error,msg="Invalid thread: 1"
< (gdb)
> 6-list-features --thread-group i9
< 6^done,features=["frozen-varobjs","thread-info"]
< (gdb)
> 7-gdb-set --thread-group i1 confirm off
< 7^done
< (gdb)
)"));
  EXPECT_TRUE(run.exitSession());
  // Only the commands that named no unknown id reached the engine, the group option stripped.
  const std::string input = run.hostInput();
  const std::string sent = "1-stack-list-frames\n6-list-features --thread-group i9\n7-gdb-set ";
  EXPECT_EQ(input.rfind(sent, 0), 0u) << input;
  EXPECT_EQ(input.find("--thread-group", sent.size()), std::string::npos) << input;
}

}  // namespace
