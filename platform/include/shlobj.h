#pragma once

/// Numbers of the shell's special folders. The shell's functions are looked up in "Shell32.dll" at run time.

#include <windows.h>

#define CSIDL_COMMON_APPDATA 0x23
#define CSIDL_FLAG_CREATE 0x8000
