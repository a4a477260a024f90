// Every module of the process that does not bring a personality function of its own finds this one, which comes before
// the C++ library's: so an exception can pass frames of modules that know nothing of faults. The C++ library itself is
// among them.

#include <dlfcn.h>
#include <sched.h>
#include <unwind.h>

#include <atomic>
#include <cstdlib>
#include <iterator>

namespace {

using PassFunction = bool (*)(_Unwind_Action, _Unwind_Exception*, _Unwind_Context*);
using Personality = _Unwind_Reason_Code (*)(int, _Unwind_Action, _Unwind_Exception_Class, _Unwind_Exception*,
                                            _Unwind_Context*);

// One for each library that has guards. More than these are not asked.
std::atomic<PassFunction> passFunctions[16];
std::atomic<int> asking = 0;

Personality Next() {
  static const auto next = reinterpret_cast<Personality>(dlsym(RTLD_NEXT, "__gxx_personality_v0"));
  return next ? next : (std::abort(), nullptr);
}

bool Passes(_Unwind_Action actions, _Unwind_Exception* exception, _Unwind_Context* context) {
  bool passes = false;
  ++asking;
  for (auto function = std::begin(passFunctions); function != std::end(passFunctions) && !passes; ++function) {
    const PassFunction ask = *function;
    passes = ask && ask(actions, exception, context);
  }
  --asking;
  return passes;
}

}  // namespace

/// From now on asks the function whether an exception passes a frame, in whatever thread it is thrown. It must not
/// throw.
extern "C" void PortwiseAddFramePass(PassFunction function) {
  Next();
  for (auto& place : passFunctions) {
    PassFunction none = nullptr;
    if (place.compare_exchange_strong(none, function)) return;
  }
}

/// When this returns the function is not asked any more.
extern "C" void PortwiseRemoveFramePass(PassFunction function) {
  for (auto& place : passFunctions) {
    PassFunction found = function;
    if (place.compare_exchange_strong(found, nullptr)) break;
  }
  while (asking != 0) sched_yield();
}

extern "C" _Unwind_Reason_Code __gxx_personality_v0(int version, _Unwind_Action actions,
                                                    _Unwind_Exception_Class exceptionClass,
                                                    _Unwind_Exception* exception, _Unwind_Context* context) {
  if (Passes(actions, exception, context)) return _URC_CONTINUE_UNWIND;
  return Next()(version, actions, exceptionClass, exception, context);
}
