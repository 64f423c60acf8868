#pragma once
#include <boost/shared_ptr.hpp>
#include <cstdio>
#include <functional>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "base/wakeup.h"
#include "engine/io_module.h"
#include "engine/shared_buffer.h"
#include "engine/zub_module.h"

// The only path to the engine processes, to the user and to the log. It starts each engine as a
// child in a session and process group of its own, connected by two pipes, registers it under an
// id (a prefix and the smallest free number from 1: "i1", "vek1"), queues text to it, signals its
// process group, reaps it and forgets it. Every operation runs on the main thread, so the members
// take no lock; the threads are reached only through their buffers.
class CtrlModule {
 public:
  static constexpr unsigned int kUserInputCapacity = 1;
  static constexpr unsigned int kUserOutputCapacity = 1000;
  static constexpr std::size_t kUserBatch = 256;
  static constexpr std::chrono::microseconds kSpinBeforeSleep{200};
  // How long an engine that was asked to end may take before it is killed.
  static constexpr std::chrono::seconds kExitGrace{2};

  // The user channel reads `userIn` and writes `userOut` (standard input and output in the
  // program; tests hand in pipes).
  explicit CtrlModule(std::ostream& log, FILE* userIn = stdin, FILE* userOut = stdout);
  ~CtrlModule();
  CtrlModule(const CtrlModule&) = delete;
  CtrlModule& operator=(const CtrlModule&) = delete;

  // Installs the signal handlers, ignores SIGPIPE and starts the user threads.
  void start();
  // Removes every engine, stops the user threads and restores the default signal actions.
  void stop();

  // Add ids of registered engines (all, or those starting with `prefix`); `ids` is not cleared.
  void getZubIds(std::set<std::string>& ids) const;
  void getZubIds(const std::string& prefix, std::set<std::string>& ids) const;

  // Starts `file` (found by PATH) with `argv` (null-terminated, argv[0] included). The engine is
  // killed when our main thread ends, however it ends. A program that cannot be executed is
  // reported on standard error, and is otherwise an engine whose output ends without a line.
  bool spawnZub(const char* file, const char** argv, const std::string& prefix, std::string& id);

  // Queue `text` (complete lines) for engines, waiting while an engine's queue is full.
  // sendToZubs stops at the first unknown id; the engines before it already have the text.
  bool sendToZub(const std::string& id, const std::string& text);
  bool sendToZubs(const std::set<std::string>& ids, const std::string& text);

  // Signal the process group of engines; sendSignalToZubs stops at the first failure.
  bool sendSignalToZub(const std::string& id, int sig);
  bool sendSignalToZubs(const std::set<std::string>& ids, int sig);

  // Waits for the next line of an engine (logged); false at once for an unknown id, or when
  // sigIntPending is set or the engine's output has ended and no line is waiting (the flag
  // stays set).
  bool receiveFromZub(const std::string& id, std::string& line);
  // The non-waiting, non-logging form for the session loop: false when no line is waiting or
  // the id is unknown, with `line` untouched.
  bool tryReceiveFromZub(const std::string& id, std::string& line);
  // The next user line, if one is waiting; `line` untouched otherwise.
  bool tryReceiveFromUser(std::string& line);
  // The engine's output has ended and every line of it has been taken.
  bool hasEnded(const std::string& id) const;
  // Sleeps until a line, an end of output or a signal may be waiting, or `limit` passes
  // (negative: no limit). Callers look at every source first. Kills the engines whose time to
  // end has passed first, and sleeps no longer than until the next one's passes (expectEnd).
  // Hands the user's text to the writer first. Before it sleeps it watches for kSpinBeforeSleep
  // when the process may use more than one CPU and the previous wait was that short: the answer
  // of an engine, or the next command of a client that sends a burst of them, then mostly comes
  // within that time and reaches this thread without the costly wake-up of a sleeping one (a
  // sleeping CPU, in a virtual machine).
  void waitForEvent(std::chrono::milliseconds limit = std::chrono::milliseconds(-1));

  // The engines have been asked to end and will be waited for by their output: one whose output
  // has not ended within kExitGrace is killed with its process group by waitForEvent, which
  // sleeps no longer than that, so that its output ends as a dead engine's does. Removal cancels
  // it; a second call for an engine keeps the first deadline.
  void expectEnd(const std::set<std::string>& ids);

  // Waits for the engine to end and forgets it. The caller asks the engine to exit first; one
  // that has not ended within kExitGrace, or when one of the user's signals comes during the
  // wait, is killed with its process group. The wait for that death is bounded too, so removal
  // always returns.
  void removeZub(std::string id);
  void removeZubs(const std::set<std::string>& ids);

  // The only way text reaches the user; logged after "user: ", or after "muted: " and dropped
  // while muted. The text carries its own newlines. It is gathered on this thread and handed
  // to the writer in batches: before the main thread waits for anything, and at most
  // kUserBatch texts at a time.
  void sendToUser(const std::string& text);
  // Hands the gathered text to the writer. While the user's queue is full it waits, unless a
  // quit or terminate request is pending: then the text is dropped and userStuck() holds.
  void flushUserOutput();

  // The registered engine, or null for an unknown id.
  boost::shared_ptr<ZubModule> findZub(const std::string& id) const;

  // The controller has at least one registered engine.
  bool hasEngines() const { return !zubs.empty(); }
  // A user line is waiting for tryReceiveFromUser.
  bool userLineWaiting() const { return userInput.size() != 0; }
  // Every line the user will ever send has been taken: the user's input has ended and no line
  // of it is waiting.
  bool userInputEnded() const { return userIO.ended && userInput.size() == 0; }
  // flushUserOutput dropped text because the user did not read while a quit or terminate
  // request was pending.
  bool userStuck() const { return userStuck_; }

  // Seams for a driver that runs sessions in process without children (the session fuzzer).
  // With `zubFactory` set, spawnZub starts no process: it registers the engine the factory
  // makes from the argument vector, or fails when it makes none. `beforeWait` runs on the main
  // thread each time waitForEvent is about to sleep, so the driver can supply the next event.
  std::function<boost::shared_ptr<ZubModule>(const char** argv)> zubFactory;
  std::function<void()> beforeWait;
  // Starts the user threads alone, for a driver that keeps the process's signal actions.
  void startUserThreads() { userIO.start(); }
  // Queues `line` as the user's reader would; false, with nothing queued, while the user's queue
  // is full.
  bool feedUserLine(const std::string& line);
  // Takes the next text handed to the user's writer, for a driver whose user threads do not run
  // (tests and benchmarks read the user's output here); false, with `text` untouched, when none
  // is queued. flushUserOutput hands over what sendToUser gathered.
  bool tryTakeUserOutput(std::string& text) { return userOutput.tryTake(text); }

  bool muted = false;
  std::ostream& log;

 private:
  // Starts the engine's threads and registers it under the next free id of `prefix`.
  void registerZub(const boost::shared_ptr<ZubModule>& zub, const std::string& prefix,
                   std::string& id);
  // Kills the engines whose time to end (expectEnd) has passed; the time until the next one's
  // passes, or -1 when none is waited for.
  std::chrono::milliseconds killOverdueZubs();
  // Logs, once, the lines the channel dropped for their length.
  void reportDroppedLines(IOModule& channel, const std::string& from);

  // Text sendToUser gathered that flushUserOutput has not handed to the writer yet.
  std::vector<std::string> userPending;
  bool userStuck_ = false;
  SharedBuffer<std::string> userInput{kUserInputCapacity};
  SharedBuffer<std::string> userOutput{kUserOutputCapacity};
  IOModule userIO;
  std::map<std::string, boost::shared_ptr<ZubModule>> zubs;
  std::map<std::string, std::chrono::steady_clock::time_point> endDeadlines;  // see expectEnd
  std::chrono::microseconds spinBeforeSleep{0};
  bool spinWorks = false;  // the last wait ended within spinBeforeSleep
};
