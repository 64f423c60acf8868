#pragma once
#include <string>

#include "offload/offload_port.h"

// Following an offload, over the session's port. At offload start, with every engine stopped:
//   1. the card id and the card-side pid are read out of the host group that stopped, the
//      executable's name out of "i1", and the card's address out of the card table; the user
//      follows each step through a console line ("Attaching VEK process...", "VEK Pid is ...");
//   2. a card engine starts, connected to the card's debug server;
//   3. it is told where the process's libraries are on the host;
//   4. it attaches to the process (a refused attach removes it again);
//   5. every user breakpoint is copied into it, under its user number and in its state.
// At offload end, the card group of the process that ended is removed.
class OffloadFollower {
 public:
  explicit OffloadFollower(OffloadPort& port) : port(port) {}

  // Steps 1 to 5 for the offload that `hostGroup` stopped at. False when the attach failed: the
  // offload is then not followed and nothing of it is left running.
  bool followOffloadStart(const std::string& hostGroup);
  // False when the group cannot be removed.
  bool followOffloadEnd(const std::string& group);

  // Steps 1 to 4; on success `group` is the new card group.
  bool attachVekProcess(const std::string& hostGroup, std::string& group);
  // Step 5. Each breakpoint is deleted and inserted again everywhere, and disabled again if the
  // user had disabled it; one that cannot be copied is logged and the others are still copied.
  void copyBreakpoints();

  // The reads of step 1, through the engine of `group` with output muted. One word of target
  // memory: the first word of the single data item read at `address`.
  bool readMemory(const std::string& group, const std::string& address, std::string& value,
                  const std::string& wordSize, const std::string& format);
  // The value of `expression` as the MI string holds it (still escaped).
  bool evaluateVariable(const std::string& group, const std::string& expression,
                        std::string& value);

  // What step 1 reads, each expression or template taken from the environment once.
  bool retrieveVekCardNumber(const std::string& hostGroup, std::string& id);
  bool retrieveVekPid(const std::string& hostGroup, std::string& pid);
  bool retrieveVekTempDir(const std::string& node, const std::string& pid, std::string& dir);
  bool retrieveVekLocalFile(const std::string& dir, std::string& file);
  bool retrieveVekSolibSearchPath(const std::string& node, const std::string& pid,
                                  std::string& path);

 private:
  // The card-side process as the host program names it.
  struct VekProcess {
    std::string cardId;
    std::string node;  // card id + 1, as the card's directories are numbered
    std::string pid;
    std::string localFile;
    std::string address;
  };

  // Step 1: stops at the first read that fails, with its console line, before anything started.
  bool findVekProcess(const std::string& hostGroup, VekProcess& process);
  // Step 2: the engine is not announced to the user.
  bool startVekEngine(const VekProcess& process, std::string& group);
  // Step 3: a refusal is logged and the attach goes on; the libraries are then merely unknown.
  void setVekSolibSearchPath(const VekProcess& process, const std::string& group);
  // Step 4: a refused attach removes the card group again.
  bool attachVekEngine(const VekProcess& process, const std::string& group);

  OffloadPort& port;
};
