// The program's start-up and refusal, run as a real process.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/regex.hpp>
#include <chrono>
#include <fstream>
#include <sstream>
#include <vector>

namespace {

struct WemRun {
  std::string err;
  int status = -1;
};

// Runs the program with `args` and extra environment entries, stdin from /dev/null and no
// engine configured; kills it if it has not ended within 10 seconds.
WemRun runWem(const std::vector<std::string>& args, const std::vector<std::string>& env = {}) {
  int errPipe[2];
  EXPECT_EQ(pipe(errPipe), 0);
  const pid_t pid = fork();
  if (pid == 0) {
    const int devNull = open("/dev/null", O_RDWR);
    dup2(devNull, STDIN_FILENO);
    dup2(devNull, STDOUT_FILENO);
    dup2(errPipe[1], STDERR_FILENO);
    // Without a host engine an accepted start ends at once, as a refused one does.
    unsetenv("ZUBC_HOST");
    unsetenv("ZUBC_VEK");
    unsetenv("WEM_LOG");
    for (const std::string& entry : env) putenv(const_cast<char*>(entry.c_str()));
    std::vector<const char*> argv{WEM_BINARY};
    for (const std::string& arg : args) argv.push_back(arg.c_str());
    argv.push_back(nullptr);
    execv(WEM_BINARY, const_cast<char* const*>(argv.data()));
    _exit(127);
  }
  close(errPipe[1]);
  WemRun run;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    pollfd readable{errPipe[0], POLLIN, 0};
    if (left.count() <= 0 || poll(&readable, 1, left.count()) <= 0) {
      ADD_FAILURE() << "wem did not end";
      kill(pid, SIGKILL);
      break;
    }
    char bytes[512];
    const ssize_t count = read(errPipe[0], bytes, sizeof bytes);
    if (count <= 0) break;
    run.err.append(bytes, count);
  }
  close(errPipe[0]);
  waitpid(pid, &run.status, 0);
  return run;
}

const std::string kRefusal = "Error: Interpreter mode not supported.\n";

bool exitedZero(const WemRun& run) { return WIFEXITED(run.status) && WEXITSTATUS(run.status) == 0; }

}  // namespace

TEST(Entry, LogGoesToTheFileNamedByWemLogAndNowhereWhenEmptyOrUnwritable) {
  char dir[] = "/tmp/wem_entry_XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  const std::string path = std::string(dir) + "/log";
  ASSERT_TRUE(exitedZero(runWem({"-x=1"}, {"WEM_LOG=" + path})));
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  static const boost::regex number(R"(^\d+: )");
  EXPECT_EQ(boost::regex_replace(text.str(), number, ""),
            "argv: " WEM_BINARY "\nargv: -x=1\noptions[x]=1\n");
  unlink(path.c_str());

  const WemRun empty = runWem({"-i=mi"}, {"WEM_LOG="});
  EXPECT_EQ(empty.err, "");
  EXPECT_TRUE(exitedZero(empty));
  const WemRun unwritable = runWem({}, {"WEM_LOG=" + std::string(dir) + "/missing/log"});
  EXPECT_EQ(unwritable.err, kRefusal);
  EXPECT_TRUE(exitedZero(unwritable));
  rmdir(dir);
}
