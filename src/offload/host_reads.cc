// Values read out of a stopped program by commands the session runs itself, with output muted:
// the user sees none of their replies.
#include <list>
#include <sstream>

#include "base/log.h"
#include "base/silencer.h"
#include "commands/data_cmds.h"
#include "engine/ctrl_module.h"
#include "session/mi_session.h"

namespace {

// The single element of list `key` in `record`; false, logged, when there is not exactly one.
bool onlyElement(CtrlModule& ctrl, const MiMap& record, const std::string& key,
                 const std::string& countLabel, MiRecordPtr& element) {
  std::list<MiRecordPtr> elements;
  if (!record.findList(key, elements)) {
    LOG_AT(ctrl) << "Failed to find the '" << key << "' list.";
    return false;
  }
  if (elements.size() != 1) {
    LOG_AT(ctrl) << countLabel << elements.size();
    return false;
  }
  element = elements.front();
  return true;
}

}  // namespace

bool MiSession::readMemory(const std::string& group, const std::string& address, std::string& value,
                           const std::string& wordSize, const std::string& format) {
  Silencer quiet(ctrl.muted);
  DataCmd cmd("-data-read-memory --thread-group " + group + " " + address + " " + format + " " +
              wordSize + " 1 1\n");
  if (!runCmd(cmd)) {
    LOG_AT(ctrl) << "Failed to run command.";
    return false;
  }
  // An answer without a record has no "memory" list either.
  MiMap record(true);
  cmd.getRecord(record);
  MiRecordPtr row, item;
  if (!onlyElement(ctrl, record, "memory", "Memory list:", row)) return false;
  const MiMap* rowMap = row ? row->toMiMap() : nullptr;
  if (!rowMap) {
    LOG_AT(ctrl) << "memoryRecord is not a map.";
    return false;
  }
  if (!onlyElement(ctrl, *rowMap, "data", "Data list:", item)) return false;
  const MiString* text = item ? item->toMiString() : nullptr;
  if (!text) {
    LOG_AT(ctrl) << "str is not a string.";
    return false;
  }
  std::istringstream words(text->value);
  std::string word;
  words >> word;
  value = word;
  return true;
}

bool MiSession::evaluateVariable(const std::string& group, const std::string& expression,
                                 std::string& value) {
  Silencer quiet(ctrl.muted);
  DataCmd cmd("-data-evaluate-expression --thread-group " + group + " " + expression + " \n");
  if (!runCmd(cmd)) {
    LOG_AT(ctrl) << "Failed to run command.";
    return false;
  }
  if (!cmd.getValue(value)) {
    LOG_AT(ctrl) << "Failed to retrieve the value.";
    return false;
  }
  return true;
}
