#include "session/thread_id_table.h"

void ThreadIdTable::toExtThreadId(const std::string& engineId, const std::string& threadId,
                                  std::string& extId) {
  auto [it, isNew] = engineToUser.try_emplace({engineId, threadId}, std::to_string(nextId));
  extId = it->second;
  if (!isNew) return;
  userToEngine.emplace(extId, it->first);
  ++nextId;
}

bool ThreadIdTable::fromExtThreadId(const std::string& extId, std::string& engineId,
                                    std::string& threadId) const {
  auto it = userToEngine.find(extId);
  if (it == userToEngine.end()) return false;
  engineId = it->second.engineId;
  threadId = it->second.threadId;
  return true;
}
