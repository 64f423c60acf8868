#pragma once
#include <map>
#include <ostream>
#include <string>

// Option name (without dashes) to value, the last occurrence winning.
using Options = std::map<std::string, std::string>;

// Reads the null-terminated argument vector, the program path included, into `options`, logging
// each examined element ("argv: ") and each stored option ("options[name]=value"). Elements that
// are no option are skipped. "interpreter" without "=" (and "i" in gdb's mode) takes the next
// element as its value; as the last element it records nothing. Takes the log stream rather than
// the controller so that base stays below engine.
void parseOptions(const char** argv, Options& options, std::ostream& log);

// One argument as an option: optional blanks, one or two dashes, a name of letters, "_" or "|",
// optionally "=" and a value without blanks, optional blanks. On success `name` and `value` (empty
// without "=") are set; on failure both keep what they held.
bool matchOption(const std::string& argument, std::string& name, std::string& value);
