#include <fstream>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "mi/mi_parser.h"

namespace {

// The results part of a result or asynchronous record line: the text after the first comma of
// a line whose class starts with ^ * = or + (after an optional token). Empty when there is none.
bool resultsPart(const std::string& line, std::string& results) {
  size_t start = line.find_first_not_of("0123456789");
  if (start == std::string::npos || std::string("^*=+").find(line[start]) == std::string::npos)
    return false;
  size_t comma = line.find(',');
  if (comma == std::string::npos) return false;
  results = line.substr(comma + 1);
  return true;
}

std::vector<std::string> readLines(const std::string& path) {
  std::ifstream in(path);
  EXPECT_TRUE(in) << path;
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// Every record of a real engine session prints back byte for byte, except the one tuple in which
// the engine repeats a name (the parser keeps the last value at the first position).
TEST(MiCorpus, RecordedEngineOutputPrintsBackUnchanged) {
  const std::string repeated = R"(thread-ids={thread-id="1",thread-id="2"})";
  const std::string merged = R"(thread-ids={thread-id="2"})";
  int records = 0;
  int merges = 0;
  ThreadIdTable table;
  for (const std::string& line : readLines(WEM_SOURCE_DIR "/tests/data/recorded/gdb_session.mi")) {
    std::string results;
    if (!resultsPart(line, results)) continue;
    MiRecordPtr record;
    ASSERT_TRUE(parseMiRecord(results, record)) << line;
    std::string expected = results;
    if (size_t at = expected.find(repeated); at != std::string::npos) {
      expected.replace(at, repeated.size(), merged);
      ++merges;
    }
    std::string printed;
    record->printToString(printed);
    EXPECT_EQ(printed, expected);
    EXPECT_TRUE(record->replaceThreadIds(table, "i1")) << line;
    ++records;
  }
  EXPECT_GE(records, 50);
  EXPECT_EQ(merges, 1);
}

// Inputs the fuzzer once found troublesome stay parseable or cleanly rejected.
TEST(MiCorpus, FuzzerFindingsStayHandled) {
  std::ifstream list(WEM_SOURCE_DIR "/tests/mi/fuzz_regressions.txt");
  for (std::string line; std::getline(list, line);) {
    if (line.empty() || line[0] == '#') continue;
    MiRecordPtr record;
    testing::internal::CaptureStderr();
    bool parsed = parseMiRecord(line, record);
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(parsed, err.empty()) << line;
  }
}

}  // namespace
