#pragma once

#include <windows.h>

#include "core/fault/fault_translator.h"
#include "core/thread_local_singleton.h"

namespace portwise {

/// What a thread with guards knows of its faults. Used by that thread alone, in its exception handlers as well.
struct ThreadFault : ThreadLocalObject {
  /// The calling thread's; null when it never had a guard.
  static ThreadFault* Find();
  /// Makes one when there is none, and sees to it that a stack overflow can be handled; null when memory runs out.
  static ThreadFault* Prepare();

  /// Takes a new fault over; the thread's stack ended at `stackPointer` then. False when it is not to be translated:
  /// the thread has no guard now, or faults follow one another without end.
  bool Begin(const EXCEPTION_POINTERS& fault, ULONG_PTR stackPointer);
  /// Throws what the translator makes of the fault.
  [[noreturn]] void Throw();
  /// The fault has been caught.
  void End();
  /// Whether it has been caught, be it by somebody who does not say so.
  bool IsCaught() const;
  /// Arms the end of the stack again when an overflow has been caught.
  void MendStack();

  FaultTranslator translator = nullptr;
  EXCEPTION_RECORD record = {};
  CONTEXT context = {};
  EXCEPTION_POINTERS pointers = {&record, &context};
  ULONG_PTR lastStackPointer = 0;
  int faultsInARow = 0;
  bool isStackOpen = false;  // an overflow has used the reserve, which is not armed again yet
  // The C++ exception that the last fault became; before the first look for its handler only `thrown` is set.
  bool thrown = false;
  const void* header = nullptr;
  // The same while the unwinder, as far as it has told, is running its cleanups and those of no other.
  const void* unwinding = nullptr;
  // The target's own, while the fault is being taken to where it is thrown.
  ULONG_PTR place = 0;
};

}  // namespace portwise
