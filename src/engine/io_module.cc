#include "engine/io_module.h"

#include <signal.h>
#include <sys/select.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>

namespace {

// How long a thread waits for its descriptor before it looks at its buffer again.
constexpr timespec kPollLimit = {0, 1000000};
constexpr std::size_t kReadSize = 2048;

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
  // The threads inherit this mask: the user's signals must interrupt the main thread, never
  // land in a thread that only polls.
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
  inputBuffer->close();
  outputBuffer->close();
  pthread_join(reader, nullptr);
  pthread_join(writer, nullptr);
  started = false;
}

bool IOModule::drainOutput(std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  // An item is off the queue a moment before the writer marks itself writing, so idleness
  // counts only when seen twice, one poll period apart.
  for (int idleSeen = 0; idleSeen < 2;) {
    idleSeen = outputBuffer->size() == 0 && !writing ? idleSeen + 1 : 0;
    if (std::chrono::steady_clock::now() > deadline) return false;
    nanosleep(&kPollLimit, nullptr);
  }
  return true;
}

void* IOModule::runReader(void* module) {
  IOModule* self = static_cast<IOModule*>(module);
  SharedBuffer<std::string>& buffer = *self->inputBuffer;
  const int fd = fileno(self->input);
  std::string line;
  if (buffer.isClosed()) return nullptr;
  for (;;) {
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(fd, &readable);
    const int ready = pselect(fd + 1, &readable, nullptr, nullptr, &kPollLimit, nullptr);
    if (ready < 0 && errno != EINTR) return nullptr;
    if (ready > 0 && FD_ISSET(fd, &readable)) {
      // Straight from the descriptor: the stream's own buffer would hide bytes from pselect.
      char bytes[kReadSize];
      const ssize_t count = read(fd, bytes, sizeof bytes);
      if (count == 0)
        return nullptr;  // End of file: a partial line is dropped and the buffer stays open.
      for (ssize_t i = 0; i < count; ++i) {
        line += bytes[i];
        if (bytes[i] == '\n') {
          buffer.put(std::move(line));
          line.clear();
        }
      }
    }
    if (buffer.isClosed()) return nullptr;
  }
}

void* IOModule::runWriter(void* module) {
  IOModule* self = static_cast<IOModule*>(module);
  SharedBuffer<std::string>& buffer = *self->outputBuffer;
  const int fd = fileno(self->output);
  std::string pending;
  if (buffer.isClosed()) return nullptr;
  for (;;) {
    if (pending.empty()) {
      self->writing = false;
      buffer.take(pending);
      self->writing = !pending.empty();
    }
    if (!pending.empty()) {
      fd_set writable;
      FD_ZERO(&writable);
      FD_SET(fd, &writable);
      if (pselect(fd + 1, nullptr, &writable, nullptr, &kPollLimit, nullptr) > 0 &&
          FD_ISSET(fd, &writable)) {
        const ssize_t count = write(fd, pending.data(), pending.size());
        if (count > 0) {
          pending.erase(0, count);  // A partial write keeps the rest for the next pass.
        } else {
          // A pipe without a reader is always writable; pace the retries instead of spinning.
          nanosleep(&kPollLimit, nullptr);
        }
      }
    }
    if (buffer.isClosed()) return nullptr;
  }
}
