#include "base/log.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <boost/regex.hpp>
#include <fstream>
#include <sstream>

namespace {

// Records carry the writing line's number, which moves with the code: compare without it.
std::string stripNumbers(const std::string& log) {
  static const boost::regex number(R"(^\d+: )");
  return boost::regex_replace(log, number, "");
}

struct FakeCtrl {
  std::ostringstream log;
};

std::string readFile(const std::string& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace

TEST(Log, RecordIsNumberTextNewlineAndBlankAddsOneEmptyLine) {
  FakeCtrl ctrl;
  const int line = __LINE__ + 1;
  LOG_AT(ctrl) << "Removing i" << 1;
  LOG_BLANK_AT(ctrl) << "Removed " << std::string("i1");
  LOG_AT(ctrl).blank() << "x";
  EXPECT_EQ(ctrl.log.str().substr(0, ctrl.log.str().find('\n') + 1),
            std::to_string(line) + ": Removing i1\n");
  EXPECT_EQ(stripNumbers(ctrl.log.str()), "Removing i1\nRemoved i1\n\nx\n\n");
}

TEST(Log, RecordIsFlushedWhenTheStatementEnds) {
  char path[] = "/tmp/wem_log_test_XXXXXX";
  const int fd = mkstemp(path);
  ASSERT_GE(fd, 0);
  close(fd);
  {
    LogStreams streams;
    std::ostream& log = chooseLogStream(streams, path);
    LOG_TO(log) << "argv: "
                << "wem";
    // Still open: the text must be on disk already.
    EXPECT_EQ(stripNumbers(readFile(path)), "argv: wem\n");
  }
  unlink(path);
}

TEST(Log, EmptyOrUnwritablePathGivesAStreamThatNeverFails) {
  LogStreams empty;
  std::ostream& quiet = chooseLogStream(empty, "");
  EXPECT_EQ(&quiet, &empty.quiet);
  EXPECT_FALSE(empty.file.is_open());
  for (int i = 0; i < 1000; ++i) LOG_TO(quiet) << "discarded " << i;
  quiet << std::flush;
  EXPECT_TRUE(quiet.good());

  LogStreams unwritable;
  std::ostream& broken = chooseLogStream(unwritable, "/nonexistent-dir/wem/log");
  LOG_TO(broken) << "nowhere";  // Must not crash or throw.
  EXPECT_FALSE(unwritable.file.is_open());
}

TEST(Log, QuietBufferOverflowReturnsItsArgumentOrZeroAtEndOfFile) {
  struct Probe : QuietStream::QuietBuffer {
    int call(int c) { return overflow(c); }
  } probe;
  EXPECT_EQ(probe.call('a'), 'a');
  EXPECT_EQ(probe.call(std::char_traits<char>::eof()), 0);
}
