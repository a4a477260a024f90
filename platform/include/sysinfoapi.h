#pragma once

/// The version of the system.

#include <windef.h>

#define VER_PLATFORM_WIN32_NT 2
#define VER_NT_WORKSTATION 1
#define VER_NT_DOMAIN_CONTROLLER 2
#define VER_NT_SERVER 3
#define VER_SUITE_ENTERPRISE 0x2
#define VER_SUITE_EMBEDDEDNT 0x40
#define VER_SUITE_DATACENTER 0x80
#define VER_SUITE_PERSONAL 0x200
#define VER_SUITE_BLADE 0x400

struct OSVERSIONINFOW {
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  WCHAR szCSDVersion[128];
};
using LPOSVERSIONINFOW = OSVERSIONINFOW*;

struct OSVERSIONINFOEXW {
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  WCHAR szCSDVersion[128];
  WORD wServicePackMajor;
  WORD wServicePackMinor;
  WORD wSuiteMask;
  BYTE wProductType;
  BYTE wReserved;
};

/// Windows 10 for workstations. The structure's first member tells which of the two it is; ERROR_INSUFFICIENT_BUFFER
/// for neither.
extern "C" BOOL WINAPI GetVersionExW(LPOSVERSIONINFOW version);
