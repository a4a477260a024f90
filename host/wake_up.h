#pragma once

#include <windows.h>

#include <atomic>

namespace portwise {

/// What a port's thread waits at: orders wake it, and the end of the spooler stops it. One thread waits; any thread
/// wakes and stops. Waits are in milliseconds of the platform's clock.
class WakeUp {
 public:
  WakeUp() : event_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}
  ~WakeUp() { CloseHandle(event_); }
  WakeUp(const WakeUp&) = delete;
  WakeUp& operator=(const WakeUp&) = delete;

  /// Returns early when woken, also by a wake that came since the last wait.
  void Wait(DWORD milliseconds) {
    if (!Stopping()) WaitForSingleObject(event_, milliseconds);
  }
  /// Forgets a wake that came since the last wait.
  void Forget() { ResetEvent(event_); }
  void Wake() { SetEvent(event_); }
  void Stop() {
    stopping_ = true;
    Wake();
  }
  bool Stopping() const { return stopping_; }

 private:
  HANDLE event_;
  std::atomic<bool> stopping_ = false;
};

}  // namespace portwise
