#pragma once
#include <functional>
#include <map>
#include <ostream>
#include <sstream>
#include <string>

// Runs a command through the shell, appending what it prints to the stream; false only when the
// shell could not be started. The session's system() in the program.
using ShellCommand = std::function<bool(const std::string& command, std::stringstream& output)>;

// Card discovery as a function of what the shell prints for "mount -t sysfs", for the card list
// and for each card's state and network configuration. Fills `cardIp` (card number -> address)
// and `ipCard` (address -> card number) from the cards that are online. Every problem is only
// logged: a card that cannot be read is skipped, and a machine without cards leaves both tables
// empty.
void discoverCards(std::ostream& log, const ShellCommand& shell,
                   std::map<std::string, std::string>& cardIp,
                   std::map<std::string, std::string>& ipCard);
