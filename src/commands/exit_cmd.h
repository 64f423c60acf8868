#pragma once
#include <string>

#include "commands/mi_cmd.h"

// "-gdb-exit" and "quit": every engine gets the line; once all have answered (or ended: one that
// does neither within the controller's grace period is killed) they are removed, "^exit" (no
// prompt) is sent and the session ends after this command.
class GdbExitCmd : public SimpleMiCmd {
 public:
  explicit GdbExitCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
  // "quit" to stock gdb ends it without a result record: its end counts as its answer.
  bool endsZubs() const override { return true; }
};
