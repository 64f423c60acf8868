// The attach of a card-side process: a new card engine connects to the card's debug server and
// attaches to the process, as a thread group of its own. The internal commands run muted; the
// user follows the steps through console lines only.
#include <cstdlib>

#include "base/log.h"
#include "commands/inferior_cmds.h"
#include "commands/passthrough_cmds.h"
#include "offload/offload_follower.h"

bool OffloadFollower::followOffloadStart(const std::string& hostGroup) {
  std::string group;
  if (!attachVekProcess(hostGroup, group)) {
    LOG_TO(port.log()) << "Failed to attach the VEK process";
    return false;
  }
  copyBreakpoints();
  return true;
}

bool OffloadFollower::followOffloadEnd(const std::string& group) {
  LOG_TO(port.log()) << group << " exited.";
  if (port.removeEngine(group)) return true;
  LOG_TO(port.log()) << "Failed to remove " << group;
  return false;
}

bool OffloadFollower::attachVekProcess(const std::string& hostGroup, std::string& group) {
  port.console("Attaching VEK process...\n");
  VekProcess process;
  if (!findVekProcess(hostGroup, process)) return false;
  std::string vekGroup;
  if (!startVekEngine(process, vekGroup)) {
    // The only step without a line of its own in the steps above; framed like them.
    port.console("Failed to spawn Zub.\n");
    return false;
  }
  setVekSolibSearchPath(process, vekGroup);
  if (!attachVekEngine(process, vekGroup)) return false;
  group = vekGroup;
  return true;
}

bool OffloadFollower::findVekProcess(const std::string& hostGroup, VekProcess& process) {
  if (!retrieveVekCardNumber(hostGroup, process.cardId)) {
    LOG_TO(port.log()) << "Failed to retrieve VEK card number";
    port.console("Failed to retrieve VEK card number.\n");
    return false;
  }
  port.console("VEK card number is " + process.cardId + ".\n");
  process.node = std::to_string(std::strtoul(process.cardId.c_str(), nullptr, 10) + 1);
  if (!retrieveVekPid(hostGroup, process.pid)) {
    port.console("Failed to retrieve VEK pid.\n");
    return false;
  }
  port.console("VEK Pid is " + process.pid + ".\n");
  std::string tempDir;
  retrieveVekTempDir(process.node, process.pid, tempDir);
  if (!retrieveVekLocalFile(tempDir, process.localFile)) {
    port.console("Failed to retrieve VEK local file.\n");
    return false;
  }
  port.console("VEK local file is \"" + process.localFile + "\".\n");
  // The card table is keyed by the card id, not by the node.
  auto card = port.cardAddresses().find(process.cardId);
  if (card == port.cardAddresses().end()) {
    port.console("Failed to retrieve VEK card address.\n");
    return false;
  }
  process.address = card->second;
  port.console("VEK card address is \"" + process.address + "\".\n");
  return true;
}

bool OffloadFollower::startVekEngine(const VekProcess& process, std::string& group) {
  const std::string card = "-wem-cardid=" + process.cardId;
  const std::string connect = "-rconnect=tcpip:" + process.address + ":2000";
  const char* argv[] = {"",     "-wem-launch=1", card.c_str(), "-i=mi",
                        "-tco", connect.c_str(), nullptr};
  return port.startCardEngine(argv, group);
}

void OffloadFollower::setVekSolibSearchPath(const VekProcess& process, const std::string& group) {
  std::string path;
  retrieveVekSolibSearchPath(process.node, process.pid, path);
  GdbSetUnsetCmd setPath("-gdb-set solib-search-path --thread-group " + group + " " + path + "\n");
  if (!port.runMuted(setPath)) LOG_TO(port.log()) << "Failed to set solib-search path.";
}

bool OffloadFollower::attachVekEngine(const VekProcess& process, const std::string& group) {
  TargetAttachCmd attach("attach --thread-group " + group + " " + process.pid + " " +
                         process.localFile + "\n");
  const bool attached = port.runMuted(attach) && attach.resultClass == "done";
  if (!attached) port.removeEngine(group);
  port.console(attached ? "VEK process is attached.\n" : "Attach command failed.\n");
  return attached;
}
