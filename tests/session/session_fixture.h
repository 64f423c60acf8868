#pragma once
// A session whose controller logs into a string and whose user output is read straight from the
// controller's queue (the user threads are never started). Engines are tiny real children
// (`cat`, `sh -c`), registered through the controller and killed by process group at the end.

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "engine/ctrl_module.h"
#include "session/mi_session.h"

// Engines the session starts from the environment are `true`, which ends at once: enough to
// register a group and reap it.
inline const bool kFixtureEnginesConfigured = [] {
  setenv("ZUBC_HOST", "true", 1);
  setenv("ZUBC_VEK", "true", 1);
  return true;
}();

class SessionFixture : public testing::Test {
 protected:
  ~SessionFixture() override {
    std::set<std::string> ids;
    ctrl.getZubIds(ids);
    for (const std::string& id : ids) {
      ctrl.sendSignalToZub(id, SIGKILL);
      ctrl.removeZub(id);
    }
  }

  // Everything queued for the user since the last call, pieces joined.
  std::string userText() {
    std::string all, piece;
    while (ctrl.userOutput.tryTake(piece)) all += piece;
    return all;
  }

  // The log's records so far with their numbers stripped, blank lines dropped.
  std::vector<std::string> logLines() const {
    std::vector<std::string> lines;
    std::istringstream in(log.str());
    std::string line;
    while (std::getline(in, line)) {
      if (line.empty()) continue;
      size_t colon = line.find(": ");
      if (colon != std::string::npos && colon > 0 && line.find_first_not_of("0123456789") == colon)
        line.erase(0, colon + 2);
      lines.push_back(line);
    }
    return lines;
  }

  bool logHas(const std::string& text) const {
    for (const std::string& line : logLines())
      if (line == text) return true;
    return false;
  }

  // Starts `sh -c script` as an engine with the given prefix; returns its id.
  std::string spawnShell(const std::string& script, const std::string& prefix = "i") {
    const char* argv[] = {"sh", "-c", script.c_str(), nullptr};
    std::string id;
    EXPECT_TRUE(ctrl.spawnZub("sh", argv, prefix, id));
    return id;
  }
  std::string spawnCat(const std::string& prefix = "i") {
    const char* argv[] = {"cat", nullptr};
    std::string id;
    EXPECT_TRUE(ctrl.spawnZub("cat", argv, prefix, id));
    return id;
  }

  // The next line an engine wrote, waiting at most two seconds; "" at the deadline.
  std::string nextLine(const std::string& zubId) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    std::string line;
    while (!ctrl.tryReceiveFromZub(zubId, line)) {
      if (std::chrono::steady_clock::now() > deadline) return "";
      usleep(1000);
    }
    return line;
  }

  // True when the engine writes nothing within 100 ms.
  bool staysQuiet(const std::string& zubId) {
    usleep(100000);
    std::string line;
    return !ctrl.tryReceiveFromZub(zubId, line);
  }

  std::ostringstream log;
  CtrlModule ctrl{log};
  Options options;
  MiSession session{ctrl, options};
};
