#include "offload/card_discovery.h"

#include <stdio.h>
#include <sys/types.h>

#include <cstdlib>
#include <list>
#include <memory>
#include <sstream>
#include <string>

#include "base/log.h"
#include "engine/ctrl_module.h"
#include "match/output_matchers.h"
#include "session/mi_session.h"

namespace {

const char kCardFileSystems[] = "/opt/ulvax/vek/filesystem/vek";

// Shell output is trimmed at its end only, of blank, tab, line feed, carriage return, form feed
// and vertical tab.
void trimRight(std::string& text) { text.erase(text.find_last_not_of(" \t\n\r\f\v") + 1); }

struct PipeCloser {
  void operator()(FILE* pipe) const { pclose(pipe); }
};

// The buffer getline grows to the longest line read; freed however the reading ends.
struct LineBuffer {
  LineBuffer() = default;
  LineBuffer(const LineBuffer&) = delete;
  LineBuffer& operator=(const LineBuffer&) = delete;
  ~LineBuffer() { free(data); }

  char* data = nullptr;
  size_t capacity = 0;
};

// The address of card `cardNumber` when it is online and its address can be read; false, logged
// with the card's name, for a card to skip.
bool readCardAddress(std::ostream& log, const ShellCommand& shell, const std::string& mountPoint,
                     const std::string& cardNumber, std::string& address) {
  std::stringstream state;
  if (!shell("cat " + mountPoint + "/class/vek/vek" + cardNumber + "/state", state)) {
    LOG_TO(log) << " Failed to read dwop status of vek" << cardNumber;
    return false;
  }
  std::string status = state.str();
  trimRight(status);
  if (status != "online") {
    LOG_TO(log) << "Status of vek" << cardNumber << " : " << status;
    return false;
  }
  // Only the first line of the network configuration is looked at.
  std::stringstream config;
  if (!shell("head -1 " + std::string(kCardFileSystems) + cardNumber +
                 "/etc/sysconfig/network/ifcfg-vek0",
             config)) {
    LOG_TO(log) << " Failed to read ip addr of vek" << cardNumber;
    return false;
  }
  std::string found;
  if (!matchCardIpAddress(config.str(), found)) {
    LOG_TO(log) << " Failed to match ip addr of vek" << cardNumber;
    return false;
  }
  trimRight(found);
  address = found;
  return true;
}

}  // namespace

bool MiSession::system(const std::string& command, std::stringstream& output) {
  LOG_AT(ctrl) << "Executing command: " << command;
  ctrl.flushUserOutput();  // what the user was told so far goes out before the shell's wait
  std::unique_ptr<FILE, PipeCloser> pipe(popen(command.c_str(), "r"));
  if (!pipe) {
    LOG_AT(ctrl) << "Command failed.";
    return false;
  }
  // Lines keep their "\n" and may hold any byte, so each is as long as getline says. The exit
  // status of the command is of no interest: what it printed is the answer.
  LineBuffer buffer;
  for (ssize_t length; (length = getline(&buffer.data, &buffer.capacity, pipe.get())) >= 0;) {
    const std::string line(buffer.data, static_cast<size_t>(length));
    output << line;
    LOG_AT(ctrl) << "Command output: " << line;
  }
  return true;
}

void discoverCards(std::ostream& log, const ShellCommand& shell,
                   std::map<std::string, std::string>& cardIp,
                   std::map<std::string, std::string>& ipCard) {
  std::stringstream mounts;
  if (!shell("mount -t sysfs", mounts)) return;
  std::string mountPoint;
  if (!matchMountSysfs(mounts.str(), mountPoint)) {
    LOG_TO(log) << "Failed to match sysfs mount point.";
    return;
  }
  // The shell expands the pattern; with no card it echoes the pattern, which names no card.
  std::stringstream paths;
  if (!shell("echo " + std::string(kCardFileSystems) + "*", paths)) return;
  std::list<std::string> cardNumbers;
  if (!matchEchoCardNums(paths.str(), cardNumbers)) {
    LOG_TO(log) << "Failed to match card ids.";
    return;
  }
  // A number seen twice (a directory and a file of the same card) is processed twice; the first
  // address stored for a card stays, and an address shared by two cards names the later one.
  for (const std::string& cardNumber : cardNumbers) {
    std::string address;
    if (!readCardAddress(log, shell, mountPoint, cardNumber, address)) continue;
    LOG_TO(log) << "The address of  vek" << cardNumber << " is " << address << ".";
    if (cardIp.emplace(cardNumber, address).second) ipCard[address] = cardNumber;
  }
}

void MiSession::initVekCardIpTable() {
  discoverCards(
      ctrl.log,
      [this](const std::string& command, std::stringstream& output) {
        return system(command, output);
      },
      cardIpTable, ipCardTable);
}
