#include "core/worker_thread.h"

#include "core/thread_local_singleton.h"

namespace portwise {

WorkerThread::WorkerThread() : ended_(CreateEventW(nullptr, TRUE, TRUE, nullptr)) {}

bool WorkerThread::Start(void (*body)(void*), void* context) {
  if (IsRunning()) return true;
  if (!ended_) return false;
  body_ = body;
  context_ = context;
  ResetEvent(ended_.Get());
  thread_.Reset();
  if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&Run), library_.Put())) {
    thread_.Reset(CreateThread(nullptr, 0, Run, this, 0, nullptr));
    if (thread_) return true;
    library_.Reset();
  }
  SetEvent(ended_.Get());
  return false;
}

bool WorkerThread::IsRunning() const {
  return thread_ && WaitForSingleObject(ended_.Get(), 0) == WAIT_TIMEOUT &&
         WaitForSingleObject(thread_.Get(), 0) == WAIT_TIMEOUT;
}

/// Of a process that ends the system stops the threads without asking them.
bool WorkerThread::JoinFor(DWORD milliseconds) {
  if (!thread_) return true;
  const HANDLE ends[] = {ended_.Get(), thread_.Get()};
  if (WaitForMultipleObjects(2, ends, FALSE, milliseconds) == WAIT_TIMEOUT) return false;
  thread_.Reset();
  return true;
}

DWORD WINAPI WorkerThread::Run(LPVOID self) {
  auto* const thread = static_cast<WorkerThread*>(self);
  thread->body_(thread->context_);
  // The library may learn of its own end before it would of the thread's.
  ThreadLocalSlot::DestroyObjects();
  const HMODULE library = thread->library_.Detach();
  SetEvent(thread->ended_.Get());
  FreeLibraryAndExitThread(library, 0);
}

}  // namespace portwise
