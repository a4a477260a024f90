#include "core/fault/fault_translator.h"

#include <cxxabi.h>

#include "core/fault/fault_resume.h"
#include "core/fault/thread_fault.h"

namespace portwise {
namespace {

/// Puts the thread's count of uncaught exceptions right at the end of a call. A fault in a cleanup replaces the
/// exception whose cleanup it was, which then is never caught, and which the C++ library goes on counting.
class UncaughtCount {
 public:
  UncaughtCount() : before_(Globals()->uncaught) {}
  ~UncaughtCount() {
    const unsigned int now = before_ + (returned_ ? 0 : 1);
    if (Globals()->uncaught > now) Globals()->uncaught = now;
  }
  UncaughtCount(const UncaughtCount&) = delete;
  UncaughtCount& operator=(const UncaughtCount&) = delete;

  void Returned() { returned_ = true; }

 private:
  /// As the Itanium C++ ABI lays it out.
  struct ThreadGlobals {
    void* caught;
    unsigned int uncaught;
  };
  static ThreadGlobals* Globals() { return reinterpret_cast<ThreadGlobals*>(abi::__cxa_get_globals()); }

  const unsigned int before_;
  bool returned_ = false;
};

}  // namespace

FaultTranslator SetFaultTranslator(FaultTranslator translator) noexcept {
  const DWORD error = GetLastError();
  ThreadFault* thread = translator ? ThreadFault::Prepare() : ThreadFault::Find();
  FaultTranslator previous = nullptr;
  if (thread) {
    // Somebody below a guard may have caught an overflow without a word.
    thread->MendStack();
    previous = thread->translator;
    thread->translator = translator;
  }
  SetLastError(error);
  return previous;
}

BOOL CallTranslated(BOOL (*function)(void* body), void* body) {
  UncaughtCount count;
  const BOOL result = PortwiseCallInFaultFrame(function, body);
  count.Returned();
  return result;
}

void EndFault() noexcept {
  if (ThreadFault* thread = ThreadFault::Find()) thread->End();
}

}  // namespace portwise
