#include "base/diagnostics.h"
#include "base/engine_id.h"
#include "base/env_var.h"
#include "base/log.h"
#include "commands/mi_cmd.h"
#include "engine/ctrl_module.h"
#include "match/output_matchers.h"
#include "session/mi_session.h"

bool MiSession::spawnZub(const char** argv, const std::string& prefix, std::string& id,
                         bool prompt) {
  static const EnvVar hostEngine("ZUBC_HOST", "");
  static const EnvVar cardEngine("ZUBC_VEK", "");
  if (argv[0] == nullptr) {
    LOG_AT(ctrl) << "argv[0] is NULL.";
    return false;
  }
  Options zubOptions;
  parseOptions(argv, zubOptions, ctrl.log);
  auto rconnect = zubOptions.find("rconnect");
  const bool toCard = rconnect != zubOptions.end();
  if (!toCard && hostEngine.value().empty()) {
    LOG_AT(ctrl) << "ZUBC_HOST is not defined.";
    writeDiagnostic(ctrl.log, "Error: ZUBC_HOST is not defined.");
    return false;
  }
  if (toCard && cardEngine.value().empty()) {
    LOG_AT(ctrl) << "ZUBC_VEK is not defined.";
    return false;
  }
  const std::string& path = toCard ? cardEngine.value() : hostEngine.value();
  argv[0] = path.c_str();  // the static value outlives every engine
  LOG_AT(ctrl) << "ZUBC: " << path;
  if (!ctrl.spawnZub(path.c_str(), argv, prefix, id)) {
    LOG_AT(ctrl) << "Failed to spawn zub.";
    return false;
  }
  MiMap& group = threadGroups.try_emplace(id, true).first->second;
  group.topLevel = true;
  group.setString("id", id);
  group.setString("type", "process");
  std::string transport, address, port;
  if (toCard && matchRconnectValue(rconnect->second, transport, address, port)) {
    auto card = ipCardTable.find(address);
    if (card != ipCardTable.end()) group.setString("vek-card", card->second);
  }
  // Card engines are announced, if at all, by the attach that started them.
  if (prefix != kCardEnginePrefix) {
    ctrl.sendToUser("=thread-group-added,id=\"" + id + "\"\n");
    if (prompt) sendPrompt(ctrl);
  }
  return true;
}

bool MiSession::eraseGroup(const std::string& id) {
  auto group = threadGroups.find(id);
  if (group == threadGroups.end()) return false;
  std::list<MiRecordPtr> threads;
  if (isCardEngine(id) && group->second.findList("threads", threads)) {
    for (const MiRecordPtr& thread : threads) {
      std::string userThreadId;
      if (thread->toMiMap() && thread->toMiMap()->findString("id", userThreadId))
        ctrl.sendToUser("=thread-exited,id=\"" + userThreadId + "\",group-id=\"" + kHostEngineId +
                        "\"\n");
    }
  }
  threadGroups.erase(group);
  return true;
}

bool MiSession::removeZub(std::string id) {
  if (!eraseGroup(id)) {
    LOG_BLANK_AT(ctrl) << "Failed to find thread-group " << id;
    return false;
  }
  forgetZub(id, "removed");
  LOG_BLANK_AT(ctrl) << id << " removed.";
  return true;
}

void MiSession::forgetZub(const std::string& id, const std::string& how) {
  ctrl.removeZub(id);
  if (!isCardEngine(id)) ctrl.sendToUser("=thread-group-" + how + ",id=\"" + id + "\"\n");
  if (id == currentZubId) {
    std::set<std::string> remaining;
    ctrl.getZubIds(remaining);
    currentZubId = remaining.empty() ? "" : *remaining.begin();
  }
}

bool MiSession::removeZubs(const std::set<std::string>& ids) {
  bool allRemoved = true;
  for (const std::string& id : ids) allRemoved = removeZub(id) && allRemoved;
  return allRemoved;
}
