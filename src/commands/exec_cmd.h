#pragma once
#include <map>
#include <set>
#include <string>

#include "commands/mi_cmd.h"
#include "mi/mi_record.h"

// One execution command ("-exec-run", "-exec-continue", "-exec-next", ...) across engines. The
// host engine "i1" and the card engines ("vek...") run and stop together: the command starts
// them all, the first engine that stops makes it interrupt the others (unless a card-side process
// merely exited), and only when every engine has stopped does the user get one "*stopped"
// record, carrying the command's token. Other host inferiors ("i2", ...) run on their own.
class ExecCmd : public MiCmd {
 public:
  // `internalResume` marks a continue the program issues itself after an offload event: it does
  // not announce "^running" to the user a second time.
  ExecCmd(const std::string& line, bool internalResume);

  bool launchCmd(MiSession& session) override;
  // False (fatal) on a result class other than "running" or "error", a second result from one
  // engine, or a stop from an engine that is not running.
  bool handleResponse(MiSession& session, const std::string& zubId,
                      const std::string& line) override;
  // Signals SIGINT to every engine still running; each reports its stop in due course. An
  // engine still to answer is signalled as soon as it answers "^running".
  bool interruptCmd(MiSession& session) override;
  bool isFinished() const override { return pendingZubIds.empty() && runningZubIds.empty(); }
  bool programRuns() const override { return !runningZubIds.empty(); }
  // An engine that ended counts as stopped without a record: the others are interrupted as after
  // a first stop, and the combined stop is theirs ("Internal error" when none is left).
  void zubEnded(MiSession& session, const std::string& zubId) override;

  // The engine whose stop record the final "*stopped" reports: the first one that stopped, or
  // "i1" when the host program exited.
  std::string firstStoppedZubId;
  std::set<std::string> pendingZubIds;              // sent to, no result record yet
  std::set<std::string> runningZubIds;              // answered "^running", no "*stopped" yet
  std::map<std::string, std::string> errorResults;  // whole "^error" line per engine
  std::map<std::string, MiMap> stopRecords;         // per engine, thread ids in user numbering
  bool internalResume;
  // Set once the command has interrupted its engines, for the first stop or for the user: from
  // then on an engine that starts running is interrupted at once, since no stop of another
  // engine would ever do it.
  bool stopping = false;

 private:
  // What one look at all stop records found; the offload events decide between the final stop,
  // a synthetic offload stop and an automatic resume.
  struct StopEvents {
    bool hostExited = false;
    bool offloadStarted = false;
    bool offloadEnded = false;
  };

  // Stops one running engine: SIGINT, or in gdb's asynchronous mode "-exec-interrupt" with a
  // token of its own, which marks the answer for every command to drop.
  void interruptEngine(MiSession& session, const std::string& zubId);
  // Sends `line` to every card engine and then to "i1"; all of them become pending.
  bool broadcast(MiSession& session, const std::string& line);
  bool launchOnThread(MiSession& session);
  bool launchOnGroup(MiSession& session);
  bool launchOnCurrent(MiSession& session);
  // The host or a card engine steps with the user's line; the other engines of the host program
  // continue.
  bool launchStepIn(MiSession& session, const std::string& zubId);

  bool handleMiResult(MiSession& session, const std::string& zubId, const std::string& line,
                      const std::string& resultClass);
  bool handleMiStopped(MiSession& session, const std::string& zubId, const std::string& line);
  // Runs once when no engine is pending and none runs: the reply for the whole command.
  bool stateAllStopped(MiSession& session);
  bool replyAllErrors(MiSession& session);
  // Looks at the stop of one engine for an offload start or end and handles it; false (fatal)
  // only when a card group that ended cannot be removed.
  bool checkOffloadEvent(MiSession& session, const std::string& zubId, const MiMap& record,
                         StopEvents& events);
  // Offload start in group `zubId`: the card-side process is attached, if it can be. Always
  // true: a failed attach only leaves the offload unfollowed.
  bool handleVekOffloadStart(MiSession& session, const std::string& zubId);
  // Offload end: the card group `zubId` is removed; false when that fails.
  bool handleVekOffloadEnd(MiSession& session, const std::string& zubId);
  // The session's attach, then every user breakpoint copied into the new engine under its
  // number and in its state (each is deleted and inserted again in every engine). False only
  // when the attach failed.
  bool attachVekProcess(MiSession& session);
  // After an offload event: a stop record with the synthetic reason for a command other than
  // run or continue, otherwise a nested internal continue, run to completion.
  bool finishOffloadStop(MiSession& session, const StopEvents& events);
  bool reportFinalStop(MiSession& session);
};

// gdb's mode, "-exec-interrupt" while no command runs: a program that runs meanwhile can only
// run in gdb's asynchronous mode, where the command (not a signal) stops it. Every engine gets
// it; the reply is "^done", as gdb's, whatever they answer.
class ExecInterruptCmd : public SimpleMiCmd {
 public:
  explicit ExecInterruptCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

// "-exec-return": the selected frame returns at once, so nothing runs and nothing stops; the
// engine answers "^done,frame=...". The engines of the host program are all stopped already, so
// only the engine of the current thread (or the one "--thread" names) is asked, and its answer is
// the reply.
class ExecReturnCmd : public SimpleMiCmd {
 public:
  explicit ExecReturnCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};
