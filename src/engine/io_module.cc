#include "engine/io_module.h"

#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

constexpr std::size_t kReadSize = 16384;

// Sleeps until `fd` is ready for `events` or `stopFd` is readable; true for the former.
bool waitFor(int fd, short events, int stopFd) {
  for (;;) {
    pollfd entries[2] = {{fd, events, 0}, {stopFd, POLLIN, 0}};
    const int ready = poll(entries, 2, -1);
    if (ready < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    if (entries[1].revents != 0) return false;
    if (entries[0].revents != 0) return true;
  }
}

}  // namespace

IOModule::IOModule(FILE* input, FILE* output, SharedBuffer<std::string>* inputBuffer,
                   SharedBuffer<std::string>* outputBuffer)
    : input(input), output(output), inputBuffer(inputBuffer), outputBuffer(outputBuffer) {}

IOModule::~IOModule() {
  input = nullptr;
  output = nullptr;
}

void IOModule::start() {
  if (started) return;
  started = true;
  ended = false;
  outputBlocks = (fcntl(fileno(output), F_GETFL) & O_NONBLOCK) == 0;
  stopFd.reset(eventfd(0, EFD_CLOEXEC));
  // The threads inherit this mask: the user's signals must interrupt the main thread, never
  // land in a thread that only moves bytes.
  sigset_t blocked;
  sigset_t previous;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGINT);
  sigaddset(&blocked, SIGQUIT);
  sigaddset(&blocked, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &blocked, &previous);
  pthread_create(&reader, nullptr, runReader, this);
  pthread_create(&writer, nullptr, runWriter, this);
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

void IOModule::stop() {
  if (!started) return;
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = write(stopFd.get(), &one, sizeof one);
  inputBuffer->close();
  outputBuffer->close();
  pthread_join(reader, nullptr);
  pthread_join(writer, nullptr);
  started = false;
}

bool IOModule::drainOutput(std::chrono::milliseconds limit) {
  constexpr timespec kPeriod = {0, 1000000};
  const auto deadline = std::chrono::steady_clock::now() + limit;
  // An item is off the queue a moment before the writer marks itself writing, so idleness
  // counts only when seen twice, one period apart. Only shutdown waits here.
  for (int idleSeen = 0; idleSeen < 2;) {
    idleSeen = outputBuffer->size() == 0 && !writing ? idleSeen + 1 : 0;
    if (std::chrono::steady_clock::now() > deadline) return false;
    nanosleep(&kPeriod, nullptr);
  }
  return true;
}

void IOModule::writeNow(std::vector<std::string>& batch) {
  if (!started || batch.empty()) return;
  const int fd = fileno(output);
  outputBuffer->runIfIdle([&] {
    // One write for all of it; what does not go out now stays as one item.
    std::string text;
    for (const std::string& item : batch) text += item;
    batch.clear();
    const bool blocking = outputBlocks;
    std::size_t done = 0;
    while (done < text.size()) {
      if (blocking) {
        pollfd entry = {fd, POLLOUT, 0};
        if (poll(&entry, 1, 0) != 1 || (entry.revents & POLLOUT) == 0) break;
      }
      const std::size_t size = text.size() - done;
      const ssize_t count =
          write(fd, text.data() + done, blocking && size > PIPE_BUF ? PIPE_BUF : size);
      if (count <= 0) break;
      done += count;
    }
    if (done < text.size()) batch.push_back(text.substr(done));
  });
}

void* IOModule::runReader(void* module) {
  IOModule* self = static_cast<IOModule*>(module);
  SharedBuffer<std::string>& buffer = *self->inputBuffer;
  const int fd = fileno(self->input);
  std::string line;
  bool dropping = false;  // inside a line that is too long: skip to its end
  char bytes[kReadSize];
  std::vector<std::string> lines;  // the complete lines of one read, queued together
  for (;;) {
    if (buffer.isClosed()) return nullptr;
    if (!waitFor(fd, POLLIN, self->stopFd.get())) break;
    // Straight from the descriptor: the stream's own buffer would hide bytes from poll.
    const ssize_t count = read(fd, bytes, sizeof bytes);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (count <= 0) {
      // End of file: a partial line is dropped and the buffer stays open.
      self->ended = true;
      buffer.wakeConsumer();
      return nullptr;
    }
    const char* next = bytes;
    const char* end = bytes + count;
    while (next < end) {
      const char* newline = static_cast<const char*>(memchr(next, '\n', end - next));
      const char* stop = newline != nullptr ? newline + 1 : end;
      if (!dropping) line.append(next, stop);
      if (line.size() > self->lineLimit) {
        dropping = true;
        std::string().swap(line);  // gives the memory back
      }
      if (newline != nullptr) {
        if (dropping)
          ++self->droppedLines;
        else
          lines.push_back(std::move(line));
        line.clear();
        dropping = false;
      }
      next = stop;
    }
    buffer.putAll(lines);
    lines.clear();
  }
  return nullptr;
}

void* IOModule::runWriter(void* module) {
  IOModule* self = static_cast<IOModule*>(module);
  SharedBuffer<std::string>& buffer = *self->outputBuffer;
  const int fd = fileno(self->output);
  // A write to a descriptor that blocks could hang for good once the reader at the other end
  // stops reading; after poll says "writable", a pipe takes PIPE_BUF bytes without blocking.
  const bool blocking = self->outputBlocks;
  std::string pending;
  for (;;) {
    self->writing = false;
    if (!buffer.take(pending)) return nullptr;
    self->writing = true;
    // Whatever else is queued goes out with it, in order, in as few writes as possible.
    std::string more;
    while (pending.size() < kReadSize && buffer.tryTake(more)) pending += more;
    std::size_t done = 0;
    while (done < pending.size()) {
      if (!waitFor(fd, POLLOUT, self->stopFd.get())) return nullptr;
      const std::size_t size = pending.size() - done;
      const ssize_t count =
          write(fd, pending.data() + done, blocking && size > PIPE_BUF ? PIPE_BUF : size);
      if (count > 0) {
        done += count;
      } else if (count < 0 && errno != EINTR && errno != EAGAIN) {
        // Nobody reads any more (EPIPE): nothing will ever be written again. The queue fills up
        // and pushes back as it would for a reader that is merely slow, until stop().
        pollfd entry = {self->stopFd.get(), POLLIN, 0};
        while (poll(&entry, 1, -1) < 0 && errno == EINTR) {
        }
        return nullptr;
      }
    }
    pending.clear();
  }
}
