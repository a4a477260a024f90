#pragma once

/// The registry. All functions return ERROR_SUCCESS or an error code; the thread's last error is not touched.
/// Names are compared without regard to case and keep the case they were created with.

#include <winbase.h>

using LSTATUS = LONG;

#define HKEY_CLASSES_ROOT (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000000u)))
#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000001u)))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000002u)))
#define HKEY_USERS (reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000003u)))

#define REG_NONE 0u
#define REG_SZ 1u
#define REG_EXPAND_SZ 2u
#define REG_BINARY 3u
#define REG_DWORD 4u
#define REG_MULTI_SZ 7u
#define REG_OPTION_NON_VOLATILE 0u
#define REG_CREATED_NEW_KEY 1u
#define REG_OPENED_EXISTING_KEY 2u

#define DELETE 0x10000u
#define KEY_QUERY_VALUE 0x1u
#define KEY_SET_VALUE 0x2u
#define KEY_CREATE_SUB_KEY 0x4u
#define KEY_ENUMERATE_SUB_KEYS 0x8u
#define KEY_READ 0x20019u
#define KEY_WRITE 0x20006u
#define KEY_ALL_ACCESS 0xF003Fu
#define KEY_WOW64_64KEY 0x100u  // there is one view of the registry only

extern "C" {
/// ERROR_FILE_NOT_FOUND when there is no such key; ERROR_ACCESS_DENIED when the key's access list refuses `access`.
LSTATUS WINAPI RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result);
/// Opens the key, creating it and its missing parents first.
LSTATUS WINAPI RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR className, DWORD options, REGSAM access,
                               LPSECURITY_ATTRIBUTES security, PHKEY result, LPDWORD disposition);
LSTATUS WINAPI RegCloseKey(HKEY key);
/// `size` is in bytes, in and out. ERROR_MORE_DATA with the needed size when the value is longer than the buffer;
/// without a buffer only type and size are returned. A null or empty name is the key's default value.
LSTATUS WINAPI RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size);
LSTATUS WINAPI RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size);
/// Deletes a key that has no subkeys, with its values. ERROR_ACCESS_DENIED when it has subkeys.
LSTATUS WINAPI RegDeleteKeyW(HKEY key, LPCWSTR subKey);
LSTATUS WINAPI RegDeleteValueW(HKEY key, LPCWSTR name);
/// Names by index, in the order of their names. ERROR_NO_MORE_ITEMS past the last; ERROR_MORE_DATA when the name
/// with its terminator does not fit. Sizes are in characters; `RegEnumValueW` counts its result without the NUL.
LSTATUS WINAPI RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD size);
LSTATUS WINAPI RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameSize, LPDWORD reserved, LPDWORD type,
                             LPBYTE data, LPDWORD dataSize);
LSTATUS WINAPI RegQueryInfoKeyW(HKEY key, LPWSTR className, LPDWORD classSize, LPDWORD reserved, LPDWORD subKeys,
                                LPDWORD maxSubKeyLength, LPDWORD maxClassLength, LPDWORD values,
                                LPDWORD maxValueNameLength, LPDWORD maxValueLength, LPDWORD securityDescriptor,
                                PFILETIME lastWriteTime);
}
