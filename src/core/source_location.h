#pragma once

#include <windows.h>

namespace portwise {

/// Where a failure was raised. Texts are cut to fit.
struct SourceLocation {
  DWORD line;
  char function[260];
  char file[260];
  char extra[260];
};

/// Fills the calling thread's record and raises the Windows exception ERROR_INTERNAL_ERROR with its address as the only
/// parameter: both in one call, so that nothing on the thread comes between filling and reading. Under a guard it
/// arrives as an OException; otherwise the process ends. Null texts count as empty ones.
[[noreturn]] void RaiseWithLocation(DWORD line, const char* function, const char* file, const char* extra = nullptr);

/// The record that the exception carries; null when it does not carry the calling thread's.
const SourceLocation* FindSourceLocation(const EXCEPTION_RECORD& record);

}  // namespace portwise
