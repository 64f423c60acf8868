// Values read out of a stopped program by commands run through the port with output muted: the
// user sees none of their replies.
#include <list>
#include <sstream>

#include "base/log.h"
#include "commands/data_cmds.h"
#include "offload/offload_follower.h"

namespace {

// The single element of list `key` in `record`; false, logged, when there is not exactly one.
bool onlyElement(std::ostream& log, const MiMap& record, const std::string& key,
                 const std::string& countLabel, MiRecordPtr& element) {
  std::list<MiRecordPtr> elements;
  if (!record.findList(key, elements)) {
    LOG_TO(log) << "Failed to find the '" << key << "' list.";
    return false;
  }
  if (elements.size() != 1) {
    LOG_TO(log) << countLabel << elements.size();
    return false;
  }
  element = elements.front();
  return true;
}

}  // namespace

bool OffloadFollower::readMemory(const std::string& group, const std::string& address,
                                 std::string& value, const std::string& wordSize,
                                 const std::string& format) {
  std::ostream& log = port.log();
  DataCmd cmd("-data-read-memory --thread-group " + group + " " + address + " " + format + " " +
              wordSize + " 1 1\n");
  if (!port.runMuted(cmd)) {
    LOG_TO(log) << "Failed to run command.";
    return false;
  }
  // An answer without a record has no "memory" list either.
  MiMap record(true);
  cmd.getRecord(record);
  MiRecordPtr row, item;
  if (!onlyElement(log, record, "memory", "Memory list:", row)) return false;
  const MiMap* rowMap = row ? row->toMiMap() : nullptr;
  if (!rowMap) {
    LOG_TO(log) << "memoryRecord is not a map.";
    return false;
  }
  if (!onlyElement(log, *rowMap, "data", "Data list:", item)) return false;
  const MiString* text = item ? item->toMiString() : nullptr;
  if (!text) {
    LOG_TO(log) << "str is not a string.";
    return false;
  }
  std::istringstream words(text->value);
  std::string word;
  words >> word;
  value = word;
  return true;
}

bool OffloadFollower::evaluateVariable(const std::string& group, const std::string& expression,
                                       std::string& value) {
  DataCmd cmd("-data-evaluate-expression --thread-group " + group + " " + expression + " \n");
  if (!port.runMuted(cmd)) {
    LOG_TO(port.log()) << "Failed to run command.";
    return false;
  }
  if (!cmd.getValue(value)) {
    LOG_TO(port.log()) << "Failed to retrieve the value.";
    return false;
  }
  return true;
}
