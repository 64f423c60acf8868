#include "base/log.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "base/env_var.h"

int QuietStream::QuietBuffer::overflow(int c) {
  return traits_type::eq_int_type(c, traits_type::eof()) ? 0 : c;
}

QuietStream::QuietStream() : std::ostream(&buffer) {}

LogFile::FdBuffer::FdBuffer() { setp(pending, pending + sizeof pending); }

LogFile::FdBuffer::~FdBuffer() {
  sync();
  if (fd >= 0) close(fd);
}

void LogFile::FdBuffer::open(const std::string& path) {
  if (fd >= 0) close(fd);
  fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
}

int LogFile::FdBuffer::overflow(int c) {
  sync();
  if (traits_type::eq_int_type(c, traits_type::eof())) return 0;
  *pptr() = traits_type::to_char_type(c);
  pbump(1);
  return c;
}

// Never fails: text that cannot be written (no file, a full disk) is dropped, like a quiet log.
int LogFile::FdBuffer::sync() {
  for (const char* from = pbase(); fd >= 0 && from < pptr();) {
    const ssize_t n = ::write(fd, from, static_cast<size_t>(pptr() - from));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    from += n;
  }
  setp(pending, pending + sizeof pending);
  return 0;
}

LogFile::LogFile() : std::ostream(&buffer) {}

std::ostream& chooseLogStream(LogStreams& streams) {
  static const EnvVar logPath("WEM_LOG", "");
  return chooseLogStream(streams, logPath.value());
}

std::ostream& chooseLogStream(LogStreams& streams, const std::string& path) {
  if (path.empty()) return streams.quiet;
  // Not checked on purpose: a file that cannot be opened just means no log.
  streams.file.open(path);
  return streams.file;
}
