#pragma once
#include <list>
#include <string>

// Classifiers of engine output lines (taken with their final "\n") and of the shell output read
// during card discovery. Each returns true when its pattern fits; outputs then receive their
// capture groups (a group that took no part gives ""). On false every output keeps its value.
// No classifier throws: text too large or too intricate for the regular-expression library
// counts as text that does not fit.

// Result class of a result record: done, running, connected, error or exit.
bool matchMiResultType(std::string const& line, std::string& resultClass);
// Everything after the first comma of the line up to the last "\n" (the text the MI parser
// reads). A line without a comma or without a final "\n" does not fit.
bool matchMiRecord(std::string const& line, std::string& resultsPart);
// Class of a notification ("=thread-created,..." gives "thread-created").
bool matchMiEvent(std::string const& line, std::string& eventClass);
// The whole line is a console-stream record followed only by white space.
bool matchMiOut(std::string const& line);
// The whole line is the engine's "(gdb)" prompt followed only by white space.
bool matchGdbPrompt(std::string const& line);
// The whole line is a stop record, with or without a token.
bool matchMiStopped(std::string const& line);
// The line is the engine's console report of an unexpected condition.
bool matchUnexpectedCondition(std::string const& line);
// Three non-empty colon-separated fields and no further colon.
bool matchRconnectValue(std::string const& text, std::string& first, std::string& second,
                        std::string& third);
// Mount point in the listing of sysfs mounts (greedy: with several lines it reaches the last
// " type sysfs").
bool matchMountSysfs(std::string const& line, std::string& mountPoint);
// Everything after the first "IPADDR=", line end included; callers trim it.
bool matchCardIpAddress(std::string const& line, std::string& address);
// Appends, in order of the words of `text`, the digits after the first "/vek<digits>" of each
// word; words without one are skipped. Nothing found is still true.
bool matchEchoCardNums(std::string const& text, std::list<std::string>& cardNumbers);
// A log-stream record in which an engine says it has lost its target: the remote connection
// closed, or it gave up a target that stopped answering.
bool matchTargetLost(std::string const& line);
// The log-stream record "Quit": the engine's answer to an interrupt that came when its program
// did not run, as it does while it reports that program's stop or end.
bool matchQuit(std::string const& line);
