#pragma once
#include <list>
#include <set>
#include <string>

// Questions about a user's command line, answered from its text alone: the line is taken as it
// arrived, token and final "\n" included (several patterns rely on that line end).
//
// A matcher returns true when its pattern is found; its outputs then receive their capture
// groups (a group that took no part gives ""). On false every output keeps its value. No
// matcher throws: a line too large or too intricate for the regular-expression library counts
// as a line that does not fit.

// A setting of gdb's asynchronous mode ("-gdb-set mi-async on", also "target-async" and "1",
// "off", "0"); `on` tells which.
bool matchMiAsyncSet(std::string const& command, bool& on);
// The leading token (digits).
bool matchCmdId(std::string& token, std::string const& command);
// The command word after the token, such as "-break-insert" or "info".
bool matchCmdName(std::string& name, std::string const& command);
// The line as gdb reads it: blanks before the token and between the token and the rest do not
// count. `rest` runs to the line end, which it does not include.
bool matchTokenAndRest(std::string const& command, std::string& token, std::string& rest);
// The value of "--thread" (a user thread id).
bool matchCmdThreadId(std::string& threadId, std::string const& command);
// The value of "--thread-group"; may be empty.
bool matchCmdThreadGroupId(std::string& groupId, std::string const& command);

// The optional thread id argument of -thread-info.
bool matchThreadInfo(std::string const& command, std::string& threadId);
// The digits that end the last word of the line; true with "" when that word has none.
bool matchBkpId(std::string const& command, std::string& number);
// Every word after the command word that is a number, in order, appended; true when there is one.
bool matchBkpIds(std::string const& command, std::list<std::string>& numbers);
// The breakpoint number after a -break-... word and one optional "--option value" pair.
bool matchBkpCondId(std::string const& command, std::string& number);
// The name requested by -var-create; "-" asks for an automatic name.
bool matchVarCreate(std::string const& command, std::string& name);
// The variable-object name after the command word and an optional print-values option, or "*".
// It stops at the first character outside letters, digits and "_": a child yields its root.
bool matchVarObjId(std::string const& command, std::string& name);
// The word after the console command info.
bool matchInfoCmd(std::string const& command, std::string& subcommand);
// The thread-group id given to -remove-inferior.
bool matchInferiorId(std::string const& command, std::string& groupId);
// The file name given to the console command source.
bool matchSourceCmd(std::string const& command, std::string& fileName);
// The last three arguments of the line, each a double-quoted text with its quotes or a word
// without blanks and quotes.
bool matchZubCondPrintCmd(std::string const& command, std::string& first, std::string& second,
                          std::string& third);
// One command for the console interpreter: "-interpreter-exec", only "--thread",
// "--thread-group" and "--frame" options, "console", then the command quoted (its arguments hold
// no quote or backslash) or a bare word. `word` is the command's first word; `rest` the options
// as written, then, after one blank, the arguments without their outer blanks (none: nothing).
bool matchConsoleCmd(std::string const& command, std::string& word, std::string& rest);

// Sets `available` to false first, whatever the outcome. On a -list-thread-groups line it is set
// again when "--available" is given, and only the LAST id followed by white space is inserted
// into `groups` (the repeated group keeps its last repetition only).
bool matchListThreadGroups(std::string const& command, bool& available,
                           std::set<std::string>& groups);
// Appends, in order, every register number that follows the leftmost format letter (x, o, t, d,
// r, N or "|") from which only blanks and numbers run to a line end. No numbers: true, nothing
// appended. A number too large for `unsigned int` makes it fail with nothing appended.
bool matchRegisterList(std::string const& command, std::list<unsigned int>& registers);

// Rewriters by replacement: `out` is `command` with every "--thread <digits>" (resp.
// "--thread-group <id>") replaced by `replacement`, a Boost.Regex format string ("$&", "$1" and
// "\" keep their format meaning; callers pass plain ids). Without a match `out` is a copy.
void replaceCmdThreadId(std::string const& command, std::string const& replacement,
                        std::string& out);
void replaceCmdThreadGroupId(std::string const& command, std::string const& replacement,
                             std::string& out);
// Replaces every match of `pattern` in `text` by `replacement`. The pattern is compiled on each
// call: an invalid one throws the library's boost::regex_error to the caller.
void replaceTag(std::string& text, std::string const& pattern, std::string const& replacement);

// Splicing rewriters: `out` keeps the command up to the replaced argument, then the new value,
// one blank, and everything after the argument and its one following white-space character.
// On false `out` keeps its value.
bool replaceBkpCondId(std::string const& command, std::string const& number, std::string& out);
bool replaceVarCreateObjId(std::string const& command, std::string const& name, std::string& out);
// `out` = the command up to its last format letter followed only by numbers, then " N" for each
// register, then "\n". When the line has no such format letter `out` keeps its value.
void replaceRegisterList(std::string const& command, std::list<unsigned int> const& registers,
                         std::string& out);
