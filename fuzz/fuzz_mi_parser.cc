#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "mi/mi_parser.h"

// The parser writes a syntax-error line for most inputs; only that stream is silenced. libFuzzer
// and the sanitizers keep writing to the original standard error.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  if (FILE* quiet = std::fopen("/dev/null", "w")) stderr = quiet;
  return 0;
}

// A parsed record prints as text that parses again to the same print, and its ids rewrite
// without touching freed or null nodes.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  MiRecordPtr record;
  if (!parseMiRecord(text, record)) return 0;
  std::string printed;
  record->printToString(printed);
  MiRecordPtr again;
  if (!parseMiRecord(printed, again)) std::abort();
  std::string reprinted;
  again->printToString(reprinted);
  if (reprinted != printed) std::abort();
  ThreadIdTable table;
  record->replaceThreadIds(table, "vek1");
  record->printToString(printed);
  return 0;
}
