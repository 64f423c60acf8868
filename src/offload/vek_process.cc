// What the attach needs to know of one card-side process: its card and pid, read out of the
// host program, and the host paths of its files. Every expression and template comes from the
// environment, read once.
#include <fstream>

#include "base/engine_id.h"
#include "base/env_var.h"
#include "base/log.h"
#include "match/cmd_matchers.h"
#include "offload/offload_follower.h"

namespace {

// `pattern` with the card node and the pid put in place of their tags, wherever they occur.
std::string expandTags(std::string pattern, const std::string& node, const std::string& pid) {
  replaceTag(pattern, "<VEKCARD>", node);
  replaceTag(pattern, "<VEKPID>", pid);
  return pattern;
}

}  // namespace

bool OffloadFollower::retrieveVekCardNumber(const std::string& hostGroup, std::string& id) {
  static const EnvVar cardAddress("WEM_VEK_CARD_ADDR", "&__zub_target_id");
  LOG_TO(port.log()) << "WEM_VEK_CARD_ADDR=" << cardAddress.value();
  return readMemory(hostGroup, cardAddress.value(), id, "4", "u");
}

bool OffloadFollower::retrieveVekPid(const std::string& hostGroup, std::string& pid) {
  static const EnvVar pidAddress("WEM_VEK_PID_ADDR", "&__zub_target_so_pid");
  LOG_TO(port.log()) << "WEM_VEK_PID_ADDR=" << pidAddress.value();
  return readMemory(hostGroup, pidAddress.value(), pid, "4", "u");
}

bool OffloadFollower::retrieveVekTempDir(const std::string& node, const std::string& pid,
                                         std::string& dir) {
  static const EnvVar tempDir("WEM_VEK_TEMP_DIR", "/tmp/ihk_procs/<VEKCARD>/<VEKPID>/");
  dir = expandTags(tempDir.value(), node, pid);
  return true;
}

// The executable's name is always asked of the host group "i1". Its value is the MI string
// still escaped, so a quoted name loses a backslash and a quote at each end; a name that is not
// a file on the host is taken to be in the process's temporary directory.
bool OffloadFollower::retrieveVekLocalFile(const std::string& dir, std::string& file) {
  static const EnvVar execName("WEM_VEK_EXEC_NAME_SYMBOL", "__zub_target_exe_name");
  std::string value;
  if (!evaluateVariable(kHostEngineId, execName.value(), value) || value.size() <= 4) return false;
  const std::string name = value.substr(2, value.size() - 4);
  file = std::ifstream(name) ? name : dir + name;
  return true;
}

bool OffloadFollower::retrieveVekSolibSearchPath(const std::string& node, const std::string& pid,
                                                 std::string& path) {
  static const EnvVar searchPath("WEM_VEK_SOLIB_SEARCH_PATH",
                                 "/tmp/ihk_procs/<VEKCARD>/<VEKPID>/load_lib:");
  static const EnvVar libraryPath("VEK_LD_LIBRARY_PATH", "");
  path = expandTags(searchPath.value(), node, pid) + libraryPath.value() +
         ":/usr/linux-q8ta-4.7/linux-q8ta/lib64";
  return true;
}
