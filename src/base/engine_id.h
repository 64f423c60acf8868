#pragma once
#include <string>

// Engine ids name an engine and its thread group: "i1" is the host program's engine, "i2" and
// further ids are added inferiors, and card engines are "vek1", "vek2", ...
inline constexpr char kHostEngineId[] = "i1";
inline constexpr char kCardEnginePrefix[] = "vek";

// The engine is attached to a card-side process: its threads belong to the host's group "i1".
inline bool isCardEngine(const std::string& engineId) {
  return engineId.starts_with(kCardEnginePrefix);
}
