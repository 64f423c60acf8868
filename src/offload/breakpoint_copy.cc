// After an attach, the new engine must hold the user's breakpoints like every other engine.
#include <boost/make_shared.hpp>
#include <vector>

#include "base/log.h"
#include "commands/break_cmds.h"
#include "offload/offload_follower.h"
#include "session/breakpoint_table.h"

namespace {

// The commands of the copy, in the order they run. They are all made before the first runs:
// deleting a breakpoint also forgets that it was disabled.
std::vector<boost::shared_ptr<MiCmd>> breakpointCopyCmds(const BreakPointTable& table) {
  std::vector<boost::shared_ptr<MiCmd>> cmds;
  for (const auto& [number, line] : table.breakpointCmds) {
    cmds.push_back(boost::make_shared<BreakDeleteCmd>("-break-delete " + number + "\n"));
    auto insert = boost::make_shared<BreakInsertCmd>(line, true);
    insert->userBkpId = number;
    cmds.push_back(insert);
    if (table.disabledBreakpoints.contains(number))
      cmds.push_back(boost::make_shared<BreakDisableCmd>("-break-disable " + number + "\n"));
  }
  return cmds;
}

}  // namespace

void OffloadFollower::copyBreakpoints() {
  for (const auto& cmd : breakpointCopyCmds(port.breakpoints()))
    if (!port.runMuted(*cmd)) LOG_TO(port.log()) << "Failed to run command: " << cmd->cmdText;
}
