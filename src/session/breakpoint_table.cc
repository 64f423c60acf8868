#include "session/breakpoint_table.h"

std::string BreakPointTable::newBkpNumber() { return std::to_string(nextNumber++); }

bool BreakPointTable::recordBkp(std::string const& engineId, std::string const& engineNumber,
                                std::string& userNumber, std::string const& command) {
  auto& table = engineBreakpoints[engineId];
  if (table.toExternal(engineNumber, userNumber)) return false;
  table.insert(userNumber, engineNumber);
  breakpointCmds[userNumber] = command;
  return true;
}

bool BreakPointTable::toEngineBkp(std::string const& engineId, std::string const& userNumber,
                                  std::string& engineNumber) const {
  auto it = engineBreakpoints.find(engineId);
  return it != engineBreakpoints.end() && it->second.toInternal(userNumber, engineNumber);
}

bool BreakPointTable::toUserBkp(std::string const& engineId, std::string const& engineNumber,
                                std::string& userNumber) const {
  auto it = engineBreakpoints.find(engineId);
  return it != engineBreakpoints.end() && it->second.toExternal(engineNumber, userNumber);
}

bool BreakPointTable::deleteBkp(std::string const& number) {
  for (auto& [engineId, table] : engineBreakpoints) table.eraseExternal(number);
  disabledBreakpoints.erase(number);
  return breakpointCmds.erase(number) > 0;
}
