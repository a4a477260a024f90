#pragma once

#include <windows.h>

#include "core/ostring.h"

namespace portwise {

/// Writes a minidump of the process into the library's folder of dumps, under the first name that is free, with the
/// calling thread as it was at the exception. The debug library is `debugLibrary`, or the system's when that is empty
/// or does not load. `path` is set as soon as the file is there. False when no dump was written, or not to its end.
bool WriteMinidump(const OString& debugLibrary, EXCEPTION_POINTERS* exceptionPointers, OString* path);

}  // namespace portwise
