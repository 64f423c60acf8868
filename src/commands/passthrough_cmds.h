#pragma once
#include <istream>
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

// "-interpreter-exec": one engine, the first answer; in the gdb-compatible mode the engine's
// console output comes with it.
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

// "info sharedlibrary": every engine's console listing reaches the user unchanged, then one
// "^done". Other subjects answer "Command not implemented" and reach no engine.
class InfoCmd : public SimpleMiCmd {
 public:
  explicit InfoCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;

  std::string infoSubject;  // the word after "info"
};

// "-zub-cond-print CONDITION TRUE-MESSAGE FALSE-MESSAGE": one engine evaluates the condition;
// the reply's "zub-cond-msg" is FALSE-MESSAGE when the value is "0" or "false", otherwise
// TRUE-MESSAGE. The arguments are the last three of the line, each a word or a quoted text that
// keeps its quotes.
class ZubCondPrintCmd : public SimpleMiCmd {
 public:
  explicit ZubCondPrintCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;

  std::string condition;
  std::string trueMessage;
  std::string falseMessage;
};

// "source FILE": every line of the file is dispatched and its commands run to completion, in
// order, inside launchCmd; each answers the user itself, and "source" ends with its own "^done".
// A sourced file may source another, up to kMaxSourceDepth files at once; a deeper "source"
// answers an error instead of recursing.
class SourceCmd : public MiCmd {
 public:
  static constexpr int kMaxSourceDepth = 8;

  explicit SourceCmd(const std::string& line) : MiCmd(line) {}

  bool launchCmd(MiSession& session) override;
  // Ignores the line: the whole file has been run by the time engines could answer.
  bool handleResponse(MiSession&, const std::string&, const std::string&) override { return true; }
  bool interruptCmd(MiSession&) override { return true; }
  bool isFinished() const override { return true; }

  std::string fileName;

 private:
  // Dispatches and runs every line of the open file; their success is not checked.
  void runLines(MiSession& session, std::istream& file);
};
