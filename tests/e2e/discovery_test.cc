// The program runs card discovery before it starts its host engine. A stub `mount` first in PATH
// names a sysfs mount point, so discovery goes on to list the card images; with no host engine
// configured the program ends right after. What discovery makes of the shell's answers is a unit
// test (tests/offload).
#include <sys/stat.h>

#include <algorithm>

#include "support/e2e.h"

namespace {

TEST(Discovery, ProgramLooksForTheCardsBeforeItStartsTheHostEngine) {
  e2e::TempDir dir;
  const std::string mounts = "sysfs on " + dir.path() + " type sysfs (rw)";
  chmod(dir.write("mount", "#!/bin/sh\necho '" + mounts + "'\n").c_str(), 0755);
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
           "Executing command: mount -t sysfs", "Command output: " + mounts,
           "Executing command: echo /opt/ulvax/vek/filesystem/vek*", "ZUBC_HOST is not defined."}) {
    at = std::find(at, log.end(), step);
    ASSERT_NE(at, log.end()) << "missing or out of order: " << step;
  }
}

}  // namespace
