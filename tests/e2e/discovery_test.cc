// The program runs card discovery before it starts its host engine. A stub `mount` first in PATH
// prints a long line and raw bytes, then a sysfs mount point without a line end, and fails: what
// the shell printed is the answer, every line whole, so discovery goes on to list the card images.
// With no host engine configured the program ends right after. What discovery makes of the
// shell's answers is a unit test (tests/offload).
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "support/e2e.h"

namespace {

TEST(Discovery, ProgramLooksForTheCardsBeforeItStartsTheHostEngine) {
  e2e::TempDir dir;
  const std::string mounts = "sysfs on " + dir.path() + " type sysfs (rw)";
  const std::string script =
      "#!/bin/sh\nhead -c 300000 /dev/zero | tr '\\0' x\nprintf '\\n\\001\\000b\\n" + mounts +
      "'\nexit 3\n";
  chmod(dir.write("mount", script).c_str(), 0755);
  const char* path = getenv("PATH");
  e2e::Child wem;
  ASSERT_TRUE(wem.start({WEM_BINARY, "--interpreter=mi"},
                        {{"PATH", dir.path() + ":" + (path ? path : "/usr/bin:/bin")},
                         {"ZUBC_HOST", std::nullopt},
                         {"WEM_LOG", dir.file("wem.log")}}));
  wem.closeStdin();
  EXPECT_TRUE(wem.endsHere());
  EXPECT_EQ(wem.exitCode(), 0);
  const std::vector<std::string> log = e2e::readLogLines(dir.file("wem.log"));
  auto at = log.begin();
  for (const std::string& step : std::vector<std::string>{
           "Executing command: mount -t sysfs", "Command output: " + std::string(300000, 'x'),
           "Command output: \001" + std::string(1, '\0') + "b", "Command output: " + mounts,
           "Executing command: echo /opt/ulvax/vek/filesystem/vek*", "ZUBC_HOST is not defined."}) {
    at = std::find(at, log.end(), step);
    ASSERT_NE(at, log.end()) << "missing or out of order: " << step.substr(0, 80);
  }
}

}  // namespace
