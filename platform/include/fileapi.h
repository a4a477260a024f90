#pragma once

/// Times, attributes and names of files; opening, reading and writing are in winbase.h.

#include <winbase.h>

#define FILE_ATTRIBUTE_TEMPORARY 0x100u
#define MOVEFILE_REPLACE_EXISTING 0x1u
#define MOVEFILE_DELAY_UNTIL_REBOOT 0x4u

extern "C" {
/// Of the attributes only FILE_ATTRIBUTE_READONLY is kept; all others count as FILE_ATTRIBUTE_NORMAL.
BOOL WINAPI SetFileAttributesW(LPCWSTR path, DWORD attributes);
/// Creates an empty file in the folder: up to three units of the prefix, a number and ".TMP". `path` holds MAX_PATH
/// units. Only `unique` 0.
UINT WINAPI GetTempFileNameW(LPCWSTR folder, LPCWSTR prefix, UINT unique, LPWSTR path);
/// Within one file system. A file in use is replaced at once, so MOVEFILE_DELAY_UNTIL_REBOOT waits for nothing.
BOOL WINAPI MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags);
/// Linux has no time of creation that can be set; reading it gives the earlier of the other two.
BOOL WINAPI GetFileTime(HANDLE file, LPFILETIME creation, LPFILETIME access, LPFILETIME write);
BOOL WINAPI SetFileTime(HANDLE file, const FILETIME* creation, const FILETIME* access, const FILETIME* write);
LONG WINAPI CompareFileTime(const FILETIME* left, const FILETIME* right);
/// By the zone's present distance to UTC, whatever it was at that time.
BOOL WINAPI LocalFileTimeToFileTime(const FILETIME* local, LPFILETIME utc);
BOOL WINAPI FileTimeToLocalFileTime(const FILETIME* utc, LPFILETIME local);
/// ERROR_INVALID_PARAMETER for a time that there is not; the day of the week is not looked at.
BOOL WINAPI SystemTimeToFileTime(const SYSTEMTIME* time, LPFILETIME fileTime);
BOOL WINAPI FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* time);
/// ERROR_INVALID_PARAMETER for a day or time that there is not.
BOOL WINAPI DosDateTimeToFileTime(WORD date, WORD time, LPFILETIME fileTime);
}
