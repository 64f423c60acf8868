#pragma once
#include <cstdio>
#include <deque>
#include <string>

#include "engine/io_module.h"
#include "engine/shared_buffer.h"

// One engine process and its two channels. `input` reads the engine's standard output into
// `zubOutput`; `output` writes `zubInput` to the engine's standard input.
class ZubModule : public IOModule {
 public:
  static constexpr unsigned int kQueueCapacity = 100;

  ZubModule(FILE* input, FILE* output, int pid);
  // Stops the threads if they run, then closes both pipe streams so no descriptor outlives the
  // engine (the engine sees end of file on its standard input).
  ~ZubModule() override;

  void stop() override;

  const int pid;
  // Lines the engine wrote, each with its "\n"; the main thread takes them with tryTake.
  SharedBuffer<std::string> zubOutput{kQueueCapacity};
  // Lines already taken from zubOutput, in order, that the main thread has not handed out yet.
  std::deque<std::string> taken;
  // Text for the engine's standard input, complete lines.
  SharedBuffer<std::string> zubInput{kQueueCapacity};
};
