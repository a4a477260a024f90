#pragma once

#include <windows.h>

#include <atomic>
#include <optional>
#include <string>

#include "host/monitors/document.h"

namespace portwise {

/// A port's eye on the job whose document is open there, and its word on it to the spooler. One thread at a time, but
/// for StopAll.
class JobWatch {
 public:
  void Begin(const Document& document);
  /// The port begins to wait for the printer to take the document's end.
  void BeginEnd();
  void End();

  /// True when the job is being deleted or is gone, or the spooler ends: whatever the port waits for, it must wait no
  /// more. Asks the spooler four times a second at most, unless it is to ask `now`. A document that belongs to no job
  /// cannot be deleted: its end may wait for five seconds. Without a document it is true only when the spooler ends.
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
  /// False also while no document is open.
  bool HasJob() const { return job_ != 0; }

  /// Counts bytes that the printer's side has taken of the document.
  void CountTaken(DWORD bytes);
  /// What has taken the document so far is gone. If that was anything, the rest must not go to what takes its place:
  /// the job fails with the reason and the count, and the document is broken until it ends.
  void BreakOff(const std::string& reason);
  bool IsBroken() const { return broken_; }

  /// Ends the waits of all ports for good: the spooler is about to end. Any thread.
  static void StopAll();

 private:
  void Report(const char* field, const std::string& reason);

  DWORD job_ = 0;
  std::string user_;
  bool stop_ = false;
  long long askedAt_ = 0;
  bool open_ = false;    // a document is
  bool broken_ = false;  // the document is
  unsigned long long taken_ = 0;
  std::optional<long long> endBegan_;
  static std::atomic<bool> stopAll_;
};

}  // namespace portwise
