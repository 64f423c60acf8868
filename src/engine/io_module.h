#pragma once
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "base/unique_fd.h"
#include "engine/shared_buffer.h"

// A reader thread and a writer thread for one endpoint. The reader cuts the bytes of `input` into
// lines ("\n" included) and puts them into `inputBuffer`; a last line without "\n" is never
// delivered, and end of file (or a read error) ends the reader without closing its buffer, sets
// `ended` and wakes the buffer's consumer. A line longer than `lineLimit` is dropped, its memory
// given back, and counted in `droppedLines`. The writer writes the items of `outputBuffer` to
// `output` exactly as given, in order, however the writes are split. With `splitsGluedRecords`
// (an engine's output) a line that is no MI record as a whole but ends in one is delivered as two
// lines: the text before the record, given a line end of its own, then the record. A program
// that shares its engine's output and writes text without a line end makes such lines: the
// engine's next record follows that text ("x*stopped,..."). Neither thread polls: each
// sleeps on its descriptor, its buffer and a wake-up that stop() sets. The module owns neither the
// streams nor the buffers.
class IOModule {
 public:
  static constexpr std::size_t kLineLimit = std::size_t(256) << 20;

  IOModule(FILE* input, FILE* output, SharedBuffer<std::string>* inputBuffer,
           SharedBuffer<std::string>* outputBuffer);
  // Only forgets the streams; it does not stop the threads.
  virtual ~IOModule();
  IOModule(const IOModule&) = delete;
  IOModule& operator=(const IOModule&) = delete;

  // Starts both threads once; they run with SIGINT, SIGQUIT and SIGTERM blocked, so those
  // signals always reach the main thread.
  virtual void start();
  // Closes both buffers (dropping what is queued in either direction) and joins both threads.
  virtual void stop();
  // Waits, at most `limit`, until the writer has written everything queued so far, which stop()
  // would drop. The user channel needs it: its last reply ("^exit") is queued just before it
  // stops. False when the limit passed first (a reader that no longer reads, for instance).
  bool drainOutput(std::chrono::milliseconds limit);

  bool isStarted() const { return started; }

  // Writes the front items of `batch` from the calling thread, when the writer has nothing
  // queued or in hand and the descriptor takes them without waiting; the items written (and
  // the written part of a partly written one) leave `batch`. What is left goes to the writer's
  // queue as usual. It spares the writer's wake-up on the path of every reply.
  void writeNow(std::vector<std::string>& batch);

  // Lines longer than this are dropped (set before start()).
  std::size_t lineLimit = kLineLimit;
  // Records glued to text before them are split off (set before start()).
  bool splitsGluedRecords = false;
  // The reader has seen end of file or a read error: the buffer gets no more lines.
  std::atomic<bool> ended{false};
  // Lines dropped for being longer than kLineLimit.
  std::atomic<unsigned int> droppedLines{0};

 protected:
  static void* runReader(void* module);
  static void* runWriter(void* module);

  bool started = false;
  FILE* input;
  FILE* output;
  SharedBuffer<std::string>* inputBuffer;
  SharedBuffer<std::string>* outputBuffer;
  pthread_t reader{};
  pthread_t writer{};
  UniqueFd stopFd;                   // readable once stop() has begun
  bool outputBlocks = false;         // writes to `output` may block (read at start())
  std::atomic<bool> writing{false};  // the writer holds text it has not written yet
};
