// The attach of a card-side process: a new card engine connects to the card's debug server and
// attaches to the process, as a thread group of its own. The internal commands run muted; the
// user follows the steps through console lines only.
#include <cstdlib>

#include "base/log.h"
#include "base/silencer.h"
#include "commands/inferior_cmds.h"
#include "commands/passthrough_cmds.h"
#include "engine/ctrl_module.h"
#include "session/mi_session.h"

namespace {

// The card-side process as the host program names it.
struct VekProcess {
  std::string cardId;
  std::string node;  // card id + 1, as the card's directories are numbered
  std::string pid;
  std::string localFile;
  std::string address;
};

// Reads and reports, step by step, everything the attach needs; stops at the first step that
// fails, with its console line, before anything was started.
bool findVekProcess(MiSession& session, VekProcess& process) {
  if (!session.retrieveVekCardNumber(process.cardId)) {
    LOG_AT(session.ctrl) << "Failed to retrieve VEK card number";
    session.miConsole("Failed to retrieve VEK card number.\n");
    return false;
  }
  session.miConsole("VEK card number is " + process.cardId + ".\n");
  process.node = std::to_string(std::strtoul(process.cardId.c_str(), nullptr, 10) + 1);
  if (!session.retrieveVekPid(process.pid)) {
    session.miConsole("Failed to retrieve VEK pid.\n");
    return false;
  }
  session.miConsole("VEK Pid is " + process.pid + ".\n");
  std::string tempDir;
  session.retrieveVekTempDir(process.node, process.pid, tempDir);
  if (!session.retrieveVekLocalFile(tempDir, process.localFile)) {
    session.miConsole("Failed to retrieve VEK local file.\n");
    return false;
  }
  session.miConsole("VEK local file is \"" + process.localFile + "\".\n");
  // The card table is keyed by the card id, not by the node.
  auto card = session.cardIpTable.find(process.cardId);
  if (card == session.cardIpTable.end()) {
    session.miConsole("Failed to retrieve VEK card address.\n");
    return false;
  }
  process.address = card->second;
  session.miConsole("VEK card address is \"" + process.address + "\".\n");
  return true;
}

// A card engine for the card, connected to its debug server; not announced to the user.
bool startVekEngine(MiSession& session, const VekProcess& process, std::string& group) {
  const std::string card = "-wem-cardid=" + process.cardId;
  const std::string connect = "-rconnect=tcpip:" + process.address + ":2000";
  const char* argv[] = {"",     "-wem-launch=1", card.c_str(), "-i=mi",
                        "-tco", connect.c_str(), nullptr};
  return session.spawnZub(argv, "vek", group);
}

// Where the card engine finds the process's libraries. A refusal is logged and the attach goes
// on: the libraries are then merely unknown.
void setVekSolibSearchPath(MiSession& session, const VekProcess& process,
                           const std::string& group) {
  std::string path;
  session.retrieveVekSolibSearchPath(process.node, process.pid, path);
  Silencer quiet(session.ctrl.muted);
  GdbSetUnsetCmd setPath("-gdb-set solib-search-path --thread-group " + group + " " + path + "\n");
  if (!session.runCmd(setPath)) LOG_AT(session.ctrl) << "Failed to set solib-search path.";
}

// Attaches the card engine to the process; a refused attach removes the card group again.
bool attachVekEngine(MiSession& session, const VekProcess& process, const std::string& group) {
  bool attached = false;
  {
    Silencer quiet(session.ctrl.muted);
    TargetAttachCmd attach("attach --thread-group " + group + " " + process.pid + " " +
                           process.localFile + "\n");
    attached = session.runCmd(attach) && attach.resultClass == "done";
    if (!attached) {
      RemoveInferiorCmd remove("-remove-inferior " + group + "\n");
      session.runCmd(remove);
    }
  }
  session.miConsole(attached ? "VEK process is attached.\n" : "Attach command failed.\n");
  return attached;
}

}  // namespace

bool MiSession::attachVekProcess(std::string& group) {
  miConsole("Attaching VEK process...\n");
  VekProcess process;
  if (!findVekProcess(*this, process)) return false;
  std::string vekGroup;
  if (!startVekEngine(*this, process, vekGroup)) {
    // The only step without a line of its own in the steps above; framed like them.
    miConsole("Failed to spawn Zub.\n");
    return false;
  }
  setVekSolibSearchPath(*this, process, vekGroup);
  if (!attachVekEngine(*this, process, vekGroup)) return false;
  group = vekGroup;
  return true;
}
