#pragma once
#include <string>

#include "commands/mi_cmd.h"

// The variable-object commands. A variable object lives in one engine and keeps the same name
// for the user and for that engine; the session's VarObjTable records the owner of every root
// name. Children ("root.field") are never registered and go where their root lives.

// "-var-create": chooses the engine ("--thread", else "--thread-group", else the current one),
// registers the name (inventing "varN" for "-") before the engine answers, and frees it again
// when the engine refuses the create.
class VarCreateCmd : public SimpleMiCmd {
 public:
  explicit VarCreateCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;

  std::string varObjName;  // the name this command registered
};

// "-var-assign", "-var-evaluate-expression", "-var-info-...", "-var-list-children",
// "-var-set-format", "-var-show-attributes": the line goes unchanged to the engine that owns the
// root of the name; thread and thread-group options are not looked at.
class VarCmd : public SimpleMiCmd {
 public:
  explicit VarCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

// "-var-delete": as VarCmd; the name is forgotten once the line is sent, whatever the engine
// answers.
class VarDeleteCmd : public SimpleMiCmd {
 public:
  explicit VarDeleteCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

// "-var-update": as VarCmd, but "*" (every variable object at once) is refused. In gdb's mode
// "*" goes to every engine and the reply joins their changelists (the first error when none
// answered "^done").
class VarUpdateCmd : public SimpleMiCmd {
 public:
  explicit VarUpdateCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;

  bool everyObject = false;
};
