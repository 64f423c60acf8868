#pragma once
#include <map>

// A two-way map between one numbering (external, the user's) and another (internal, one
// engine's). The maps always hold the same pairs in opposite directions: every insertion and
// removal goes through both, so neither ever holds a pair the other lacks.
template <class External, class Internal>
struct ConversionTable {
  std::map<External, Internal> forward;   // external id to internal id
  std::map<Internal, External> backward;  // internal id to external id

  // Records the pair; a pair that held either id before is dropped from both maps first.
  void insert(External const& external, Internal const& internal) {
    eraseExternal(external);
    eraseInternal(internal);
    forward.emplace(external, internal);
    backward.emplace(internal, external);
  }

  // Lookups: false, with the output untouched, for an unknown id.
  bool toInternal(External const& external, Internal& internal) const {
    auto it = forward.find(external);
    if (it == forward.end()) return false;
    internal = it->second;
    return true;
  }
  bool toExternal(Internal const& internal, External& external) const {
    auto it = backward.find(internal);
    if (it == backward.end()) return false;
    external = it->second;
    return true;
  }

  // Forget the pair that holds the id; false when there is none.
  bool eraseExternal(External const& external) {
    auto it = forward.find(external);
    if (it == forward.end()) return false;
    backward.erase(it->second);
    forward.erase(it);
    return true;
  }
  bool eraseInternal(Internal const& internal) {
    auto it = backward.find(internal);
    if (it == backward.end()) return false;
    forward.erase(it->second);
    backward.erase(it);
    return true;
  }
};
