#include "base/diagnostics.h"
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

}  // namespace

int main(int, char** argv) {
  LogStreams logStreams;
  std::ostream& log = chooseLogStream(logStreams);
  CtrlModule ctrl(log);
  ctrl.start();  // From here on the user's lines are being queued.
  Options options;
  const char** args = const_cast<const char**>(argv);
  parseOptions(args, options, ctrl.log);
  if (isMiInterpreter(options)) {
    // Card discovery, the host engine and the main loop; then every engine is ended.
    MiSession session(ctrl, options);
    session.start(args);
    session.stop();
  } else {
    writeDiagnostic(ctrl.log, "Error: Interpreter mode not supported.");
  }
  ctrl.stop();
  return 0;
}
