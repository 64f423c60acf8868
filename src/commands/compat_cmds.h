#pragma once
#include <string>

#include "commands/mi_cmd.h"
#include "commands/passthrough_cmds.h"
#include "session/mi_session.h"

// Commands that common MI clients send and only the gdb-compatible mode (WEM_COMPAT=gdb) serves.
// Each goes to the engine the usual rules choose and answers in the user's numbering.

// Queues the commands for `line` when the mode is on and `word` is one of its own commands, and
// says so; false leaves the queue untouched for the ordinary dispatch. The mode's words are
// looked at before the ordinary ones.
bool parseCompatCmd(const std::string& word, const std::string& line, MiCmdQueue& queue);

// "-break-list": every engine lists its breakpoints; the reply is one table in user numbers,
// ordered by them. A breakpoint that several engines hold is one row, the first engine's (by
// id), with every engine's hits in "times". Rows without a user number (the offload breakpoint,
// or one made behind the program's back) are left out.
class BreakListCmd : public SimpleMiCmd {
 public:
  explicit BreakListCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

// "-break-watch": one engine, as the single-engine commands choose it, since the expression is
// read in that engine's frame. An accepted watchpoint gets the next user number. It is not
// copied into engines that start later: the frame it watches exists only where it was set.
class BreakWatchCmd : public SimpleMiCmd {
 public:
  explicit BreakWatchCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

// "-thread-select ID": the thread's engine selects its own thread and becomes current; the
// reply's "new-thread-id" is the user's id.
class ThreadSelectCmd : public SimpleMiCmd {
 public:
  explicit ThreadSelectCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

// Questions one engine answers, as the single-engine commands choose it ("-gdb-version",
// "-gdb-show", "-file-list-exec-source-file(s)", "-symbol-info-functions"...). Its console
// output reaches the user, as gdb prints its version that way.
class EngineQueryCmd : public SimpleMiCmd {
 public:
  explicit EngineQueryCmd(const std::string& line) : SimpleMiCmd(line) {
    forwardConsoleOutput = true;
  }
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

// "-list-features": the current engine's list, keeping only the features the program serves.
class CompatListFeaturesCmd : public ListFeaturesCmd {
 public:
  explicit CompatListFeaturesCmd(const std::string& line) : ListFeaturesCmd(line) {}
  bool replyToUser(MiSession& session) override;
};
