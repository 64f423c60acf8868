#pragma once
#include <map>
#include <ostream>
#include <string>

struct BreakPointTable;
class MiCmd;

// What following an offload needs of the session, and nothing more. The session implements it
// over its engines and tables; tests script it.
class OffloadPort {
 public:
  virtual ~OffloadPort() = default;

  // The diagnostic log.
  virtual std::ostream& log() = 0;
  // One console-stream line to the user; `text` ends in "\n" and is escaped by the port.
  virtual void console(const std::string& text) = 0;
  // Runs `cmd` to completion as a nested command with the user's output muted. False when the
  // command could not run, or was given up because the user wants control back or the attach
  // takes too long; the caller logs it and goes on.
  virtual bool runMuted(MiCmd& cmd) = 0;
  // Asks the engine of `group` to exit and removes it at once, whatever it is doing; its group
  // goes too. False when there is no such group.
  virtual bool removeEngine(const std::string& group) = 0;
  // Starts a card engine with `argv` (argv[0] a placeholder), without announcing it; on success
  // `group` is its new group ("vek...").
  virtual bool startCardEngine(const char** argv, std::string& group) = 0;
  // The user's breakpoints, which a new engine must hold too.
  virtual const BreakPointTable& breakpoints() const = 0;
  // Card number -> the card's address, as card discovery found them.
  virtual const std::map<std::string, std::string>& cardAddresses() const = 0;
};
