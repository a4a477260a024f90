#pragma once

/* What programs in C get of <windows.h>: the types and the call that portwise/client.h speaks of. */

#include <uchar.h>

#define WINAPI

typedef char16_t WCHAR;
typedef const WCHAR* LPCWSTR;
typedef int BOOL;
typedef unsigned int DWORD;

DWORD WINAPI GetLastError(void);
