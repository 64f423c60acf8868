// After an attach, the new engine must hold the user's breakpoints like every other engine:
// each one is deleted and inserted again everywhere, under its own number, and disabled again
// if the user had disabled it.
#include <boost/make_shared.hpp>
#include <vector>

#include "base/log.h"
#include "base/silencer.h"
#include "commands/break_cmds.h"
#include "commands/exec_cmd.h"
#include "engine/ctrl_module.h"
#include "session/mi_session.h"

namespace {

// The commands of the copy, in the order they run. They are all made before the first runs:
// deleting a breakpoint also forgets that it was disabled.
std::vector<MiCmdPtr> breakpointCopyCmds(const BreakPointTable& table) {
  std::vector<MiCmdPtr> cmds;
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

bool ExecCmd::attachVekProcess(MiSession& session) {
  std::string group;
  if (!session.attachVekProcess(group)) {
    LOG_AT(session.ctrl) << "Failed to attach the VEK process";
    return false;
  }
  // A breakpoint that cannot be copied is logged; the others are still copied.
  for (const MiCmdPtr& cmd : breakpointCopyCmds(session.breakPointTable)) {
    Silencer quiet(session.ctrl.muted);
    if (!session.runCmd(*cmd)) LOG_AT(session.ctrl) << "Failed to run command: " << cmd->cmdText;
  }
  return true;
}
