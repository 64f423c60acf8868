#pragma once
#include <chrono>
#include <map>
#include <set>
#include <string>

#include "commands/mi_cmd.h"
#include "mi/mi_record.h"
#include "offload/offload_events.h"

// One execution command ("-exec-run", "-exec-continue", "-exec-next", ...) across engines. The
// host engine "i1" and the card engines ("vek...") run and stop together: the command starts
// them all, the first engine that stops makes it interrupt the others (unless a card-side process
// merely exited), and only when every engine has stopped does the user get one "*stopped"
// record, carrying the command's token. Other host inferiors ("i2", ...) run on their own.
//
// The states. Every event (an engine's result, its stop, its end, the user's interrupt) updates
// the engine sets and goes through advance(); once no engine is pending or running, allStopped()
// decides how the command ends. These two hold every transition.
//   kSent      the line went out; some engines have not answered. When all have and some run,
//              "^running" is announced (once per command): kRunning.
//   kRunning   a stop other than a card process's own exit, the user's interrupt or an engine's
//              end interrupts every running engine: kStopping (from kSent too).
//   kStopping  an engine that answers "^running" late is interrupted at once.
//   kFollowingOffload  every engine stopped and some stop is an offload start or end, which is
//              followed; then a run or continue goes on as an internal "-exec-continue" (kSent
//              again), any other command ends with a synthetic offload stop.
//   kFinished  the combined stop, the engines' error or the offload stop went out; or nothing
//              was sent and the user had an error reply.
class ExecCmd : public MiCmd {
 public:
  explicit ExecCmd(const std::string& line);

  bool launchCmd(MiSession& session) override;
  // False (fatal) on a result class other than "running" or "error", or on a second result
  // from one engine other than the error of an engine that gave up its run.
  bool handleResponse(MiSession& session, const std::string& zubId,
                      const std::string& line) override;
  // Interrupts every engine still running; each reports its stop in due course. An engine still
  // to answer is interrupted as soon as it answers "^running".
  bool interruptCmd(MiSession& session) override;
  bool isFinished() const override { return state == State::kFinished; }
  bool programRuns() const override { return !runningZubIds.empty(); }
  // Interrupts again, or gives up, an engine that has not stopped in time.
  void checkTimers(MiSession& session) override;
  std::chrono::milliseconds nextTimer() const override;
  // An engine that ended counts as stopped without a record: the others are interrupted as after
  // a first stop, and the combined stop is theirs ("Internal error" when none is left).
  void zubEnded(MiSession& session, const std::string& zubId) override;

  enum class State { kSent, kRunning, kStopping, kFollowingOffload, kFinished };
  State state = State::kSent;
  // The engine whose stop record the final "*stopped" reports: the first one that stopped (a
  // card-side process's own end only while nothing else stopped), or "i1" when the host program
  // exited.
  std::string firstStoppedZubId;
  std::set<std::string> pendingZubIds;              // sent to, no result record yet
  std::set<std::string> runningZubIds;              // answered "^running", no "*stopped" yet
  std::map<std::string, std::string> errorResults;  // whole "^error" line per engine
  std::map<std::string, MiMap> stopRecords;         // per engine, thread ids in user numbering
  // When each engine was interrupted in this run. An engine hears one interrupt however many
  // stops and user interrupts come (a second one may make it drop its target), unless it has
  // not stopped after kInterruptPatience: then it is interrupted once more, and a card engine
  // still silent after that is given up.
  std::map<std::string, std::chrono::steady_clock::time_point> interruptedZubIds;
  std::set<std::string> reinterruptedZubIds;
  static constexpr std::chrono::seconds kInterruptPatience{3};
  // "^running" went to the user: once per command, however often it resumes after an offload.
  bool announced = false;

 private:
  // The transitions while engines run, after a handler has updated the engine sets.
  // `stopOthers`: a stop, an interrupt or an engine's end asks every running engine to stop.
  bool advance(MiSession& session, bool stopOthers);
  // The engine no longer counts for this command (it ended, or gave up the run): the others are
  // interrupted as after a first stop, and the combined stop is theirs.
  void forgetEngine(MiSession& session, const std::string& zubId);
  // The first stop is a card-side process's own end, which stopped nothing else.
  bool firstStopIsCardExit() const;
  // Every engine has stopped: the offloads seen in the stops are followed, then the command
  // ends with the combined stop, the engines' error or a synthetic offload stop, or resumes.
  bool allStopped(MiSession& session);
  // Offload starts are attached (a failed attach only leaves one unfollowed); card groups whose
  // process ended are removed. False (fatal) only when such a group cannot be removed.
  bool followOffloads(MiSession& session, const std::map<std::string, OffloadStop>& offloads);
  // A run or continue goes on after an offload as an internal "-exec-continue".
  bool resume(MiSession& session);
  bool replyAllErrors(MiSession& session);
  bool reportFinalStop(MiSession& session);

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
