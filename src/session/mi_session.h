#pragma once
#include <boost/shared_ptr.hpp>
#include <deque>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "base/options.h"
#include "mi/mi_record.h"
#include "session/breakpoint_table.h"
#include "session/thread_id_table.h"
#include "session/var_obj_table.h"

class CtrlModule;
class MiCmd;

using MiCmdPtr = boost::shared_ptr<MiCmd>;
using MiCmdQueue = std::deque<MiCmdPtr>;

// The one object that makes several engines look like one debugger. It holds every translation
// table, the thread-group records and the queue of user commands; its loop, on the main thread,
// is the only place where user lines become commands and where engine output is consumed.
// Commands get the session by reference and read and change the members directly.
class MiSession {
 public:
  // Only stores the two references; every table and the queue start empty.
  MiSession(CtrlModule& ctrl, Options& options);
  // Ending engines is the job of stop(), not of the destructor.
  ~MiSession();
  MiSession(const MiSession&) = delete;
  MiSession& operator=(const MiSession&) = delete;

  // Card discovery, the host engine as group "i1", then the main loop until the exit command, a
  // quit or terminate signal, or a fatal failure ends it.
  void start(const char** argv);
  // The main loop of start(), over the engines registered so far: user lines become commands,
  // each run to completion, until the exit command, a quit or terminate signal, or a fatal failure.
  void serve();
  // Interrupts every registered engine, asks it to exit and waits for it to end. Thread-group
  // records are left alone and nothing is announced.
  void stop();

  // Runs one command to completion, nested runs included: a command may run another one of its
  // own from inside its operations. False means the session must end. A nested run may be
  // given up: it then returns, unfinished, as soon as `giveUp` says so.
  bool runCmd(MiCmd& cmd, const std::function<bool()>& giveUp = {});
  // An exit command waits behind the command at the front of the queue.
  bool exitQueued() const;
  // Takes at most one user line and queues its commands; never fails.
  bool checkInputFromUser();
  // Drains every engine's output once, in id order, routing each line to the event handlers or
  // to `cmd`. False (fatal) on an engine's unexpected condition or a line `cmd` rejects.
  bool checkOutputOfZubs(MiCmd& cmd);
  void clearSigInt();
  // While no command runs: each engine whose output has ended has its last notifications
  // handled (anything else is only logged), then it is reaped and its group is gone
  // ("=thread-group-exited" for host engines).
  void checkEndedZubs();
  void handleZubEnded(const std::string& zubId);
  // Hands the three handled notification classes to their handlers; any other is dropped. In
  // gdb's mode the breakpoint notifications are handled too.
  void handleMiEvent(const std::string& zubId, const std::string& line,
                     const std::string& eventClass);

  // Turns one user line (with its "\n") into zero, one or two commands at the back of `queue`.
  // A line without a command word gets a bare prompt; "-exec-interrupt" only sets sigIntPending.
  // In the gdb-compatible mode the line is read as gdb reads it first. Always true.
  bool parseCmd(const std::string& line, MiCmdQueue& queue);

  // Notifications of an engine, rewritten into the user's numbering and passed on. Card engines
  // ("vek...") show their threads and libraries as part of group "i1" and never start or exit a
  // group of their own. In gdb's mode a thread's creation is announced even while muted.
  void handleThreadCreated(const std::string& zubId, const std::string& line,
                           const std::string& eventClass);
  // Only remembers the process id for threads whose creation does not name it (stock gdb).
  void handleThreadGroupStarted(const std::string& zubId, const std::string& line);
  void handleThreadExited(const std::string& zubId, const std::string& line,
                          const std::string& eventClass);
  void handleLibraryLoaded(const std::string& zubId, const std::string& line,
                           const std::string& eventClass);
  // gdb's mode: "=breakpoint-created/modified/deleted" in the user's numbering. A breakpoint the
  // user set in an engine's console gets its user number on sight; the offload breakpoint's
  // notifications are dropped.
  void handleBreakpointEvent(const std::string& zubId, const std::string& line,
                             const std::string& eventClass);
  // gdb's mode: the breakpoint a stop record names ("bkptno") in the user's numbering.
  void toUserBkpNumber(const std::string& zubId, MiMap& stopRecord) const;
  // Passes an engine's report of an internal failure, and the rest of it up to its prompt, on to
  // the user. Blocks one second so the engine can finish writing it.
  void handleUnexpectedCondition(const std::string& zubId, const std::string& line);
  // Sends `text` as one console-stream record, quotes and newlines escaped.
  void miConsole(const std::string& text);

  // Starts an engine: argv[0] is a placeholder that is overwritten in place with the executable
  // (ZUBC_HOST, or ZUBC_VEK when the arguments hold "rconnect"). Host engines ("i" prefix) are
  // announced to the user with a prompt; card engines ("vek") are not.
  // The notice of a host group goes without its prompt when `prompt` is false.
  bool spawnZub(const char** argv, const std::string& prefix, std::string& id, bool prompt = true);
  // Forgets the group and reaps the engine, which the caller has already made exit. Host groups
  // are announced as removed; currentZubId moves to the smallest remaining engine.
  bool removeZub(std::string id);
  // Forgets the group record of engine `id`; false when there is none. The threads a card
  // engine still had are announced as exited: its engine ended or was removed before it could
  // say so itself.
  bool eraseGroup(const std::string& id);
  // An engine that lost its target (its remote connection closed, or it gave up a target that
  // stopped answering) is of no more use: it is asked to exit and removed with its threads, and
  // `cmd` stops waiting for it.
  void dropZub(const std::string& zubId, MiCmd& cmd);
  // Reaps the engine, announces a host group with "=thread-group-" + `how` ("removed",
  // "exited") and moves currentZubId off it; the group record is the caller's business.
  void forgetZub(const std::string& id, const std::string& how);
  // removeZub for each id in order, going on after a failure; true only if all succeeded.
  bool removeZubs(const std::set<std::string>& ids);

  // The name of the host program's offload-start function (WEM_VEK_OFFLOAD_SYMBOL, read once).
  // Always true.
  static bool retrieveVekOffloadSymbol(std::string& symbol);

  // Card discovery and offload following, adapted to the offload layer. system() runs `command`
  // through the shell, appending its output to `output`; false only when the shell could not be
  // started.
  bool system(const std::string& command, std::stringstream& output);
  // Fills cardIpTable and ipCardTable from the cards that are online; problems are only logged.
  void initVekCardIpTable();
  // With every engine stopped: attaches a card engine to the card-side process that host group
  // `hostGroup` offloaded, and copies the user's breakpoints into it; false when the attach
  // failed. The user follows the steps through console lines.
  bool followOffloadStart(const std::string& hostGroup);
  // Copies every user breakpoint, muted, into each engine (a newly added one too) under its user
  // number and in its state, as an attach does for a card engine.
  void copyBreakpoints();
  // Removes the card group whose process ended; false when that fails.
  bool followOffloadEnd(const std::string& group);

  bool exitRequested = false;
  // gdb's mode: the user turned the engines' asynchronous mode on, where an interrupt is the
  // command "-exec-interrupt" (a signal only makes gdb print "Quit").
  bool engineAsync = false;
  // Engine id to its thread-group record (a top-level map: "id", "type", "vek-card", "pid",
  // "threads").
  std::map<std::string, MiMap> threadGroups;
  ThreadIdTable threadIdTable;
  BreakPointTable breakPointTable;
  VarObjTable varObjTable;
  std::map<std::string, std::string> startedPids;  // engine id -> its program's pid, as started
  std::map<std::string, std::string> cardIpTable;  // card number -> card address
  std::map<std::string, std::string> ipCardTable;  // card address -> card number
  std::vector<std::string> vekRegs;
  std::vector<std::string> userRegNames;
  std::vector<std::string> hostRegNames;
  CtrlModule& ctrl;
  Options& options;
  MiCmdQueue commandQueue;
  // The engine for commands that name no thread and no thread group.
  std::string currentZubId;
};
