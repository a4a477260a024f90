#pragma once

#include <windows.h>

#include "core/handles.h"

namespace portwise {

/// A thread of the library's own, which keeps the library loaded until its last step. One thread at a time starts it
/// and waits for it.
class WorkerThread {
 public:
  WorkerThread();
  /// Waits for the thread.
  ~WorkerThread() { Join(); }
  WorkerThread(const WorkerThread&) = delete;
  WorkerThread& operator=(const WorkerThread&) = delete;

  /// Runs `body`, which lets nothing escape, with `context`. True also when the thread runs already; false when the
  /// system refuses.
  bool Start(void (*body)(void*), void* context);
  /// The body has not come to its end.
  bool IsRunning() const;
  /// Waits until the body has come to its end, and what the thread kept for itself is gone.
  void Join() { JoinFor(INFINITE); }
  /// The same for so many milliseconds at most; false when they were not enough, and the thread goes on.
  bool JoinFor(DWORD milliseconds);

 private:
  static DWORD WINAPI Run(LPVOID self);

  void (*body_)(void*) = nullptr;
  void* context_ = nullptr;
  unique_handle ended_;  // set while no thread uses this object: where the library is being unloaded, or the process
                         // ends, a thread's own end cannot be waited for
  unique_handle thread_;
  unique_module library_;
};

}  // namespace portwise
