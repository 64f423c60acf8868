#pragma once
#include <map>
#include <string>

#include "commands/mi_cmd.h"

// The breakpoint commands. The user sees one breakpoint numbering; every engine holds its own
// copy of each breakpoint under its own number, and the session's BreakPointTable translates.

// Locations of a breakpoint are numbered "N.1", "N.2"... after the engine's number N: they take
// the user's number `userNumber` in place of N.
void renumberLocations(MiMap& bkpt, const std::string& engineNumber, const std::string& userNumber);

// "-break-insert": sets the breakpoint in every engine ("--thread" and "--thread-group" are
// dropped) and gives it one user number, shared by all engines' copies. The reply is the last
// accepting engine's record with the user's number in it (its locations "N.1", "N.2"... too);
// without any, the last engine error. An engine that accepted with a record that cannot be read
// has its breakpoint deleted again and counts as refusing: no engine keeps a breakpoint that
// has no user number.
class BreakInsertCmd : public SimpleMiCmd {
 public:
  // `silent` breakpoints (the offload breakpoint, copies into a newly attached engine) still use
  // up a user number, but their reply is only logged.
  BreakInsertCmd(const std::string& line, bool silent);

  bool launchCmd(MiSession& session) override;
  // A silent breakpoint leaves no trace: the engines' console and log lines about it (stock gdb
  // warns that the offload function is not defined yet) are only logged.
  bool handleResponse(MiSession& session, const std::string& zubId,
                      const std::string& line) override;
  bool replyToUser(MiSession& session) override;

  bool silent;
  // The user number of this breakpoint: fixed before launch by a creator that copies an existing
  // breakpoint, otherwise taken from the counter at the first accepting engine.
  std::string userBkpId;

 private:
  // Gives the breakpoint of engine `zubId` the user number; false when that engine's answer
  // cannot take part in the reply.
  bool recordEngineBkp(MiSession& session, const std::string& zubId);
  // Deletes, muted, the breakpoint that engine `zubId` reported in the unreadable `text`.
  void dropUnreadBkp(MiSession& session, const std::string& zubId, const std::string& text);

  // Engine id to the results part of its answer, kept until the answer is known to be readable.
  std::map<std::string, std::string> answerTexts;
};

// "-break-delete", "-break-enable", "-break-disable" act on the last number of the line only (on
// every number given in gdb's mode); the engines that hold those breakpoints get the command
// with their own numbers. The table changes at
// once, and the reply is "^done" whatever the engines answer.
class BreakDeleteCmd : public SimpleMiCmd {
 public:
  explicit BreakDeleteCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

class BreakEnableCmd : public SimpleMiCmd {
 public:
  explicit BreakEnableCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

class BreakDisableCmd : public SimpleMiCmd {
 public:
  explicit BreakDisableCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

// "-break-condition NUMBER EXPR" and "-break-after NUMBER COUNT": the first number after the
// command word is translated for each engine that holds it; the rest of the line goes unchanged.
class BreakConditionCmd : public SimpleMiCmd {
 public:
  explicit BreakConditionCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};
