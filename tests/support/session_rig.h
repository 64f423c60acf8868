#pragma once
// A session run in the test process: a controller whose user channel is never started (the
// test's own stdin and stdout stay untouched), logging into a string, and a session on it whose
// engines are fake engines keeping their files in directory `dir`, which the caller owns (see
// fake_engine.cc); the log is also written there, as rig.log, when it is read. What the user would
// see is read from the controller's user output queue.

#include <sstream>
#include <string>
#include <vector>

#include "engine/ctrl_module.h"
#include "session/mi_session.h"
#include "support/e2e.h"

class SessionRig {
 public:
  explicit SessionRig(const std::string& dir);
  ~SessionRig();
  SessionRig(const SessionRig&) = delete;
  SessionRig& operator=(const SessionRig&) = delete;

  // Starts an engine through the session as the program does: a host engine ("i1", ...), or a
  // card engine for card `cardId` connected to `address` ("vek1", ...). False if it fails.
  bool spawnHost(std::string& zubId);
  bool spawnCard(const std::string& cardId, const std::string& address, std::string& zubId);
  // Queues the commands of one user line and runs each to completion, as the session loop does.
  // False as soon as a run reports that the session must end; a command still running after ten
  // seconds is made to give up.
  bool run(const std::string& line);
  // Everything queued for the user since the last call.
  std::string userOutput();
  std::vector<std::string> logLines() const;
  // Ends the session as the entry point does, then kills any engine that is left.
  void stop();

  const std::string dir;
  std::ostringstream log;
  Options options;
  CtrlModule ctrl;
  MiSession session;

 private:
  bool named(const std::string& zubId);
  bool stopped = false;
};
