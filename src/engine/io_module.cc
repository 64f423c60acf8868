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
#include <string_view>
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

bool isNameChar(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '-';
}

// Moves `at` past the c-string that starts there; false when none starts there or it never ends.
bool skipCString(std::string_view text, std::size_t& at) {
  if (at >= text.size() || text[at] != '"') return false;
  for (++at; at < text.size(); ++at) {
    if (text[at] == '"') {
      ++at;
      return true;
    }
    if (text[at] == '\\') ++at;
  }
  return false;
}

// True when `text` (without its line end) is the prompt or one MI output record. Only the form
// counts: a stream record is one c-string; any other record is a class and then results, whose
// values are c-strings, tuples and lists, and a bare value may stand where a result does (the
// further locations of a breakpoint). A glued line fails where the record meets the text.
bool isMiRecord(std::string_view text) {
  if (text == "(gdb)" || text == "(gdb) ") return true;
  std::size_t at = 0;
  while (at < text.size() && text[at] >= '0' && text[at] <= '9') ++at;
  if (at == text.size()) return false;
  const char kind = text[at++];
  if (kind == '~' || kind == '@' || kind == '&') return skipCString(text, at) && at == text.size();
  if (kind != '^' && kind != '*' && kind != '=' && kind != '+') return false;
  if (at == text.size() || !isNameChar(text[at])) return false;
  while (at < text.size() && isNameChar(text[at])) ++at;
  std::string closers;  // of the tuples and lists still open, innermost last
  bool afterValue = true;
  while (at < text.size()) {
    const char c = text[at];
    if (!closers.empty() && c == closers.back() &&
        (afterValue || text[at - 1] == '{' || text[at - 1] == '[')) {
      closers.pop_back();
      ++at;
      afterValue = true;
    } else if (afterValue) {
      if (c != ',') return false;
      ++at;
      afterValue = false;
    } else {
      std::size_t nameEnd = at;
      while (nameEnd < text.size() && isNameChar(text[nameEnd])) ++nameEnd;
      if (nameEnd > at) {
        if (nameEnd + 1 >= text.size() || text[nameEnd] != '=') return false;
        at = nameEnd + 1;
      }
      if (text[at] == '{' || text[at] == '[') {
        closers.push_back(text[at] == '{' ? '}' : ']');
        ++at;
      } else if (skipCString(text, at)) {
        afterValue = true;
      } else {
        return false;
      }
    }
  }
  return afterValue && closers.empty();
}

// Where the record that follows text in `line` begins, or 0 when the line is one record, or
// text alone. The first place that begins a record wins; a result record takes the digits
// before it as its token, the other records have none.
std::size_t findGluedRecord(const std::string& line) {
  std::string_view text(line);
  text.remove_suffix(1);  // the "\n"
  if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
  if (isMiRecord(text)) return 0;
  for (std::size_t at = 1; at < text.size(); ++at) {
    const char c = text[at];
    if (c != '*' && c != '=' && c != '^' && c != '~' && c != '@' && c != '&') continue;
    std::size_t start = at;
    if (c == '^')
      while (start > 0 && text[start - 1] >= '0' && text[start - 1] <= '9') --start;
    if (start > 0 && isMiRecord(text.substr(start))) return start;
  }
  return 0;
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
        if (dropping) {
          ++self->droppedLines;
        } else {
          if (const std::size_t record = self->splitsGluedRecords ? findGluedRecord(line) : 0) {
            lines.push_back(line.substr(0, record) + "\n");
            line.erase(0, record);
          }
          lines.push_back(std::move(line));
        }
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
