#include <pthread.h>
#include <unistd.h>
#include <windows.h>

#include <atomic>
#include <csetjmp>
#include <memory>
#include <semaphore>

#include "platform/kernel/dll_entry.h"
#include "platform/kernel/errno_map.h"
#include "platform/kernel/waitable.h"

namespace portwise::platform {
namespace {

class Thread;
thread_local Thread* thisThread = nullptr;  // null where CreateThread did not start the thread

class Thread final : public Waitable {
 public:
  Thread(LPTHREAD_START_ROUTINE start, LPVOID parameter)
      : Waitable(true, false), start_(start), parameter_(parameter) {}

  /// Everything that the thread does. It counts as ended only after the libraries have been told.
  void Run() {
    id_ = static_cast<DWORD>(gettid());
    started_.release();
    thisThread = this;
    if (setjmp(end_) == 0) result_ = start_(parameter_);
    if (lastModule_) FreeLibrary(lastModule_);
    DetachThread();
    exitCode_ = result_;
    Signal();
  }

  /// Leaves the functions that the thread is in, without unwinding them: their code may be gone with `module`, which is
  /// freed afterwards.
  [[noreturn]] void Leave(HMODULE module, DWORD code) {
    lastModule_ = module;
    result_ = code;
    longjmp(end_, 1);
  }

  /// Waits until the thread runs. One call at most.
  DWORD TakeId() {
    started_.acquire();
    return id_;
  }
  DWORD ExitCode() const { return exitCode_; }

 private:
  const LPTHREAD_START_ROUTINE start_;
  const LPVOID parameter_;
  std::binary_semaphore started_{0};
  DWORD id_ = 0;
  std::jmp_buf end_;
  HMODULE lastModule_ = nullptr;
  DWORD result_ = 0;
  std::atomic<DWORD> exitCode_ = STILL_ACTIVE;
};

void* ThreadMain(void* argument) {
  const std::unique_ptr<std::shared_ptr<Thread>> thread(static_cast<std::shared_ptr<Thread>*>(argument));
  (*thread)->Run();
  return nullptr;
}

/// Starts a detached thread that keeps `thread` alive. The result is an errno value.
int Start(const std::shared_ptr<Thread>& thread, SIZE_T stackSize, bool isReservation) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  // Otherwise the stack size is what is committed at first: it asks for more than the default, never for less.
  SIZE_T usual = 0;
  pthread_attr_getstacksize(&attributes, &usual);
  if (stackSize > usual || (isReservation && stackSize > 0))
    pthread_attr_setstacksize(&attributes, (stackSize + 0xffff) & ~SIZE_T{0xffff});
  auto argument = std::make_unique<std::shared_ptr<Thread>>(thread);
  pthread_t id;
  const int error = pthread_create(&id, &attributes, ThreadMain, argument.get());
  if (error == 0) argument.release();
  pthread_attr_destroy(&attributes);
  return error;
}

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES, SIZE_T stackSize, LPTHREAD_START_ROUTINE start, LPVOID parameter,
                           DWORD flags, LPDWORD threadId) {
  if (!start || (flags & ~STACK_SIZE_PARAM_IS_A_RESERVATION) != 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  const auto thread = std::make_shared<Thread>(start, parameter);
  const HANDLE handle = OpenHandle(thread);
  if (!handle) return nullptr;
  if (const int error = Start(thread, stackSize, flags != 0); error != 0) {
    CloseHandle(handle);
    SetLastError(ErrorOfErrno(error));
    return nullptr;
  }
  if (threadId) *threadId = thread->TakeId();
  return handle;
}

void WINAPI FreeLibraryAndExitThread(HMODULE module, DWORD exitCode) {
  if (thisThread) thisThread->Leave(module, exitCode);
  FreeLibrary(module);
  pthread_exit(nullptr);
}

BOOL WINAPI GetExitCodeThread(HANDLE thread, LPDWORD exitCode) {
  const auto object = FindObjectOf<Thread>(thread);
  if (object) *exitCode = object->ExitCode();
  return object != nullptr;
}

DWORD WINAPI GetCurrentThreadId() { return static_cast<DWORD>(gettid()); }
DWORD WINAPI GetCurrentProcessId() { return static_cast<DWORD>(getpid()); }
HANDLE WINAPI GetCurrentProcess() { return INVALID_HANDLE_VALUE; }
