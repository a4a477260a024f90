#pragma once

#include <windows.h>

#include "core/fault/fault_report.h"
#include "core/handles.h"
#include "core/synchronizer.h"
#include "core/worker_thread.h"

namespace portwise {

/// Closes something some time after its last use, on a thread of its own, unless it is used again before. At most one
/// wait is under way. Any thread, but for the destructor.
class DelayedClose {
 public:
  /// What is closed. Both are called from the thread, too.
  class Target {
   public:
    virtual bool CloseNow() = 0;
    /// Milliseconds; 0 closes at once.
    virtual DWORD ClosePeriod() = 0;

   protected:
    ~Target() = default;
  };

  /// The target must outlive this. The thread's guard reports to what `Start` is given.
  explicit DelayedClose(Target& target);
  DelayedClose(const DelayedClose&) = delete;
  DelayedClose& operator=(const DelayedClose&) = delete;
  /// Has what waits closed now, and waits until it is.
  ~DelayedClose();

  /// Begins the wait, unless one is under way. False when there is no thread to be had.
  bool Start(FaultReport* report);
  /// A wait is under way, or the close that ended it.
  bool IsWaiting();
  /// Ends the wait and leaves the target open. A close that has begun is waited for.
  void Cancel();
  /// Ends the wait and leaves the target open, without waiting for the thread.
  void RequestCancel() { SetEvent(cancel_.Get()); }
  /// Ends the wait and has the target closed now, without waiting for it.
  void RequestClose() { SetEvent(closeNow_.Get()); }

 private:
  void Run();
  void Wait();

  Target& target_;
  FaultReport* report_ = nullptr;
  // Under the lock: who starts and who waits for the thread. The thread itself does not take it.
  OCriticalSection lock_;
  unique_handle cancel_;  // manual-reset, as is the next
  unique_handle closeNow_;
  WorkerThread thread_;
};

}  // namespace portwise
