#pragma once
#include <string>

#include "mi/mi_record.h"

// Offload as execution control sees it: in the stop records of an all-stopped state, and in the
// output of a running program.

// The stop of a host group at the offload breakpoint: reason "breakpoint-hit" in a frame whose
// "func" is exactly `offloadSymbol`.
bool isVekOffloadStart(const MiMap& record, const std::string& offloadSymbol);
// The end of a card-side process: a card group whose reason begins with "exited".
bool isVekOffloadEnd(const std::string& zubId, const MiMap& record);

enum class OffloadStop { kNone, kStart, kEnd };
// What the stop of group `zubId` means for offload following.
OffloadStop classifyOffloadStop(const std::string& zubId, const MiMap& record,
                                const std::string& offloadSymbol);

// A card-side process that ended by itself: its stop does not stop the host program. Looser than
// isVekOffloadEnd: "exited" anywhere in the reason.
bool isCardProcessExit(const std::string& zubId, const MiMap& record);

// An MI output line about the offload breakpoint, which would only confuse the user.
bool isOffloadBreakpointChatter(const std::string& line, const std::string& offloadSymbol);
