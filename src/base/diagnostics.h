#pragma once
#include <ostream>
#include <string>

// Writes one diagnostic line (the caller leaves out the newline) to the log and to standard
// error. Standard error never blocks us: when its reader has stopped reading and the line does
// not fit, the line is dropped there and only the log keeps it. Engines share our fd 2 and keep
// blocking writes on it; only our own descriptor for it is non-blocking. Main thread only.
void writeDiagnostic(std::ostream& log, const std::string& line);
// The standard-error half of it alone, for code that has no log (the MI parser): `text` carries
// its own newline. Any thread.
void writeStandardError(const std::string& text);
