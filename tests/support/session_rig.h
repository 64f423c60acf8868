#pragma once
// A session run in process: a controller whose user channel is never started (the test's own
// stdin and stdout stay untouched), logging into a string, and a session on it. What the user
// would see is read from the controller's user output queue. Engines are fake engines started
// through the session (each keeps a transcript of what it received), or small shell children
// registered with the controller directly. Every engine is gone when the rig is.

#include <gtest/gtest.h>
#include <sys/types.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "engine/ctrl_module.h"
#include "session/mi_session.h"
#include "support/e2e.h"

class SessionRig {
 public:
  // Engines of both kinds are `engine`. The session reads that choice once per process, so a
  // test program should always pass the same one.
  explicit SessionRig(const std::string& engine = e2e::fakeEnginePath());
  virtual ~SessionRig();
  SessionRig(const SessionRig&) = delete;
  SessionRig& operator=(const SessionRig&) = delete;

  // Fake engines started from now on play these scenarios.
  void hostPlays(const std::string& scenario);
  void cardPlays(const std::string& scenario);
  // Starts an engine through the session ("i1", "vek1", ...) as the program does; what it
  // announces stays queued for the user.
  std::string spawnHost();
  std::string spawnCard(const std::string& cardId, const std::string& rconnect);
  // Plays `scenario` in a new host engine, which becomes current when none is; the group
  // announcement is consumed.
  std::string startHost(const std::string& scenario);
  // Plays `scenario` in a card engine with an address no card has; nothing is announced.
  std::string startCard(const std::string& scenario);
  // Registers `sh -c script` or `cat` with the controller only, as engine `prefix`N.
  std::string spawnShell(const std::string& script, const std::string& prefix = "i");
  std::string spawnCat(const std::string& prefix = "i");

  // Queues the commands of one user line and runs each to completion, as the session loop does.
  // False as soon as a run reports that the session must end. A command still running after ten
  // seconds is made to give up, and fails the test.
  bool run(const std::string& line);
  bool runQueued();

  // Everything queued for the user since the last call, pieces joined.
  std::string userOutput();
  // Every line fake engine `zubId` received so far ("<SIGINT>" for each interrupt).
  std::string received(const std::string& zubId) const;
  // The next line engine `zubId` wrote, waiting at most two seconds; "" at the deadline.
  std::string nextLine(const std::string& zubId);
  // True when engine `zubId` writes nothing within 100 ms.
  bool staysQuiet(const std::string& zubId);
  // How the session prints thread group `id` ("" when there is none).
  std::string group(const std::string& id) const;

  // The log records without their numbers, and whether one of them is exactly `line`.
  std::vector<std::string> logLines() const;
  std::string logText() const;
  bool logHas(const std::string& line) const;

  // Kills every registered engine with SIGKILL and forgets it, for engines that would not obey.
  void killEngines();
  // Ends the session as the entry point does; afterwards no engine process may be left.
  void stop();

  e2e::TempDir dir;
  std::ostringstream log;
  Options options;
  CtrlModule ctrl;
  MiSession session;
  std::map<std::string, pid_t> pids;

 private:
  void track(const std::string& zubId, const std::string& role);

  std::map<std::string, std::string> transcripts;
  int scenarios = 0;
  bool stopped = false;
};

// A fixture for tests whose engines are shell children: engines the session starts itself are
// `true`, which ends at once (enough to register a group and reap it), and engines that would
// not obey an exit are killed at the end.
class ShellSessionTest : public testing::Test, public SessionRig {
 protected:
  ShellSessionTest() : SessionRig("true") {}
  ~ShellSessionTest() override { killEngines(); }
};
