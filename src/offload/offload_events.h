#pragma once
#include <string>

#include "mi/mi_record.h"

class MiSession;

// Offload as execution control sees it in the stop records of an all-stopped state.

// The stop of a host group at the offload breakpoint: reason "breakpoint-hit" in a frame whose
// "func" is exactly the offload symbol.
bool isVekOffloadStart(MiSession& session, const MiMap& record);
// The end of a card-side process: a card group ("vek...") whose reason begins with "exited".
bool isVekOffloadEnd(MiSession& session, const std::string& zubId, const MiMap& record);
