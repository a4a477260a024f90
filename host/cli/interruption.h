#pragma once

namespace portwise {

/// While it lives, the first Ctrl-C, SIGTERM or SIGHUP is only noted, so that the program can end in order. A second
/// one ends it at once, for when it waits for what never comes, and leaves the terminal as it was found. Signals that
/// the caller had ignored stay ignored. One object at a time, on the main thread.
class Interruption {
 public:
  /// `farewell` lives longer than this object; it is written to standard output before the program ends at once.
  explicit Interruption(const char* farewell = "");
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  bool Happened() const;
  /// Waits unless it happens, or has; whether it did.
  bool WaitFor(int milliseconds) const;
};

}  // namespace portwise
