#include <windows.h>

namespace {
thread_local DWORD lastError = ERROR_SUCCESS;
}

DWORD WINAPI GetLastError() { return lastError; }
void WINAPI SetLastError(DWORD error) { lastError = error; }
