#pragma once

#include <windows.h>

#include "core/synchronizer.h"

namespace portwise {

/// What has become of a job's bytes since the connection took them, as far as anybody can tell. Any thread.
class PrintedBytes {
 public:
  /// A job begins, with none.
  void BeginJob();
  /// The connection has taken so many more.
  void Add(size_t bytes);
  ULONGLONG Sent() const;

  /// The printer was asked, and is done with all that it was sent.
  void NoteReady();
  /// Nothing is heard of the printer, which may have been switched off with what it had not printed yet. Nothing that
  /// it says later tells whether it was, so its output stays in doubt.
  void NoteSilence();
  /// Those of which nobody knows whether the printer has printed them.
  ULONGLONG Doubtful() const;

  /// The wait at the job's end is over for all that was sent so far.
  void NoteEnd();
  /// More has been sent since.
  bool HasMoreBehindEnd() const;

 private:
  mutable OCriticalSection lock_;
  ULONGLONG sent_ = 0;
  ULONGLONG settled_ = 0;  // of the first ones: nothing more can become of them
  ULONGLONG doubtful_ = 0;
  ULONGLONG atEnd_ = 0;
};

}  // namespace portwise
