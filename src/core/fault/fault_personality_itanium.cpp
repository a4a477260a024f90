// The linker puts __wrap___gxx_personality_v0 before the compiler's own personality function, which decides for each
// frame what an exception does there. An exception that came from a fault would end the process wherever the compiler
// did not expect one: at a call of memcpy, in a prologue, under noexcept. It passes such frames instead.

#include "core/fault/fault_personality.h"

#include "core/fault/call_site_table.h"
#include "core/fault/fault_resume.h"

extern "C" bool PortwisePassesFrame(_Unwind_Action actions, _Unwind_Exception* exception, _Unwind_Context* context) {
  if (!PortwiseIsFault(exception, actions & _UA_SEARCH_PHASE)) return false;
  int exact = 0;
  auto address = static_cast<ULONG_PTR>(_Unwind_GetIPInfo(context, &exact));
  if (!exact) --address;
  const auto* table = reinterpret_cast<const BYTE*>(_Unwind_GetLanguageSpecificData(context));
  return !portwise::HasCallSite(table, _Unwind_GetRegionStart(context), address);
}

extern "C" _Unwind_Reason_Code __real___gxx_personality_v0(int version, _Unwind_Action actions,
                                                           _Unwind_Exception_Class exceptionClass,
                                                           _Unwind_Exception* exception, _Unwind_Context* context);

extern "C" _Unwind_Reason_Code __wrap___gxx_personality_v0(int version, _Unwind_Action actions,
                                                           _Unwind_Exception_Class exceptionClass,
                                                           _Unwind_Exception* exception, _Unwind_Context* context) {
  if (PortwisePassesFrame(actions, exception, context)) return _URC_CONTINUE_UNWIND;
  return __real___gxx_personality_v0(version, actions, exceptionClass, exception, context);
}
