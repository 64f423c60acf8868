#include <boost/algorithm/string/replace.hpp>
#include <boost/make_shared.hpp>
#include <functional>
#include <map>
#include <string>

#include "base/compat.h"
#include "base/log.h"
#include "base/signals.h"
#include "commands/break_cmds.h"
#include "commands/compat_cmds.h"
#include "commands/data_cmds.h"
#include "commands/exec_cmd.h"
#include "commands/exit_cmd.h"
#include "commands/inferior_cmds.h"
#include "commands/mi_cmd.h"
#include "commands/passthrough_cmds.h"
#include "commands/thread_cmds.h"
#include "commands/var_cmds.h"
#include "engine/ctrl_module.h"
#include "match/cmd_matchers.h"
#include "session/mi_session.h"

namespace {

// Turns one user line into the commands it stands for, appended to the queue.
using CmdFactory =
    std::function<void(MiSession& session, const std::string& line, MiCmdQueue& queue)>;

// The usual row: one command of class Cmd built from the line and the given flags.
template <typename Cmd, typename... Flags>
CmdFactory one(Flags... flags) {
  return [=](MiSession&, const std::string& line, MiCmdQueue& queue) {
    queue.push_back(boost::make_shared<Cmd>(line, flags...));
  };
}

// Interrupts whatever runs; no command and no reply of its own. In gdb's mode it answers "^done"
// at once, as gdb does, and with nothing running it is a command of its own.
void interrupt(MiSession& session, const std::string& line, MiCmdQueue& queue) {
  if (!gdbCompatible()) {
    sigIntPending = 1;
  } else if (session.commandQueue.empty()) {
    queue.push_back(boost::make_shared<ExecInterruptCmd>(line));
  } else {
    sigIntPending = 1;
    std::string token;
    matchCmdId(token, line);
    session.ctrl.sendToUser(token + "^done\n");
    sendPrompt(session.ctrl);
  }
}

// Every run first plants the offload breakpoint, silently, in every engine.
void execRun(MiSession&, const std::string& line, MiCmdQueue& queue) {
  std::string offloadSymbol;
  MiSession::retrieveVekOffloadSymbol(offloadSymbol);
  queue.push_back(
      boost::make_shared<BreakInsertCmd>("-break-insert -f " + offloadSymbol + "\n", true));
  queue.push_back(boost::make_shared<ExecCmd>(line));
}

// Console commands that resume or interrupt the program, by the words and abbreviations the
// console knows.
const std::map<std::string, std::string>& consoleExecCmds() {
  static const std::map<std::string, std::string> words = {
      {"c", "-exec-continue"},
      {"continue", "-exec-continue"},
      {"fin", "-exec-finish"},
      {"finish", "-exec-finish"},
      {"interrupt", "-exec-interrupt"},
      {"j", "-exec-jump"},
      {"jump", "-exec-jump"},
      {"n", "-exec-next"},
      {"next", "-exec-next"},
      {"nexti", "-exec-next-instruction"},
      {"ni", "-exec-next-instruction"},
      {"r", "-exec-run"},
      {"run", "-exec-run"},
      {"s", "-exec-step"},
      {"si", "-exec-step-instruction"},
      {"start", "-exec-run --start"},
      {"step", "-exec-step"},
      {"stepi", "-exec-step-instruction"},
      {"u", "-exec-until"},
      {"until", "-exec-until"},
  };
  return words;
}

// A console command that resumes the program runs as the execution command it stands for, with
// the line's token, options and arguments: every engine of the host program then runs and stops
// with it, and its stop is reported as one. "interrupt" reaches the running command as
// "-exec-interrupt" does; queued behind it, it would come too late. Any other console command is
// passed through.
void interpreterExec(MiSession& session, const std::string& line, MiCmdQueue& queue) {
  std::string word, rest;
  if (matchConsoleCmd(line, word, rest)) {
    auto execCmd = consoleExecCmds().find(word);
    if (execCmd != consoleExecCmds().end()) {
      std::string token;
      matchCmdId(token, line);
      const std::string execLine = token + execCmd->second + rest + "\n";
      LOG_AT(session.ctrl) << "Console command runs as: " << execLine;
      session.parseCmd(execLine, queue);
      return;
    }
  }
  queue.push_back(boost::make_shared<InterpreterExecCmd>(line));
}

// Exact, case-sensitive command words; any other word answers "^done" with "Command is not
// implemented.".
const std::map<std::string, CmdFactory>& dispatchTable() {
  static const std::map<std::string, CmdFactory> table = {
      {"-add-inferior", one<AddInferiorCmd>()},
      {"-break-after", one<BreakConditionCmd>()},
      {"-break-condition", one<BreakConditionCmd>()},
      {"-break-delete", one<BreakDeleteCmd>()},
      {"-break-disable", one<BreakDisableCmd>()},
      {"-break-enable", one<BreakEnableCmd>()},
      {"-break-insert", one<BreakInsertCmd>(false)},
      {"-data-disassemble", one<DataDisassembleCmd>()},
      {"-data-evaluate-expression", one<DataCmd>()},
      {"-data-list-changed-registers", one<DataCmd>()},
      {"-data-list-register-names", one<DataListRegisterNamesCmd>()},
      {"-data-list-register-values", one<DataListRegisterValuesCmd>()},
      {"-data-read-memory", one<DataCmd>()},
      {"-data-write-memory", one<DataCmd>()},
      {"-environment-cd", one<EnvironmentCmd>()},
      {"-environment-directory", one<EnvironmentCmd>()},
      {"-environment-path", one<EnvironmentCmd>()},
      {"-environment-pwd", one<EnvironmentCmd>()},
      {"-exec-args", one<EnvironmentCmd>()},
      {"-exec-continue", one<ExecCmd>()},
      {"-exec-finish", one<ExecCmd>()},
      {"-exec-interrupt", interrupt},
      {"-exec-jump", one<ExecCmd>()},
      {"-exec-next", one<ExecCmd>()},
      {"-exec-next-instruction", one<ExecCmd>()},
      {"-exec-return", one<ExecReturnCmd>()},
      {"-exec-run", execRun},
      {"-exec-step", one<ExecCmd>()},
      {"-exec-step-instruction", one<ExecCmd>()},
      {"-exec-until", one<ExecCmd>()},
      {"-file-exec-and-symbols", one<FileExecAndSymbolsCmd>()},
      {"-gdb-exit", one<GdbExitCmd>()},
      {"-gdb-set", one<GdbSetUnsetCmd>()},
      {"-gdb-unset", one<GdbSetUnsetCmd>()},
      {"-inferior-tty-set", one<InferiorTtySetCmd>()},
      {"-interpreter-exec", interpreterExec},
      {"-list-features", one<ListFeaturesCmd>()},
      {"-list-thread-groups", one<ListThreadGroupsCmd>()},
      {"-remove-inferior", one<RemoveInferiorCmd>()},
      {"-set-serialize-execution", one<SetSerializeExecutionCmd>()},
      {"-stack-info-depth", one<StackCmd>()},
      {"-stack-list-arguments", one<StackCmd>()},
      {"-stack-list-frames", one<StackCmd>()},
      {"-stack-list-locals", one<StackCmd>()},
      {"-target-attach", one<TargetAttachCmd>()},
      {"-target-detach", one<TargetDetachCmd>()},
      {"-thread-info", one<ThreadInfoCmd>()},
      {"-var-assign", one<VarCmd>()},
      {"-var-create", one<VarCreateCmd>()},
      {"-var-delete", one<VarDeleteCmd>()},
      {"-var-evaluate-expression", one<VarCmd>()},
      {"-var-info-expression", one<VarCmd>()},
      {"-var-info-num-children", one<VarCmd>()},
      {"-var-info-path-expression", one<VarCmd>()},
      {"-var-info-type", one<VarCmd>()},
      {"-var-list-children", one<VarCmd>()},
      {"-var-set-format", one<VarCmd>()},
      {"-var-show-attributes", one<VarCmd>()},
      {"-var-update", one<VarUpdateCmd>()},
      {"-zub-cond-print", one<ZubCondPrintCmd>()},
      {"info", one<InfoCmd>()},
      {"quit", one<GdbExitCmd>()},
      {"set", one<GdbSetUnsetCmd>()},
      {"source", one<SourceCmd>()},
      {"unset", one<GdbSetUnsetCmd>()},
  };
  return table;
}

// gdb's reading of a line: blanks before the token and after it do not count, a line without a
// command answers "^done" with its token, and a word the table lacks runs in the console unless
// it is an MI word; so does "info" on any subject but the shared libraries. False when the line
// was taken care of here; otherwise `line` is the line to dispatch.
bool readAsGdb(MiSession& session, const std::string& userLine, std::string& line,
               MiCmdQueue& queue) {
  std::string token, rest, word;
  matchTokenAndRest(userLine, token, rest);
  if (rest.empty()) {
    session.ctrl.sendToUser(token + "^done\n");
    sendPrompt(session.ctrl);
    return false;
  }
  line = token + rest + "\n";
  std::string subject;
  const bool consoleInfo = matchInfoCmd(line, subject) && subject != "sharedlibrary";
  if (rest.starts_with('-') ||
      (matchCmdName(word, line) && dispatchTable().contains(word) && !consoleInfo))
    return true;
  boost::replace_all(rest, "\\", "\\\\");
  boost::replace_all(rest, "\"", "\\\"");
  interpreterExec(session, token + "-interpreter-exec console \"" + rest + "\"\n", queue);
  return false;
}

}  // namespace

bool MiSession::parseCmd(const std::string& userLine, MiCmdQueue& queue) {
  std::string line = userLine;
  if (gdbCompatible() && !readAsGdb(*this, userLine, line, queue)) return true;
  std::string word;
  if (!matchCmdName(word, line)) {
    sendPrompt(ctrl);
    return true;
  }
  if (parseCompatCmd(word, line, queue)) return true;
  const auto& table = dispatchTable();
  auto row = table.find(word);
  if (row == table.end()) {
    queue.push_back(boost::make_shared<NotImplementedCmd>(line, true));
    return true;
  }
  row->second(*this, line, queue);
  return true;
}
