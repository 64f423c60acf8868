#pragma once

// Mutes output to the user for its lifetime: `Silencer quiet(ctrl.muted);`. It takes the
// controller's flag rather than the controller so that base stays below engine.
// The end of any guard unmutes; guards do not nest.
class Silencer {
 public:
  explicit Silencer(bool& muted) : muted(&muted) { *this->muted = true; }
  ~Silencer() { *muted = false; }
  Silencer(const Silencer&) = delete;
  Silencer& operator=(const Silencer&) = delete;

 private:
  bool* muted;
};
