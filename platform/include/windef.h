#pragma once

/// The basic Windows types, with their Windows sizes: LONG and DWORD have 32 bits, WCHAR is a UTF-16 unit.

#include <cstddef>
#include <cstdint>

#define WINAPI
#define CALLBACK
#define APIENTRY
#define CONST const
#define FALSE 0
#define TRUE 1
#define MAX_PATH 260

#define PORTWISE_WIDEN(text) u##text
#define TEXT(text) PORTWISE_WIDEN(text)

#define VOID void
using CHAR = char;
using UCHAR = unsigned char;
using BYTE = unsigned char;
using BOOLEAN = BYTE;
using WCHAR = char16_t;
using SHORT = short;
using USHORT = unsigned short;
using WORD = unsigned short;
using INT = int;
using UINT = unsigned int;
using BOOL = int;
using LONG = int;
using ULONG = unsigned int;
using DWORD = unsigned int;
using LONGLONG = long long;
using ULONGLONG = unsigned long long;
using ULONG64 = unsigned long long;
using BOOLEAN = BYTE;
using DWORDLONG = unsigned long long;
using DWORD64 = std::uint64_t;
using INT_PTR = std::intptr_t;
using UINT_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;
using WPARAM = std::uintptr_t;
using LPARAM = std::intptr_t;
using LRESULT = std::intptr_t;
using DWORD_PTR = ULONG_PTR;
using SIZE_T = ULONG_PTR;
using ACCESS_MASK = DWORD;
using REGSAM = ACCESS_MASK;

using LPVOID = void*;
using PVOID = void*;
using LPCVOID = const void*;
using LPSTR = char*;
using LPCSTR = const char*;
using LPWSTR = WCHAR*;
using PWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using PCWSTR = const WCHAR*;
using LPBYTE = BYTE*;
using PBYTE = BYTE*;
using LPWORD = WORD*;
using LPDWORD = DWORD*;
using PDWORD = DWORD*;
using PULONG = ULONG*;
using LPLONG = LONG*;
using LPBOOL = BOOL*;

using HANDLE = void*;
using PHANDLE = HANDLE*;
using LPHANDLE = HANDLE*;
using HLOCAL = HANDLE;

#define DECLARE_HANDLE(name) \
  struct name##__;           \
  using name = name##__*
DECLARE_HANDLE(HKEY);
DECLARE_HANDLE(HINSTANCE);
DECLARE_HANDLE(HWND);
using HMODULE = HINSTANCE;
using PHKEY = HKEY*;

DECLARE_HANDLE(HDC);
using HFONT = HANDLE;
using HGDIOBJ = HANDLE;
using ATOM = WORD;

struct POINT {
  LONG x;
  LONG y;
};
using LPPOINT = POINT*;
struct SIZE {
  LONG cx;
  LONG cy;
};
using LPSIZE = SIZE*;
struct RECT {
  LONG left;
  LONG top;
  LONG right;
  LONG bottom;
};
using LPRECT = RECT*;

using FARPROC = INT_PTR (*)();
using HRESULT = LONG;

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};
using PFILETIME = FILETIME*;
using LPFILETIME = FILETIME*;

struct SYSTEMTIME {
  WORD wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds;
};

union LARGE_INTEGER {
  struct {
    DWORD LowPart;
    LONG HighPart;
  } u;
  LONGLONG QuadPart;
};
using PLARGE_INTEGER = LARGE_INTEGER*;

#define LOWORD(value) (static_cast<WORD>(static_cast<DWORD_PTR>(value) & 0xffff))
#define HIWORD(value) (static_cast<WORD>((static_cast<DWORD_PTR>(value) >> 16) & 0xffff))
#define LOBYTE(value) (static_cast<BYTE>(static_cast<DWORD_PTR>(value) & 0xff))
#define HIBYTE(value) (static_cast<BYTE>((static_cast<DWORD_PTR>(value) >> 8) & 0xff))
#define MAKELONG(low, high) \
  static_cast<LONG>(static_cast<WORD>(low) | (static_cast<DWORD>(static_cast<WORD>(high)) << 16))
#define FAILED(result) (static_cast<HRESULT>(result) < 0)
#define SUCCEEDED(result) (static_cast<HRESULT>(result) >= 0)
#define S_OK static_cast<HRESULT>(0)
#define S_FALSE static_cast<HRESULT>(1)
#define E_INVALIDARG static_cast<HRESULT>(0x80070057)
#define E_FAIL static_cast<HRESULT>(0x80004005)
