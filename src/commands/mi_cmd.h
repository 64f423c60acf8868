#pragma once
#include <chrono>
#include <map>
#include <set>
#include <string>

#include "mi/mi_record.h"

class CtrlModule;
class MiSession;

// Sends the prompt "(gdb)\n" ("(gdb) \n" in the gdb-compatible mode) to the user: the one place
// it is written. Every reply record to the
// user is followed by it as a separate piece of text; only "^exit" and "*stopped" records go
// without one.
void sendPrompt(CtrlModule& ctrl);

// One user command line. The session runs the command at the front of its queue: launchCmd,
// then, until isFinished, engine lines go to handleResponse and a user interrupt to
// interruptCmd. launchCmd or handleResponse returning false is fatal and ends the session;
// user-level failures are error replies instead.
class MiCmd {
 public:
  // Takes the token, the command word and the "--thread"/"--thread-group" values from `line`.
  explicit MiCmd(const std::string& line);

  virtual bool launchCmd(MiSession& session) = 0;
  virtual bool handleResponse(MiSession& session, const std::string& zubId,
                              const std::string& line) = 0;
  virtual bool interruptCmd(MiSession& session) = 0;
  virtual bool isFinished() const = 0;
  // Engine `zubId` has ended (its output closed) and is gone: the command stops waiting for it
  // and finishes as the engines that are left allow.
  virtual void zubEnded(MiSession& session, const std::string& zubId) {
    (void)session;
    (void)zubId;
  }
  // Steps a waiting command takes on time: the session calls checkTimers after each look at the
  // engines, and sleeps no longer than nextTimer says (negative: no limit).
  virtual void checkTimers(MiSession& session) { (void)session; }
  virtual std::chrono::milliseconds nextTimer() const { return std::chrono::milliseconds(-1); }
  // The program runs under this command: it waits for a stop.
  virtual bool programRuns() const { return false; }
  // The command itself ends engines ("-gdb-exit"): their end is its business, not a death to
  // report.
  virtual bool endsZubs() const { return false; }
  virtual ~MiCmd() = default;

  // The token (leading digits), possibly empty; every reply to the user starts with it.
  const std::string& cmdId() const { return cmdId_; }

  // Sends the token, `record` and "\n" as one piece, then the prompt.
  void reply(MiSession& session, const std::string& record);
  // As reply, with `resultClass` ("^done", "^error", ...) followed by "," and the printed
  // `results`; a map without entries adds nothing, not even the comma.
  void replyWith(MiSession& session, const std::string& resultClass, const MiMap& results);

  std::string cmdText;        // the whole line, "\n" included
  std::string cmdName;        // the command word, such as "-exec-run" or "info"
  std::string threadId;       // user thread id after "--thread", or empty
  std::string threadGroupId;  // engine id after "--thread-group", or empty

 protected:
  // The engine and engine thread of user thread `userThreadId`. False, with the invalid-thread
  // error already sent to the user, for an id the session never gave out.
  bool findThread(MiSession& session, const std::string& userThreadId, std::string& zubId,
                  std::string& engineThreadId);

  std::string cmdId_;
};

// A command forwarded to one or more engines whose result records are collected; the reply is
// written once, by replyToUser, when the last engine it waits for has answered.
class SimpleMiCmd : public MiCmd {
 public:
  explicit SimpleMiCmd(const std::string& line);

  // Always true: lines that do not belong to this command are logged and dropped.
  bool handleResponse(MiSession& session, const std::string& zubId,
                      const std::string& line) override;
  // Signals SIGINT to every engine still pending; the command keeps waiting for their results.
  bool interruptCmd(MiSession& session) override;
  bool isFinished() const override { return pendingZubIds.empty(); }
  // The reply comes when the ended engine was the last one it waited for.
  void zubEnded(MiSession& session, const std::string& zubId) override;
  virtual bool replyToUser(MiSession& session) = 0;

  bool forwardConsoleOutput = false;
  std::set<std::string> pendingZubIds;
  std::map<std::string, MiMap> results;              // engine id -> its results part
  std::map<std::string, std::string> resultClasses;  // engine id -> "done", "error", ...

 protected:
  // Launch rule for commands that address one engine: "--thread" (translated into the engine's
  // own thread id; the engine becomes current) wins over "--thread-group" (stripped), and with
  // neither the line goes unchanged to the current engine. Unknown ids get error replies. False
  // only when the send for a known thread fails.
  bool sendToOneEngine(MiSession& session);
  // Launch rule for broadcasts: to the group named by "--thread-group" (stripped), else the line
  // unchanged to every live engine; with no engine at all "^done" is answered at once. False
  // when the broadcast cannot be queued.
  bool sendToAllEngines(MiSession& session);
  // Sends `text` to every live engine and waits for all of them; `pendingZubIds` stays empty
  // when there is none. False when the broadcast cannot be queued.
  bool sendToEveryEngine(MiSession& session, const std::string& text);
  // Sends `text` to engine `zubId` and waits for it, or answers the "Invalid thread-group: "
  // error naming `zubId` when there is no such engine.
  void sendToGroup(MiSession& session, const std::string& zubId, const std::string& text);
  // replyWith the results engine `zubId` answered with, or with none when it sent no record.
  void replyWithResultsOf(MiSession& session, const std::string& resultClass,
                          const std::string& zubId);
  // Reply rule: the first engine's class and results, then the prompt. "Internal error" when no
  // engine answered, or, with `exactlyOne`, when not exactly one did.
  bool replyFromOneEngine(MiSession& session, bool exactlyOne);
};

// A command word the program does not know: answered at once, "^done" (or "^error") with the
// message "Command is not implemented.", or, in the gdb-compatible mode, with gdb's own error.
class NotImplementedCmd : public MiCmd {
 public:
  NotImplementedCmd(const std::string& line, bool replyDone);

  bool launchCmd(MiSession& session) override;
  bool handleResponse(MiSession& session, const std::string& zubId,
                      const std::string& line) override;
  bool interruptCmd(MiSession& session) override;
  bool isFinished() const override { return true; }

  bool replyDone;
};
