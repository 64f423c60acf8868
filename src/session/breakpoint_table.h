#pragma once
#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "session/conversion_table.h"

// One breakpoint numbering for the user over every engine's own. User numbers are decimal text
// from "1", one per breakpoint however many engines hold it, and are never handed out twice.
// Every map is keyed by text, so numbers order as strings ("10" before "2").
struct BreakPointTable {
  // The user number the next new breakpoint receives.
  uint32_t nextNumber = 1;
  // Engine id to that engine's table: forward = user number to engine number, backward = engine
  // number to user number. An engine without a forward entry does not hold that breakpoint.
  std::map<std::string, ConversionTable<std::string, std::string>> engineBreakpoints;
  // User number to the -break-insert line that created it (to copy it into later engines).
  std::map<std::string, std::string> breakpointCmds;
  // User numbers the user has disabled.
  std::set<std::string> disabledBreakpoints;

  // Hands out the next user number.
  std::string newBkpNumber();

  // Records that `engineId` holds user breakpoint `userNumber` as `engineNumber`, created by
  // `command`. If that engine number is already recorded, nothing changes, `userNumber` becomes
  // the user number recorded for it and the result is false.
  bool recordBkp(std::string const& engineId, std::string const& engineNumber,
                 std::string& userNumber, std::string const& command);

  // The engine's number for a user number; false, `engineNumber` untouched, when that engine
  // does not hold it.
  bool toEngineBkp(std::string const& engineId, std::string const& userNumber,
                   std::string& engineNumber) const;

  // The user number of an engine's breakpoint; false, `userNumber` untouched, for one the table
  // does not know.
  bool toUserBkp(std::string const& engineId, std::string const& engineNumber,
                 std::string& userNumber) const;

  // Forgets user breakpoint `number` in every engine's table (the tables themselves stay), in
  // `disabledBreakpoints` and in `breakpointCmds`; true if `breakpointCmds` held it.
  bool deleteBkp(std::string const& number);
};
