#include "offload/offload_events.h"

#include "base/engine_id.h"
#include "match/output_matchers.h"

namespace {

std::string stopReason(const MiMap& record) {
  std::string reason;
  record.findString("reason", reason);
  return reason;
}

}  // namespace

bool isVekOffloadStart(const MiMap& record, const std::string& offloadSymbol) {
  std::string func;
  MiMap frame(false);
  if (stopReason(record) != "breakpoint-hit") return false;
  if (!record.findMiMap("frame", frame) || !frame.findString("func", func)) return false;
  return func == offloadSymbol;
}

bool isVekOffloadEnd(const std::string& zubId, const MiMap& record) {
  return isCardEngine(zubId) && stopReason(record).starts_with("exited");
}

OffloadStop classifyOffloadStop(const std::string& zubId, const MiMap& record,
                                const std::string& offloadSymbol) {
  if (isVekOffloadStart(record, offloadSymbol)) return OffloadStop::kStart;
  if (isVekOffloadEnd(zubId, record)) return OffloadStop::kEnd;
  return OffloadStop::kNone;
}

bool isCardProcessExit(const std::string& zubId, const MiMap& record) {
  return isCardEngine(zubId) && stopReason(record).find("exited") != std::string::npos;
}

bool isOffloadBreakpointChatter(const std::string& line, const std::string& offloadSymbol) {
  return matchMiOut(line) && line.find(offloadSymbol) != std::string::npos;
}
