#include "base/diagnostics.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/log.h"

namespace {

// Our descriptor for standard error. A pipe or FIFO is opened anew through /proc, which gives an
// open file description of our own: O_NONBLOCK on a dup of fd 2 would also reach every engine.
// On anything else (a file, a terminal, a socket), or when the reopen fails, lines go to fd 2
// only while poll finds room.
class StderrChannel {
 public:
  StderrChannel() {
    struct stat status;
    if (fstat(STDERR_FILENO, &status) != 0 || !S_ISFIFO(status.st_mode)) return;
    const int own = open("/proc/self/fd/2", O_WRONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (own >= 0) fd = own;
  }

  // A line shorter than PIPE_BUF goes into a non-blocking pipe whole or not at all.
  void write(const std::string& text) const {
    if (fd == STDERR_FILENO) {
      pollfd room{fd, POLLOUT, 0};
      if (poll(&room, 1, 0) != 1 || !(room.revents & POLLOUT)) return;
    }
    [[maybe_unused]] const ssize_t n = ::write(fd, text.data(), text.size());
  }

 private:
  int fd = STDERR_FILENO;
};

}  // namespace

void writeStandardError(const std::string& text) {
  static const StderrChannel channel;
  channel.write(text);
}

void writeDiagnostic(std::ostream& log, const std::string& line) {
  LOG_TO(log) << "stderr: " << line;
  writeStandardError(line + "\n");
}
