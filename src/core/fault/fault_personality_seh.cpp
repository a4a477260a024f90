// For 64-bit Windows, where the system unwinds; see fault_personality_itanium.cpp for what this is about.

#include <windows.h>

#include "core/fault/call_site_table.h"
#include "core/fault/fault_resume.h"

extern "C" EXCEPTION_DISPOSITION __real___gxx_personality_seh0(PEXCEPTION_RECORD record, void* frame, PCONTEXT context,
                                                               PDISPATCHER_CONTEXT dispatcher);

extern "C" EXCEPTION_DISPOSITION __wrap___gxx_personality_seh0(PEXCEPTION_RECORD record, void* frame, PCONTEXT context,
                                                               PDISPATCHER_CONTEXT dispatcher) {
  // The compiler's own exceptions, whose first parameter is the header.
  constexpr DWORD kThrow = 0x20474343;
  constexpr DWORD kUnwinding = 0x66;
  if (record->ExceptionCode == kThrow && record->NumberParameters > 0 &&
      PortwiseIsFault(reinterpret_cast<const void*>(record->ExceptionInformation[0]),
                      !(record->ExceptionFlags & kUnwinding))) {
    const auto start = dispatcher->ImageBase + dispatcher->FunctionEntry->BeginAddress;
    const auto* table = static_cast<const BYTE*>(dispatcher->HandlerData);
    if (!portwise::HasCallSite(table, start, dispatcher->ControlPc - 1)) return ExceptionContinueSearch;
  }
  return __real___gxx_personality_seh0(record, frame, context, dispatcher);
}
