#pragma once

#include <windows.h>

namespace portwise {

/// What a processor fault means to the caller: a Windows error code, and a text of its own where the system's message
/// for the code would not tell what happened (empty otherwise).
struct FaultMeaning {
  LONG error;
  const char* text;
};

/// `exceptionCode` is that of the Windows exception; codes that are not in the table are ERROR_UNIDENTIFIED_ERROR.
FaultMeaning MeaningOfFault(DWORD exceptionCode);

}  // namespace portwise
