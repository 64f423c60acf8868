#include "offload/card_discovery.h"

#include <gtest/gtest.h>

#include <boost/regex.hpp>
#include <vector>

namespace {

using Table = std::map<std::string, std::string>;

// What the shell prints; a null output is a command that cannot be run.
struct Card {
  std::string number;
  const char* state;
  const char* config;  // the first line of the card's network configuration
};
struct Case {
  const char* mount;
  const char* echo;
  std::vector<Card> cards;
  const char* log;     // the discovery's own records, numbers stripped
  const char* tables;  // card -> address | address -> card
};

std::string print(const Table& cardIp, const Table& ipCard) {
  std::string text;
  for (const auto& [key, value] : cardIp) text += key + "=" + value + " ";
  text += "|";
  for (const auto& [key, value] : ipCard) text += " " + key + "=" + value;
  return text;
}

const char kSysfs[] = "sysfs on /sys type sysfs (rw,nosuid)\n";

TEST(CardDiscovery, TablesAndLogFollowFromTheShellOutputs) {
  const Case cases[] = {
      {kSysfs, "/opt/ulvax/vek/filesystem/vek*\n", {}, "", "|"},  // no card: the pattern
      {"proc on /proc type proc (rw)\n",
       "/a/vek0\n",
       {{"0", "online\n", "IPADDR=1.1.1.1\n"}},
       "Failed to match sysfs mount point.\n",
       "|"},
      {kSysfs,
       "/a/vek0 /a/vek1 /a/vek2 /a/vek3 /a/vek4 /a/vek5 /a/vek6\n",
       {{"0", "offline\n", "IPADDR=1.1.1.1\n"},
        {"1", "online\n", "BOOTPROTO=static\n"},
        {"2", " online\n", "IPADDR=1.1.1.1\n"},
        {"3", nullptr, "IPADDR=1.1.1.1\n"},
        {"4", "online\n", nullptr},
        {"5", "online\n", ""},
        {"6", "online\n", "IPADDR=1.1.1.6\n"}},
       "Status of vek0 : offline\n Failed to match ip addr of vek1\nStatus of vek2 :  online\n"
       " Failed to read dwop status of vek3\n Failed to read ip addr of vek4\n"
       " Failed to match ip addr of vek5\nThe address of  vek6 is 1.1.1.6.\n",
       "6=1.1.1.6 | 1.1.1.6=6"},
      // Shell order; state and address lose trailing blanks and carriage returns only. A card
      // seen twice (directory and file) keeps its first entry; a shared address names the card
      // stored last.
      {kSysfs,
       "/a/vek1 /a/vek0 /a/vek1.x /a/vek2\n",
       {{"0", "online\r\n", "IPADDR=10.1.2.3 \t\r\n"},
        {"1", "online", "IPADDR=10.1.2.3\n"},
        {"2", "online\n", "IPADDR=\n"}},
       "The address of  vek1 is 10.1.2.3.\nThe address of  vek0 is 10.1.2.3.\n"
       "The address of  vek1 is 10.1.2.3.\nThe address of  vek2 is .\n",
       "0=10.1.2.3 1=10.1.2.3 2= | =2 10.1.2.3=0"},
  };
  for (const Case& c : cases) {
    std::map<std::string, const char*> shell = {{"mount -t sysfs", c.mount},
                                                {"echo /opt/ulvax/vek/filesystem/vek*", c.echo}};
    for (const Card& card : c.cards) {
      shell["cat /sys/class/vek/vek" + card.number + "/state"] = card.state;
      shell["head -1 /opt/ulvax/vek/filesystem/vek" + card.number +
            "/etc/sysconfig/network/ifcfg-vek0"] = card.config;
    }
    std::ostringstream log;
    Table cardIp, ipCard;
    discoverCards(
        log,
        [&](const std::string& command, std::stringstream& output) {
          if (!shell[command]) return false;
          output << shell[command];
          return true;
        },
        cardIp, ipCard);
    EXPECT_EQ(boost::regex_replace(log.str(), boost::regex(R"(^\d+: )"), ""), c.log) << c.echo;
    EXPECT_EQ(print(cardIp, ipCard), c.tables) << c.log;
  }
}

}  // namespace
