#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>

#include "base/compat.h"
#include "base/diagnostics.h"
#include "base/env_var.h"
#include "base/log.h"
#include "base/options.h"
#include "engine/ctrl_module.h"
#include "session/mi_session.h"

namespace {

// True when "i" or else "interpreter" begins with "mi" (mi, mi2, ...). Both lookups insert an
// empty entry when the option is missing, so the map holds every key consulted.
bool isMiInterpreter(Options& options) {
  return options["i"].rfind("mi", 0) == 0 || options["interpreter"].rfind("mi", 0) == 0;
}

// gdb's clients ask for "--version" first and read the version line they know, so in gdb's mode
// the host engine writes its own, straight to our standard output. False when it cannot be run.
bool printHostVersion(std::ostream& log) {
  static const EnvVar hostEngine("ZUBC_HOST", "");
  const char* argv[] = {hostEngine.value().c_str(), "--version", nullptr};
  pid_t pid = 0;
  if (hostEngine.value().empty() ||
      posix_spawnp(&pid, argv[0], nullptr, nullptr, const_cast<char* const*>(argv), environ) != 0) {
    writeDiagnostic(log, "Error: Cannot run the host engine (ZUBC_HOST) for its version.");
    return false;
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return true;
}

}  // namespace

int main(int, char** argv) {
  LogStreams logStreams;
  std::ostream& log = chooseLogStream(logStreams);
  CtrlModule ctrl(log);
  ctrl.start();  // From here on the user's lines are being queued.
  Options options;
  const char** args = const_cast<const char**>(argv);
  parseOptions(args, options, ctrl.log);
  int status = 0;
  if (gdbCompatible() && options.contains("version")) {
    status = printHostVersion(ctrl.log) ? 0 : 1;
  } else if (isMiInterpreter(options)) {
    // Card discovery, the host engine and the main loop; then every engine is ended.
    MiSession session(ctrl, options);
    session.start(args);
    session.stop();
  } else {
    writeDiagnostic(ctrl.log, "Error: Interpreter mode not supported.");
  }
  ctrl.stop();
  return status;
}
