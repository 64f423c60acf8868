#include "engine/zub_module.h"

ZubModule::ZubModule(FILE* input, FILE* output, int pid)
    : IOModule(input, output, &zubOutput, &zubInput), pid(pid) {
  splitsGluedRecords = true;
}

ZubModule::~ZubModule() {
  if (started) stop();
  if (input != nullptr) fclose(input);
  if (output != nullptr) fclose(output);
}

void ZubModule::stop() { IOModule::stop(); }
