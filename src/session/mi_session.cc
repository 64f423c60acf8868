#include "session/mi_session.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>

#include "base/compat.h"
#include "base/engine_id.h"
#include "base/env_var.h"
#include "base/log.h"
#include "base/signals.h"
#include "commands/errors.h"
#include "commands/mi_cmd.h"
#include "engine/ctrl_module.h"
#include "match/output_matchers.h"
#include "mi/mi_parser.h"

namespace {

constexpr std::chrono::milliseconds kGiveUpPoll{100};

bool isExitCmd(const MiCmd& cmd) { return cmd.cmdName == "-gdb-exit" || cmd.cmdName == "quit"; }

// Engine output while no command runs, in gdb's mode: it reaches the user at once, as gdb's own
// would. Run and stop records are put in the user's numbering; a result has no command to go to.
class IdleOutputCmd : public MiCmd {
 public:
  IdleOutputCmd() : MiCmd("") {}
  bool launchCmd(MiSession&) override { return true; }
  bool handleResponse(MiSession& session, const std::string& zubId,
                      const std::string& line) override {
    std::string resultClass, text;
    MiRecordPtr record;
    if (matchMiResultType(line, resultClass)) {
      LOG_AT(session.ctrl) << "No command for: " << line;
    } else if (!line.starts_with('*') || !matchMiRecord(line, text) ||
               !parseMiRecord(text, record) || !record->toMiMap()) {
      session.ctrl.sendToUser(line);
    } else {
      record->replaceThreadIds(session.threadIdTable, zubId);
      if (matchMiStopped(line)) {
        session.toUserBkpNumber(zubId, *record->toMiMap());
        session.currentZubId = zubId;
      }
      record->printToString(text);
      session.ctrl.sendToUser(line.substr(0, line.find(',')) + "," + text + "\n");
    }
    return true;
  }
  bool interruptCmd(MiSession&) override { return true; }
  bool isFinished() const override { return true; }
};

// An exit that waits behind the command that runs the program (the front one) ends the session
// at once. It is answered and taken off the queue here; stop() ends the engines.
bool exitNow(MiSession& session) {
  MiCmdQueue& queue = session.commandQueue;
  if (session.exitRequested) return true;
  for (auto it = queue.empty() ? queue.end() : queue.begin() + 1; it != queue.end(); ++it) {
    if (!isExitCmd(**it)) continue;
    session.ctrl.sendToUser((*it)->cmdId() + "^exit\n");
    queue.erase(it);
    session.exitRequested = true;
    return true;
  }
  return false;
}

}  // namespace

bool MiSession::exitQueued() const {
  return commandQueue.size() > 1 &&
         std::any_of(commandQueue.begin() + 1, commandQueue.end(),
                     [](const MiCmdPtr& cmd) { return isExitCmd(*cmd); });
}

MiSession::MiSession(CtrlModule& ctrl, Options& options) : ctrl(ctrl), options(options) {}

MiSession::~MiSession() = default;

bool MiSession::retrieveVekOffloadSymbol(std::string& symbol) {
  static const EnvVar offloadSymbol("WEM_VEK_OFFLOAD_SYMBOL", "__zub_target_so_loaded");
  symbol = offloadSymbol.value();
  return true;
}

void MiSession::start(const char** argv) {
  initVekCardIpTable();
  std::string id;
  if (!spawnZub(argv, "i", id)) {
    LOG_AT(ctrl) << "Failed to spawn Zub.";
    return;
  }
  currentZubId = id;
  serve();
}

void MiSession::serve() {
  if (exitRequested) return;
  for (;;) {
    if (sigIntPending) clearSigInt();
    if (sigQuitPending || sigTermPending) return;
    checkInputFromUser();
    if (commandQueue.empty()) {
      IdleOutputCmd idle;
      if (!gdbCompatible())
        checkEndedZubs();
      else if (!checkOutputOfZubs(idle))
        return;
      // gdb ends at the end of its input; a client that died leaves nobody else to end engines.
      if (gdbCompatible() && ctrl.userInputEnded()) return;
      // Nothing to do until a user line, a signal or an engine's end comes.
      if (!ctrl.userLineWaiting()) ctrl.waitForEvent();
    } else if (!ctrl.hasEngines() && !isExitCmd(*commandQueue.front())) {
      // Every engine has ended: nothing can carry the command out.
      reportNoEngineLeftError(ctrl, commandQueue.front()->cmdId());
      commandQueue.pop_front();
    } else {
      // Our own reference keeps the command alive while lines queued meanwhile grow the queue.
      MiCmdPtr cmd = commandQueue.front();
      if (!runCmd(*cmd)) return;
      commandQueue.pop_front();
    }
    if (exitRequested) return;
  }
}

void MiSession::stop() {
  LOG_BLANK_AT(ctrl) << "stopping the session.";
  std::set<std::string> ids;
  ctrl.getZubIds(ids);
  ctrl.sendSignalToZubs(ids, SIGINT);
  ctrl.sendToZubs(ids, "-gdb-exit\n");
  ctrl.removeZubs(ids);
}

bool MiSession::runCmd(MiCmd& cmd, const std::function<bool()>& giveUp) {
  if (!cmd.launchCmd(*this)) {
    // Names the command at the front of the queue, which for a nested run is the outer one.
    LOG_AT(ctrl) << "Failed to to launch cmd: "
                 << (commandQueue.empty() ? cmd.cmdText : commandQueue.front()->cmdText);
    return false;
  }
  while (!cmd.isFinished()) {
    // Before the user's interrupt is taken, which is then left for the caller.
    if (giveUp && giveUp()) {
      LOG_AT(ctrl) << "Giving up on: " << cmd.cmdText;
      break;
    }
    if (sigIntPending) {
      LOG_BLANK_AT(ctrl) << "sigIntPending cleared.";
      sigIntPending = 0;
      cmd.interruptCmd(*this);
    }
    // A terminate request waits until the command has finished; a quit does not.
    if (sigQuitPending) return false;
    // A user who no longer reads cannot see the command end: a terminate request ends it now.
    if (sigTermPending && ctrl.userStuck()) return false;
    checkInputFromUser();
    if (cmd.programRuns()) {
      // An exit that waits behind a program that runs ends the session at once. gdb's mode also
      // ends it on a terminate request, and in gdb's asynchronous mode, where it reads on while
      // the program runs, at the end of its input.
      if (exitNow(*this)) return false;
      if (gdbCompatible() && (sigTermPending || (engineAsync && ctrl.userInputEnded())))
        return false;
    }
    if (!checkOutputOfZubs(cmd)) {
      LOG_AT(ctrl) << "'checkOutputOfZubs' failed.";
      return false;
    }
    if (!cmd.isFinished()) cmd.checkTimers(*this);
    if (cmd.isFinished()) break;
    // "-exec-interrupt" sets the flag from this thread, without a wake-up.
    // A run that may be given up looks at its reason at least every 100 ms.
    std::chrono::milliseconds limit = cmd.nextTimer();
    if (giveUp && (limit.count() < 0 || limit > kGiveUpPoll)) limit = kGiveUpPoll;
    if (!sigIntPending) ctrl.waitForEvent(limit);
  }
  ctrl.flushUserOutput();
  return true;
}

bool MiSession::checkInputFromUser() {
  std::string line;
  if (!ctrl.tryReceiveFromUser(line)) return true;
  LOG_AT(ctrl) << "From user: " << line;
  parseCmd(line, commandQueue);
  return true;
}

bool MiSession::checkOutputOfZubs(MiCmd& cmd) {
  std::set<std::string> ids;
  ctrl.getZubIds(ids);
  for (const std::string& zubId : ids) {
    std::string line;
    bool targetLost = false;
    while (ctrl.tryReceiveFromZub(zubId, line)) {
      LOG_AT(ctrl) << zubId << " :" << line;
      std::string eventClass;
      if (matchGdbPrompt(line)) continue;
      // The line still goes to the command: it tells the user why the engine goes.
      if (isCardEngine(zubId) && matchTargetLost(line)) targetLost = true;
      if (matchUnexpectedCondition(line)) {
        handleUnexpectedCondition(zubId, line);
        miConsole("Quitting because of an internal error.\n");
        return false;
      }
      if (matchMiEvent(line, eventClass)) {
        handleMiEvent(zubId, line, eventClass);
      } else if (!cmd.handleResponse(*this, zubId, line)) {
        LOG_AT(ctrl) << "Quitting because of failure to handle result: " << line;
        return false;
      }
    }
    if (ctrl.hasEnded(zubId)) {
      if (!cmd.endsZubs()) handleZubEnded(zubId);
      cmd.zubEnded(*this, zubId);
    } else if (targetLost && !cmd.endsZubs()) {
      dropZub(zubId, cmd);
    }
  }
  return true;
}

void MiSession::checkEndedZubs() {
  std::set<std::string> ids;
  ctrl.getZubIds(ids);
  for (const std::string& zubId : ids) {
    boost::shared_ptr<ZubModule> zub = ctrl.findZub(zubId);
    if (!zub || !zub->ended) continue;
    std::string line;
    while (ctrl.tryReceiveFromZub(zubId, line)) {
      LOG_AT(ctrl) << zubId << " :" << line;
      std::string eventClass;
      if (matchGdbPrompt(line)) continue;
      if (matchMiEvent(line, eventClass))
        handleMiEvent(zubId, line, eventClass);
      else
        LOG_AT(ctrl) << "No command for the last output of " << zubId << ".";
    }
    handleZubEnded(zubId);
  }
}

void MiSession::handleZubEnded(const std::string& zubId) {
  LOG_BLANK_AT(ctrl) << "The output of " << zubId << " has ended.";
  eraseGroup(zubId);
  forgetZub(zubId, "exited");
}

void MiSession::dropZub(const std::string& zubId, MiCmd& cmd) {
  LOG_BLANK_AT(ctrl) << zubId << " has lost its target.";
  ctrl.sendToZub(zubId, "-gdb-exit\n");
  eraseGroup(zubId);
  forgetZub(zubId, "exited");
  cmd.zubEnded(*this, zubId);
}

void MiSession::clearSigInt() {
  LOG_BLANK_AT(ctrl) << "sigIntPending cleared.";
  sigIntPending = 0;
}

void MiSession::handleMiEvent(const std::string& zubId, const std::string& line,
                              const std::string& eventClass) {
  if (eventClass == "thread-created")
    handleThreadCreated(zubId, line, eventClass);
  else if (eventClass == "thread-exited")
    handleThreadExited(zubId, line, eventClass);
  else if (eventClass == "library-loaded")
    handleLibraryLoaded(zubId, line, eventClass);
  else if (eventClass.starts_with("breakpoint-") && gdbCompatible())
    handleBreakpointEvent(zubId, line, eventClass);
  else if (eventClass == "thread-group-started" && gdbCompatible())
    handleThreadGroupStarted(zubId, line);
  else
    LOG_AT(ctrl) << "Ignoring event: " << line;
}
