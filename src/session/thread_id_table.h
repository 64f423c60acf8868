#pragma once
#include <cstdint>
#include <map>
#include <string>

// Gives every (engine, engine thread) pair one user thread id on first sight and translates
// both ways. Ids are decimal text from "1" and are never handed out twice in a session.
class ThreadIdTable {
 public:
  struct ThreadEntry {
    std::string engineId;
    std::string threadId;
    auto operator<=>(const ThreadEntry&) const = default;  // engine first, then thread
  };

  void toExtThreadId(const std::string& engineId, const std::string& threadId, std::string& extId);
  // False, with both outputs untouched, for an id this table never gave out.
  bool fromExtThreadId(const std::string& extId, std::string& engineId,
                       std::string& threadId) const;

 private:
  std::map<std::string, ThreadEntry> userToEngine;
  std::map<ThreadEntry, std::string> engineToUser;
  uint32_t nextId = 1;
};
