// What the program costs a session: the latency it adds to a round trip, the CPU it burns while
// idle, and how fast it passes engine output on. Each is measured against the fake engine from
// the tests, through the program and, for comparison, with the engine driven directly.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "bench_child.h"

namespace {

using Clock = std::chrono::steady_clock;

const std::string kWem = WEM_BINARY_DIR "/bin/wem";
const std::string kFakeEngine = WEM_BINARY_DIR "/bin/fake_engine";

std::string writeScenario(const std::string& name, const std::string& text) {
  const std::string path = "/tmp/wem-bench-" + std::to_string(getpid()) + "-" + name;
  std::ofstream(path) << text;
  return path;
}

// No scenario leaves the fake's default: every command answered "^done" at once.
std::string scenarioSetting(const std::string& scenario) {
  return scenario.empty() ? "" : "WEM_FAKE_SCENARIO=" + scenario;
}

// The program on one fake engine, past its greeting.
struct WemOnFake {
  explicit WemOnFake(const std::string& scenario = "")
      : child({kWem, "--interpreter=mi"}, {"ZUBC_HOST=" + kFakeEngine, scenarioSetting(scenario)}) {
    ready = child.readUntil("=thread-group-added,id=\"i1\"\n(gdb)\n");
  }
  BenchChild child;
  bool ready = false;
};

struct FakeAlone {
  explicit FakeAlone(const std::string& scenario = "")
      : child({kFakeEngine}, {scenarioSetting(scenario)}) {
    ready = child.readUntil("(gdb)\n");
  }
  BenchChild child;
  bool ready = false;
};

double percentile(std::vector<double> samples, double fraction) {
  if (samples.empty()) return 0;
  std::sort(samples.begin(), samples.end());
  return samples[std::min(samples.size() - 1, size_t(fraction * double(samples.size())))];
}

// One "-gdb-set" answered at once by the engine, timed from the write to the prompt after the
// reply, through the program and with the same engine driven directly, in alternate blocks of
// back-to-back round trips as a client sends them at a stop. A pause between blocks lets the
// program's main thread go to sleep, so that its brief watch for the next event never takes a
// CPU from the direct samples. The counters give both medians and the latency the program adds
// (median through it less median direct), in microseconds.
constexpr int kBlock = 50;

template <class Target>
bool timeOne(Target& target, long token, std::vector<double>& samples) {
  const std::string id = std::to_string(token);
  const auto start = Clock::now();
  if (!target.child.write(id + "-gdb-set width 0\n") ||
      !target.child.readUntil(id + "^done\n(gdb)\n"))
    return false;
  samples.push_back(std::chrono::duration<double>(Clock::now() - start).count() * 1e6);
  return true;
}

void BM_RoundTripAddedLatency(benchmark::State& state) {
  FakeAlone direct;
  WemOnFake wem;
  if (!direct.ready || !wem.ready) {
    state.SkipWithError("the program or the fake engine did not start");
    return;
  }
  std::vector<double> directUs, wemUs;
  long token = 0;
  for (auto _ : state) {
    for (int i = 0; i < 2 * kBlock; ++i) {
      if (i % kBlock == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
      const bool answered =
          i < kBlock ? timeOne(direct, ++token, directUs) : timeOne(wem, ++token, wemUs);
      if (!answered) {
        state.SkipWithError("no answer");
        return;
      }
    }
  }
  state.counters["direct_p50_us"] = percentile(directUs, 0.5);
  state.counters["wem_p50_us"] = percentile(wemUs, 0.5);
  state.counters["wem_p99_us"] = percentile(wemUs, 0.99);
  state.counters["added_p50_us"] = percentile(wemUs, 0.5) - percentile(directUs, 0.5);
}
BENCHMARK(BM_RoundTripAddedLatency)->Iterations(4000 / kBlock)->Unit(benchmark::kMicrosecond);

// CPU time (user + system, from /proc) of the program over 10 seconds with one idle engine.
double cpuSeconds(pid_t pid) {
  std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
  std::string stat((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::istringstream fields(stat.substr(stat.rfind(')') + 2));
  std::string field;
  long utime = 0, stime = 0;
  for (int i = 3; i <= 15 && fields >> field; ++i) {
    if (i == 14) utime = std::stol(field);
    if (i == 15) stime = std::stol(field);
  }
  return double(utime + stime) / double(sysconf(_SC_CLK_TCK));
}

void BM_IdleCpuOver10Seconds(benchmark::State& state) {
  WemOnFake wem;
  if (!wem.ready) {
    state.SkipWithError("the program did not start");
    return;
  }
  for (auto _ : state) {
    const double before = cpuSeconds(wem.child.pid);
    std::this_thread::sleep_for(std::chrono::seconds(10));
    const double used = cpuSeconds(wem.child.pid) - before;
    state.counters["cpu_ms_per_10s"] = used * 1000;
    state.counters["cpu_percent"] = used * 10;
  }
}
BENCHMARK(BM_IdleCpuOver10Seconds)->Iterations(1)->Unit(benchmark::kSecond);

// Lines of engine log-stream output per second that reach the user during one command.
constexpr long kFloodLines = 200000;

// Seconds for one flood through `target`, or a negative number when it failed.
template <class Target>
double floodSeconds(Target& target, long token) {
  const std::string id = std::to_string(token);
  long lines = 0;
  const auto start = Clock::now();
  if (!target.child.write(id + "-gdb-set width 0\n") ||
      !target.child.readUntil(id + "^done\n(gdb)\n", &lines, 120) || lines < kFloodLines)
    return -1;
  return std::chrono::duration<double>(Clock::now() - start).count();
}

void BM_FloodLinesPerSecond(benchmark::State& state) {
  const std::string scenario =
      writeScenario("flood", "on -gdb-set @flood " + std::to_string(kFloodLines) +
                                 " &\"a line of engine output of ordinary length\\n\"\n"
                                 "on -gdb-set $TOKEN^done\n");
  FakeAlone direct(scenario);
  WemOnFake wem(scenario);
  if (!direct.ready || !wem.ready) {
    state.SkipWithError("the program or the fake engine did not start");
    unlink(scenario.c_str());
    return;
  }
  double directSeconds = 0, wemSeconds = 0;
  long token = 0;
  for (auto _ : state) {
    const double d = floodSeconds(direct, ++token);
    const double w = floodSeconds(wem, ++token);
    if (d < 0 || w < 0) {
      state.SkipWithError("the flood did not end or lines were lost");
      break;
    }
    directSeconds += d;
    wemSeconds += w;
  }
  const double runs = double(state.iterations());
  state.counters["direct_lines_per_s"] = kFloodLines * runs / directSeconds;
  state.counters["wem_lines_per_s"] = kFloodLines * runs / wemSeconds;
  state.counters["wem_over_direct"] = directSeconds / wemSeconds;
  unlink(scenario.c_str());
}
BENCHMARK(BM_FloodLinesPerSecond)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
