#pragma once

/// Version resources.

#include <winbase.h>

struct VS_FIXEDFILEINFO {
  DWORD dwSignature;
  DWORD dwStrucVersion;
  DWORD dwFileVersionMS;
  DWORD dwFileVersionLS;
  DWORD dwProductVersionMS;
  DWORD dwProductVersionLS;
  DWORD dwFileFlagsMask;
  DWORD dwFileFlags;
  DWORD dwFileOS;
  DWORD dwFileType;
  DWORD dwFileSubtype;
  DWORD dwFileDateMS;
  DWORD dwFileDateLS;
};
using PUINT = UINT*;

extern "C" {
/// The size of a module's version resource, by a path or by a name that is looked up as LoadLibraryW does. 0 with the
/// error of the file, or the ERROR_RESOURCE_..._NOT_FOUND of what is missing.
DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR name, LPDWORD handle);
/// A shorter buffer takes the beginning.
BOOL WINAPI GetFileVersionInfoW(LPCWSTR name, DWORD handle, DWORD size, LPVOID block);
/// A value of a block that GetFileVersionInfoW has filled, by its path: "\\" for the fixed part, names without regard
/// to case. `length` is in units for text and in bytes otherwise. ERROR_RESOURCE_TYPE_NOT_FOUND when there is none.
BOOL WINAPI VerQueryValueW(LPCVOID block, LPCWSTR path, LPVOID* value, PUINT length);
}
