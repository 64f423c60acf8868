#include <benchmark/benchmark.h>

#include <fstream>
#include <string>
#include <vector>

#include "mi/mi_parser.h"

namespace {

// The results parts of every result and asynchronous record of the recorded engine session.
const std::vector<std::string>& corpus() {
  static const std::vector<std::string> records = [] {
    std::vector<std::string> out;
    std::ifstream in(WEM_SOURCE_DIR "/tests/data/recorded/gdb_session.mi");
    for (std::string line; std::getline(in, line);) {
      size_t start = line.find_first_not_of("0123456789");
      size_t comma = line.find(',');
      if (start != std::string::npos && comma != std::string::npos &&
          std::string("^*=+").find(line[start]) != std::string::npos)
        out.push_back(line.substr(comma + 1));
    }
    return out;
  }();
  return records;
}

int64_t corpusBytes() {
  int64_t bytes = 0;
  for (const std::string& record : corpus()) bytes += static_cast<int64_t>(record.size());
  return bytes;
}

// What a command does with every engine answer: parse, translate thread ids, print for the user.
void BM_CorpusParseRewritePrint(benchmark::State& state) {
  ThreadIdTable table;
  std::string printed;
  for (auto _ : state) {
    for (const std::string& text : corpus()) {
      MiRecordPtr record;
      parseMiRecord(text, record);
      record->replaceThreadIds(table, "i1");
      record->printToString(printed);
      benchmark::DoNotOptimize(printed.data());
    }
  }
  state.SetBytesProcessed(state.iterations() * corpusBytes());
}
BENCHMARK(BM_CorpusParseRewritePrint);

void BM_CorpusParse(benchmark::State& state) {
  for (auto _ : state) {
    for (const std::string& text : corpus()) {
      MiRecordPtr record;
      parseMiRecord(text, record);
      benchmark::DoNotOptimize(record.get());
    }
  }
  state.SetBytesProcessed(state.iterations() * corpusBytes());
}
BENCHMARK(BM_CorpusParse);

void BM_CorpusPrint(benchmark::State& state) {
  std::vector<MiRecordPtr> records;
  for (const std::string& text : corpus()) {
    records.emplace_back();
    parseMiRecord(text, records.back());
  }
  std::string printed;
  for (auto _ : state) {
    for (const MiRecordPtr& record : records) {
      record->printToString(printed);
      benchmark::DoNotOptimize(printed.data());
    }
  }
  state.SetBytesProcessed(state.iterations() * corpusBytes());
}
BENCHMARK(BM_CorpusPrint);

// One "-stack-list-frames" answer of 1000 frames, parsed, rewritten and printed.
void BM_StackListFrames1000(benchmark::State& state) {
  std::string text = "stack=[";
  for (int level = 0; level < 1000; ++level) {
    if (level) text += ',';
    text += "frame={level=\"" + std::to_string(level) +
            "\",addr=\"0x00005555555551a4\",func=\"sum_squares\",file=\"mi_sample.c\","
            "fullname=\"/work/main/tests/data/mi_sample.c\",line=\"23\",arch=\"i386:x86-64\"}";
  }
  text += "]";
  ThreadIdTable table;
  std::string printed;
  for (auto _ : state) {
    MiRecordPtr record;
    parseMiRecord(text, record);
    record->replaceThreadIds(table, "i1");
    record->printToString(printed);
    benchmark::DoNotOptimize(printed.data());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_StackListFrames1000);

}  // namespace

BENCHMARK_MAIN();
