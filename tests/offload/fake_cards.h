#pragma once
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

// A simulated machine with coprocessor cards that only a child process in a private mount
// namespace sees: a temporary directory is bound over /opt there, and a stub `mount` first in
// PATH names a sysfs tree inside the same directory. The real machine is never touched.
class FakeCardMachine {
 public:
  // What runInside reports when the namespace could not be entered (no permission).
  static constexpr int kNotPermitted = 77;

  FakeCardMachine() {
    char pattern[] = "/tmp/wem-cards-XXXXXX";
    root_ = mkdtemp(pattern) ? pattern : "";
    std::filesystem::create_directories(root_ + "/opt/ulvax/vek/filesystem");
    std::filesystem::create_directories(sysfs() + "/class/vek");
    std::filesystem::create_directories(root_ + "/bin");
    setMountOutput("sysfs on " + sysfs() + " type sysfs (rw,nosuid,nodev,noexec,relatime)\n");
  }
  ~FakeCardMachine() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
  FakeCardMachine(const FakeCardMachine&) = delete;
  FakeCardMachine& operator=(const FakeCardMachine&) = delete;

  const std::string& root() const { return root_; }
  std::string sysfs() const { return root_ + "/sys"; }

  // What the stub `mount` prints, whatever its arguments.
  void setMountOutput(const std::string& text) {
    write("/bin/mount-output", text);
    write("/bin/mount", "#!/bin/sh\ncat '" + root_ + "/bin/mount-output'\n");
    chmod((root_ + "/bin/mount").c_str(), 0755);
  }
  // The state file of card `number` in sysfs.
  void setState(const std::string& number, const std::string& state) {
    std::filesystem::create_directories(sysfs() + "/class/vek/vek" + number);
    write("/sys/class/vek/vek" + number + "/state", state);
  }
  // The card's file-system image with its network configuration.
  void setConfig(const std::string& number, const std::string& ifcfg) {
    const std::string dir = "/opt/ulvax/vek/filesystem/vek" + number + "/etc/sysconfig/network";
    std::filesystem::create_directories(root_ + dir);
    write(dir + "/ifcfg-vek0", ifcfg);
  }
  void addCard(const std::string& number, const std::string& state, const std::string& ifcfg) {
    setState(number, state);
    setConfig(number, ifcfg);
  }
  // Any file below the machine's root ("/opt/..." lands in the bound directory).
  void write(const std::string& path, const std::string& text) {
    std::ofstream(root_ + path, std::ios::binary) << text;
  }

  // Runs `body` in a child process that sees this machine, and returns its exit status:
  // kNotPermitted when the private namespace cannot be had, -1 when the child had to be killed
  // after `limit` or died by a signal.
  int runInside(const std::function<int()>& body,
                std::chrono::seconds limit = std::chrono::seconds(20)) const {
    const pid_t child = fork();
    if (child < 0) return -1;
    if (child == 0) _exit(enter() ? body() : kNotPermitted);
    const auto deadline = std::chrono::steady_clock::now() + limit;
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0) {
      if (std::chrono::steady_clock::now() > deadline) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        return -1;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  // In the child: a private mount namespace (as root directly, otherwise inside a user namespace
  // that maps us to root), the machine's opt directory over /opt and the stub first in PATH.
  bool enter() const {
    if (unshare(CLONE_NEWNS) != 0) {
      const uid_t uid = getuid();
      const gid_t gid = getgid();
      if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
      writeProc("/proc/self/setgroups", "deny");
      if (!writeProc("/proc/self/uid_map", "0 " + std::to_string(uid) + " 1") ||
          !writeProc("/proc/self/gid_map", "0 " + std::to_string(gid) + " 1"))
        return false;
    }
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
    if (mount((root_ + "/opt").c_str(), "/opt", nullptr, MS_BIND, nullptr) != 0) return false;
    const char* path = getenv("PATH");
    setenv("PATH", (root_ + "/bin:" + (path ? path : "/usr/bin:/bin")).c_str(), 1);
    return true;
  }
  static bool writeProc(const char* path, const std::string& text) {
    const int fd = open(path, O_WRONLY);
    if (fd < 0) return false;
    const bool written = ::write(fd, text.data(), text.size()) == ssize_t(text.size());
    close(fd);
    return written;
  }

  std::string root_;
};
