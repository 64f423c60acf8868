#pragma once
#include <string>

#include "commands/mi_cmd.h"

// The thread and thread-group queries present the host program and its card-side processes as
// one program: the top-level group list shows host groups only, and the threads of group "i1"
// include every card engine's threads. Thread ids in the answers are already the user's.

// "-thread-info ID": the thread's engine is asked about its own thread; the reply's tuples carry
// in "core" where the thread runs, "local" or "vek" and the card number. Without an id the
// command is not offered, except in gdb's mode: there every engine lists its threads, and the
// reply holds them all, in user ids, with the current engine's "current-thread-id".
class ThreadInfoCmd : public SimpleMiCmd {
 public:
  explicit ThreadInfoCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;

  bool allThreads = false;
};

// "-list-thread-groups [--available] [GROUP]": without a group the session's own table answers,
// with "--available" every engine's groups are merged, and a named group answers with its
// threads (for "i1", the host's and every card engine's).
class ListThreadGroupsCmd : public SimpleMiCmd {
 public:
  explicit ListThreadGroupsCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;

  bool available = false;  // the line carries "--available"

 private:
  // Answers the top-level list from the session's thread-group table.
  void replyHostGroups(MiSession& session);
};
