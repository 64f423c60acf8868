#pragma once
#include <string>

#include "commands/mi_cmd.h"

// Commands that need no translation beyond the choice of engine: forwarded, and the engine's
// answer passed back with thread ids in the user's numbering.

// "-environment-directory", "-environment-cd", "-environment-path", "-environment-pwd",
// "-exec-args": one engine, exactly one answer.
class EnvironmentCmd : public SimpleMiCmd {
 public:
  explicit EnvironmentCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

// "-stack-info-depth", "-stack-list-arguments", "-stack-list-frames", "-stack-list-locals".
class StackCmd : public SimpleMiCmd {
 public:
  explicit StackCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

// "-inferior-tty-set": one engine, the first answer.
class InferiorTtySetCmd : public SimpleMiCmd {
 public:
  explicit InferiorTtySetCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

// "-interpreter-exec": one engine, the first answer.
class InterpreterExecCmd : public SimpleMiCmd {
 public:
  explicit InterpreterExecCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

// "-list-features": always the current engine, whatever options the line carries.
class ListFeaturesCmd : public SimpleMiCmd {
 public:
  explicit ListFeaturesCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

// "-gdb-set", "-gdb-unset", "set", "unset": every engine (or the group named by
// "--thread-group"); the first engine's answer is the reply.
class GdbSetUnsetCmd : public SimpleMiCmd {
 public:
  explicit GdbSetUnsetCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

// "-set-serialize-execution": every engine; the first engine's error wins over successes.
class SetSerializeExecutionCmd : public SimpleMiCmd {
 public:
  explicit SetSerializeExecutionCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};
