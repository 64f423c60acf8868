#include "offload/card_discovery.h"

#include <list>
#include <sstream>
#include <string>

#include "base/log.h"
#include "match/output_matchers.h"

namespace {

const char kCardFileSystems[] = "/opt/ulvax/vek/filesystem/vek";

// Shell output is trimmed at its end only, of blank, tab, line feed, carriage return, form feed
// and vertical tab.
void trimRight(std::string& text) { text.erase(text.find_last_not_of(" \t\n\r\f\v") + 1); }

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
