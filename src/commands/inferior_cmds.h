#pragma once
#include <set>
#include <string>

#include "commands/mi_cmd.h"

// The commands that change which programs and processes are debugged. Every host inferior is
// an engine of its own, shown to the user as the thread group named by its engine id.

// "-add-inferior": starts a further host engine ("i2", "i3", ...) and makes it current. The user
// learns of it only through the group's "=thread-group-added" notice and prompt; a failed start
// answers "Internal error". In gdb's mode the engine gets a copy of every user breakpoint and the
// command answers as gdb does ("^done,inferior=" the group). Finished within launchCmd.
class AddInferiorCmd : public MiCmd {
 public:
  explicit AddInferiorCmd(const std::string& line) : MiCmd(line) {}

  bool launchCmd(MiSession& session) override;
  // Only logs: the command is finished before any engine line can reach it.
  bool handleResponse(MiSession& session, const std::string& zubId,
                      const std::string& line) override;
  bool interruptCmd(MiSession&) override { return true; }
  bool isFinished() const override { return true; }

 private:
  void answerAsGdb(MiSession& session, const std::string& zubId);
};

// "-remove-inferior GROUP": the group's engine is told to exit; once it has answered "^exit" the
// group is removed (and announced) and the command answers "^done". Any other answer leaves
// the group in place and answers "Internal error". The id must be followed by white space.
class RemoveInferiorCmd : public SimpleMiCmd {
 public:
  explicit RemoveInferiorCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
  bool endsZubs() const override { return true; }
};

// "-target-attach": to the group named by "--thread-group" (the option removed) or else, line
// unchanged, to the current engine. The engine's result goes to the user with thread ids in the
// user's numbering, as does a stop record that arrives while the command waits. Also run, muted,
// by the program itself to attach a card engine: `resultClass` "done" then means success.
class TargetAttachCmd : public MiCmd {
 public:
  explicit TargetAttachCmd(const std::string& line) : MiCmd(line) {}

  bool launchCmd(MiSession& session) override;
  // Always true: a record it cannot read is answered "Internal error".
  bool handleResponse(MiSession& session, const std::string& zubId,
                      const std::string& line) override;
  // Signals SIGINT to the engine still attaching; the command keeps waiting for its result.
  bool interruptCmd(MiSession& session) override;
  bool isFinished() const override { return pendingZubIds.empty(); }
  // The attaching engine died without a result: "Internal error", and no result class.
  void zubEnded(MiSession& session, const std::string& zubId) override;

  std::string resultClass;  // class word of the last result record taken
  std::set<std::string> pendingZubIds;

 private:
  // The record of `line` (a map) in the user's numbering; false, logged, when unreadable.
  bool translateRecord(MiSession& session, const std::string& zubId, const std::string& line,
                       MiRecordPtr& record);
};

// "-target-detach": one engine, as the single-engine commands choose it. On "^done" the group
// keeps its engine but loses its "pid" and "threads", and "=thread-group-exited" comes before the
// engine's answer.
class TargetDetachCmd : public SimpleMiCmd {
 public:
  explicit TargetDetachCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

// "-file-exec-and-symbols": one engine; its answer is the reply.
class FileExecAndSymbolsCmd : public SimpleMiCmd {
 public:
  explicit FileExecAndSymbolsCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};
