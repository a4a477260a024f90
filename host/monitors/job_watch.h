#pragma once

#include <windows.h>

#include <atomic>
#include <string>

#include "host/monitors/document.h"

namespace portwise {

/// A port's eye on the job whose document is open there, and its word on it to the spooler. One thread at a time, but
/// for StopAll.
class JobWatch {
 public:
  void Begin(const Document& document);
  void End();

  /// True when the job is being deleted or is gone, or the spooler ends: whatever the port waits for, it must wait no
  /// more. Asks the spooler four times a second at most, unless it is to ask `now`. Without a document it is true only
  /// when the spooler ends.
  bool MustStop(bool now = false);

  /// Waits that long, but not after MustStop. False when it must.
  bool Pause(DWORD milliseconds);

  /// What the job waits for, for those who look at the queue.
  void Explain(const std::string& reason);
  /// The job's data did not all reach the printer. The spooler keeps the job, with the reason, instead of taking it
  /// for printed.
  void Fail(const std::string& reason);
  /// The user who printed the job; empty when nobody knows.
  std::string User() const { return user_; }

  /// Ends the waits of all ports for good: the spooler is about to end. Any thread.
  static void StopAll();

 private:
  void Report(const char* field, const std::string& reason);

  DWORD job_ = 0;
  std::string user_;
  bool stop_ = false;
  long long askedAt_ = 0;
  static std::atomic<bool> stopAll_;
};

}  // namespace portwise
