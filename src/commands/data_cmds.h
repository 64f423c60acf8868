#pragma once
#include <list>
#include <string>

#include "commands/mi_cmd.h"
#include "mi/mi_record.h"

// Commands that read data out of one engine. Register numbers need one numbering for the user:
// while any card is known, the user always sees the card architecture's register list, and host
// register numbers are translated into it and back. With no card, they pass through unchanged.

// "-data-evaluate-expression", "-data-list-changed-registers", "-data-read-memory",
// "-data-write-memory": one engine, exactly one answer. The offload attach runs it itself and
// reads the answer through the accessors.
class DataCmd : public SimpleMiCmd {
 public:
  explicit DataCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;

  // Each is true only when exactly one engine answered (with a record, for the last two).
  bool getStatus(std::string& resultClass) const;
  bool getRecord(MiMap& record) const;
  // The record's string "value".
  bool getValue(std::string& value) const;
};

// "-data-disassemble": as DataCmd, but an answer without a record is an internal error.
class DataDisassembleCmd : public SimpleMiCmd {
 public:
  explicit DataDisassembleCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

// "-data-list-register-names": always asked of the host engine "i1", whatever group is named.
// While cards are known, the first answer fixes the host's own numbering and the user gets the
// card architecture's names instead.
class DataListRegisterNamesCmd : public SimpleMiCmd {
 public:
  explicit DataListRegisterNamesCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;
};

// "-data-list-register-values --thread N FMT [REGS]": only with "--thread". While cards are
// known, requested numbers are translated for the thread's engine and the answer back into the
// user's numbering; registers the engine does not have read "<undefined>".
class DataListRegisterValuesCmd : public SimpleMiCmd {
 public:
  explicit DataListRegisterValuesCmd(const std::string& line) : SimpleMiCmd(line) {}
  bool launchCmd(MiSession& session) override;
  bool replyToUser(MiSession& session) override;

 private:
  // Puts the line's register numbers into the engine's numbering; false when the command has
  // already answered (an error, or every register "<undefined>" without asking the engine).
  bool toEngineLine(MiSession& session, const std::string& zubId, std::string& line);
  // Puts `requested` into the engine's numbering in `engineRegs`; false when the command has
  // already answered.
  bool toEngineRegs(MiSession& session, const std::string& zubId,
                    const std::list<unsigned int>& requested, std::list<unsigned int>& engineRegs);
  // Rebuilds the answer's "register-values" in the user's numbering; false when the command
  // has already answered.
  bool toUserRegs(MiSession& session, const std::string& zubId);
};
