#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "engine/ctrl_module.h"
#include "offload/fake_cards.h"
#include "session/mi_session.h"

namespace {

using Table = std::map<std::string, std::string>;

struct Discovery {
  std::string log;  // record numbers stripped
  Table cardIp;
  Table ipCard;
};

void writeTable(std::ostream& out, const char* name, const Table& table) {
  for (const auto& [key, value] : table) out << name << '\t' << key << '\t' << value << '\n';
}

// Runs the session's card discovery in a child that sees `machine`; the child hands back its log
// and both tables through files of the machine.
bool discover(const FakeCardMachine& machine, Discovery& result) {
  const std::string logPath = machine.root() + "/discovery.log";
  const std::string tablePath = machine.root() + "/discovery.tables";
  const int status = machine.runInside([&] {
    std::ofstream log(logPath);
    CtrlModule ctrl(log);
    Options options;
    MiSession session(ctrl, options);
    session.initVekCardIpTable();
    std::ofstream tables(tablePath);
    writeTable(tables, "cardIp", session.cardIpTable);
    writeTable(tables, "ipCard", session.ipCardTable);
    return 0;
  });
  if (status == FakeCardMachine::kNotPermitted) return false;
  EXPECT_EQ(status, 0);
  result.log = stripLogNumbers(readFile(logPath));
  std::istringstream tables(readFile(tablePath));
  for (std::string name, key, value; std::getline(tables, name, '\t') &&
                                     std::getline(tables, key, '\t') &&
                                     std::getline(tables, value);)
    (name == "cardIp" ? result.cardIp : result.ipCard)[key] = value;
  return true;
}

#define DISCOVER(machine, result) \
  if (!discover(machine, result)) GTEST_SKIP() << "no private mount namespace may be made here"

// The log up to the card loop, for a sysfs mount at `sysfs` and `echoed` as the shell's expansion.
std::string prologue(const std::string& sysfs, const std::string& echoed) {
  return "Executing command: mount -t sysfs\n"
         "Command output: sysfs on " +
         sysfs +
         " type sysfs (rw,nosuid,nodev,noexec,relatime)\n\n"
         "Executing command: echo /opt/ulvax/vek/filesystem/vek*\n"
         "Command output: " +
         echoed + "\n\n";
}

std::string cardPath(const std::string& number) { return "/opt/ulvax/vek/filesystem/vek" + number; }

// The log of one card read up to its address line.
std::string cardReads(const FakeCardMachine& machine, const std::string& number,
                      const std::string& stateOutput, const std::string& configOutput) {
  std::string text = "Executing command: cat " + machine.sysfs() + "/class/vek/vek" + number +
                     "/state\n" + "Command output: " + stateOutput + "\n";
  if (configOutput.empty()) return text;
  return text + "Executing command: head -1 " + cardPath(number) +
         "/etc/sysconfig/network/ifcfg-vek0\n" + "Command output: " + configOutput + "\n";
}

TEST(CardDiscovery, MachineWithoutCardsRunsTwoCommandsAndFindsNothing) {
  FakeCardMachine machine;
  Discovery found;
  DISCOVER(machine, found);
  EXPECT_EQ(found.log, prologue(machine.sysfs(), "/opt/ulvax/vek/filesystem/vek*"));
  EXPECT_TRUE(found.cardIp.empty());
  EXPECT_TRUE(found.ipCard.empty());
}

TEST(CardDiscovery, NoSysfsMountStopsBeforeLookingForCards) {
  FakeCardMachine machine;
  machine.setMountOutput("");
  machine.addCard("0", "online\n", "IPADDR=172.31.1.1\n");
  Discovery found;
  DISCOVER(machine, found);
  EXPECT_EQ(found.log,
            "Executing command: mount -t sysfs\n"
            "Failed to match sysfs mount point.\n");
  EXPECT_TRUE(found.cardIp.empty());
}

TEST(CardDiscovery, OnlineCardsAreRecordedBothWaysInShellOrder) {
  FakeCardMachine machine;
  machine.addCard("0", "online\n", "IPADDR=172.31.1.1\nNETMASK=255.255.255.0\n");
  machine.addCard("1", "online", "IPADDR=172.31.2.1\n");
  Discovery found;
  DISCOVER(machine, found);
  EXPECT_EQ(found.log, prologue(machine.sysfs(), cardPath("0") + " " + cardPath("1")) +
                           cardReads(machine, "0", "online\n", "IPADDR=172.31.1.1\n") +
                           "The address of  vek0 is 172.31.1.1.\n" +
                           cardReads(machine, "1", "online", "IPADDR=172.31.2.1\n") +
                           "The address of  vek1 is 172.31.2.1.\n");
  EXPECT_EQ(found.cardIp, (Table{{"0", "172.31.1.1"}, {"1", "172.31.2.1"}}));
  EXPECT_EQ(found.ipCard, (Table{{"172.31.1.1", "0"}, {"172.31.2.1", "1"}}));
}

TEST(CardDiscovery, CardsThatAreNotOnlineOrHaveNoAddressAreSkipped) {
  FakeCardMachine machine;
  machine.addCard("0", "offline\n", "IPADDR=172.31.1.1\n");
  machine.addCard("1", "online\n", "BOOTPROTO=static\nIPADDR=172.31.2.1\n");
  machine.addCard("2", " online\n", "IPADDR=172.31.3.1\n");
  machine.setState("3", "online\n");  // known to sysfs only: never looked at
  machine.addCard("4", "online\n", "IPADDR=172.31.5.1\n");
  Discovery found;
  DISCOVER(machine, found);
  const std::string list =
      cardPath("0") + " " + cardPath("1") + " " + cardPath("2") + " " + cardPath("4");
  EXPECT_EQ(found.log, prologue(machine.sysfs(), list) + cardReads(machine, "0", "offline\n", "") +
                           "Status of vek0 : offline\n" +
                           cardReads(machine, "1", "online\n", "BOOTPROTO=static\n") +
                           " Failed to match ip addr of vek1\n" +
                           cardReads(machine, "2", " online\n", "") + "Status of vek2 :  online\n" +
                           cardReads(machine, "4", "online\n", "IPADDR=172.31.5.1\n") +
                           "The address of  vek4 is 172.31.5.1.\n");
  EXPECT_EQ(found.cardIp, (Table{{"4", "172.31.5.1"}}));
  EXPECT_EQ(found.ipCard, (Table{{"172.31.5.1", "4"}}));
}

TEST(CardDiscovery, CardWithoutImageGivesAnEmptyAddressRead) {
  FakeCardMachine machine;
  machine.setState("3", "online\n");
  // The card number comes from the shell's list, so the image directory has to exist but the
  // configuration file does not.
  std::filesystem::create_directories(machine.root() + cardPath("3"));
  Discovery found;
  DISCOVER(machine, found);
  EXPECT_EQ(found.log, prologue(machine.sysfs(), cardPath("3")) + "Executing command: cat " +
                           machine.sysfs() + "/class/vek/vek3/state\nCommand output: online\n\n" +
                           "Executing command: head -1 " + cardPath("3") +
                           "/etc/sysconfig/network/ifcfg-vek0\n" +
                           " Failed to match ip addr of vek3\n");
  EXPECT_TRUE(found.cardIp.empty());
}

TEST(CardDiscovery, DirectoryAndFileOfOneCardProcessItTwiceKeepingTheFirstEntry) {
  FakeCardMachine machine;
  machine.addCard("0", "online\n", "IPADDR=172.31.1.1\n");
  machine.write(cardPath("0") + ".x", "not a card\n");
  Discovery found;
  DISCOVER(machine, found);
  const std::string once = cardReads(machine, "0", "online\n", "IPADDR=172.31.1.1\n") +
                           "The address of  vek0 is 172.31.1.1.\n";
  EXPECT_EQ(found.log,
            prologue(machine.sysfs(), cardPath("0") + " " + cardPath("0") + ".x") + once + once);
  EXPECT_EQ(found.cardIp, (Table{{"0", "172.31.1.1"}}));
  EXPECT_EQ(found.ipCard, (Table{{"172.31.1.1", "0"}}));
}

TEST(CardDiscovery, SharedAddressNamesTheLaterCard) {
  FakeCardMachine machine;
  machine.addCard("0", "online\n", "IPADDR=10.0.0.5\n");
  machine.addCard("1", "online\n", "IPADDR=10.0.0.5\n");
  Discovery found;
  DISCOVER(machine, found);
  EXPECT_EQ(found.cardIp, (Table{{"0", "10.0.0.5"}, {"1", "10.0.0.5"}}));
  EXPECT_EQ(found.ipCard, (Table{{"10.0.0.5", "1"}}));
}

TEST(CardDiscovery, AddressLosesTrailingCarriageReturnAndBlanks) {
  FakeCardMachine machine;
  machine.addCard("0", "online\r\n", "IPADDR=10.1.2.3 \t\r\n");
  machine.addCard("1", "online\n", "IPADDR=\n");
  Discovery found;
  DISCOVER(machine, found);
  EXPECT_NE(found.log.find("The address of  vek0 is 10.1.2.3.\n"), std::string::npos) << found.log;
  EXPECT_NE(found.log.find("The address of  vek1 is .\n"), std::string::npos) << found.log;
  EXPECT_EQ(found.cardIp, (Table{{"0", "10.1.2.3"}, {"1", ""}}));
}

TEST(CardDiscovery, ShellOutputLinesOfAnyLengthAreKeptWhole) {
  std::ostringstream log;
  CtrlModule ctrl(log);
  Options options;
  MiSession session(ctrl, options);
  std::stringstream output;
  ASSERT_TRUE(session.system(
      "head -c 300000 /dev/zero | tr '\\0' x; printf '\\n\\001\\000b\\nlast'", output));
  const std::string expected =
      std::string(300000, 'x') + "\n\001" + std::string(1, '\0') + "b\nlast";
  EXPECT_EQ(output.str(), expected);
  EXPECT_NE(stripLogNumbers(log.str()).find("\nCommand output: last\n"), std::string::npos);

  // A command that fails or prints nothing still counts as run.
  std::stringstream nothing;
  EXPECT_TRUE(session.system("exit 3", nothing));
  EXPECT_EQ(nothing.str(), "");
}

}  // namespace
