#pragma once
// A debugger (gdb, the fake engine, or the program in front of either) on two pipes, in a
// process group of its own, for the benchmarks that drive whole processes. Every read has a
// deadline, so a broken run ends its benchmark instead of hanging it.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <string>
#include <vector>

class BenchChild {
 public:
  // `env` holds "NAME=VALUE" entries for the child; no log is written, as in ordinary use.
  BenchChild(const std::vector<std::string>& argv, const std::vector<std::string>& env) {
    int in[2], out[2];
    if (pipe(in) != 0 || pipe(out) != 0) return;
    pid = fork();
    if (pid == 0) {
      setpgid(0, 0);
      const int null = open("/dev/null", O_WRONLY);
      dup2(in[0], 0);
      dup2(out[1], 1);
      dup2(null, 2);
      for (int fd : {in[0], in[1], out[0], out[1], null}) close(fd);
      unsetenv("WEM_LOG");
      for (const std::string& pair : env)
        if (!pair.empty()) putenv(const_cast<char*>(pair.c_str()));
      std::vector<char*> args;
      for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
      args.push_back(nullptr);
      execvp(args[0], args.data());
      _exit(127);
    }
    close(in[0]);
    close(out[1]);
    toChild = in[1];
    fromChild = out[0];
  }
  // Asks for an exit first, so that the debugger ends what it started itself; kills the group
  // after five seconds.
  ~BenchChild() {
    if (pid <= 0) return;
    write("9-gdb-exit\n");
    close(toChild);
    for (int waited = 0; waited < 500 && waitpid(pid, nullptr, WNOHANG) == 0; ++waited)
      usleep(10000);
    if (kill(pid, 0) == 0) {
      killpg(pid, SIGKILL);
      waitpid(pid, nullptr, 0);
    }
    close(fromChild);
  }
  BenchChild(const BenchChild&) = delete;
  BenchChild& operator=(const BenchChild&) = delete;

  bool write(const std::string& text) {
    return ::write(toChild, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  }
  // Reads until the received text ends with `end`, then forgets it; `lines` gets the number of
  // lines up to there.
  bool readUntil(const std::string& end, long* lines = nullptr, int seconds = 30) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (!received.ends_with(end))
      if (!fill(deadline)) return false;
    if (lines) *lines = std::count(received.begin(), received.end(), '\n');
    received.clear();
    return true;
  }
  // Reads lines until one contains `needle` (kept in `matched`); false after ten seconds.
  bool waitFor(const std::string& needle, std::string* matched = nullptr) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    for (;;) {
      for (size_t end; (end = received.find('\n')) != std::string::npos;) {
        const std::string line = received.substr(0, end + 1);
        received.erase(0, end + 1);
        if (line.find(needle) == std::string::npos) continue;
        if (matched) *matched = line;
        return true;
      }
      if (!fill(deadline)) return false;
    }
  }

  pid_t pid = -1;

 private:
  bool fill(std::chrono::steady_clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    pollfd ready = {fromChild, POLLIN, 0};
    if (left.count() <= 0 || poll(&ready, 1, static_cast<int>(left.count())) <= 0) return false;
    char bytes[65536];
    const ssize_t n = read(fromChild, bytes, sizeof bytes);
    if (n <= 0) return false;
    received.append(bytes, static_cast<size_t>(n));
    return true;
  }

  int toChild = -1;
  int fromChild = -1;
  std::string received;
};

// Compiles `source` (C) with -g -O0 into DIR/NAME; its path, or "" when the compiler fails.
inline std::string buildProgram(const std::string& dir, const std::string& name,
                                const std::string& source) {
  std::ofstream(dir + "/" + name + ".c") << source;
  const std::string program = dir + "/" + name;
  const std::string build = "cc -g -O0 -o " + program + " " + program + ".c 2>/dev/null";
  return system(build.c_str()) == 0 ? program : "";
}

// A program whose breakpoint at hit() is hit again on every continue, for as long as anyone asks.
inline const char kLoopProgram[] =
    "volatile unsigned long hits;\n"
    "void hit(void) { hits++; }\n"
    "int main(void) { for (;;) hit(); }\n";
