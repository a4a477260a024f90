// The linker puts __wrap__ZSt9terminatev in the place of std::terminate. A function that must not throw, and that has a
// try block or objects to destroy, calls it when an exception leaves it. One that came from a fault goes on instead.

#include <unwind.h>

#include "core/fault/fault_resume.h"

extern "C" [[noreturn]] void __real__ZSt9terminatev();

extern "C" [[noreturn]] void __wrap__ZSt9terminatev() {
  if (void* header = PortwiseFaultBeingUnwound()) _Unwind_Resume(static_cast<_Unwind_Exception*>(header));
  __real__ZSt9terminatev();
}
