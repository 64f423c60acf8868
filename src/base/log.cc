#include "base/log.h"

#include "base/env_var.h"

int QuietStream::QuietBuffer::overflow(int c) {
  return traits_type::eq_int_type(c, traits_type::eof()) ? 0 : c;
}

QuietStream::QuietStream() : std::ostream(&buffer) {}

std::ostream& chooseLogStream(LogStreams& streams) {
  static const EnvVar logPath("WEM_LOG", "");
  return chooseLogStream(streams, logPath.value());
}

std::ostream& chooseLogStream(LogStreams& streams, const std::string& path) {
  if (path.empty()) return streams.quiet;
  // Not checked on purpose: a file that cannot be opened just means no log.
  streams.file.open(path, std::ios::out | std::ios::trunc);
  return streams.file;
}
