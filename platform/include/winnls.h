#pragma once

/// Code pages and locale-dependent mapping. The ANSI code page is UTF-8 here; other code pages go through iconv.

#include <windef.h>

#define CP_ACP 0
#define CP_UTF8 65001
#define MB_ERR_INVALID_CHARS 0x8u
#define LOCALE_USER_DEFAULT 0x400u
#define LOCALE_SYSTEM_DEFAULT 0x800u
#define LCMAP_LOWERCASE 0x100u
#define LCMAP_UPPERCASE 0x200u
#define LOCALE_SABBREVLANGNAME 0x3u
#define LOCALE_IMEASURE 0xDu
#define LOCALE_SDECIMAL 0xEu
#define LOCALE_STHOUSAND 0xFu
#define LOCALE_ILZERO 0x12u
using LCID = DWORD;
using LCTYPE = DWORD;

extern "C" {
UINT WINAPI GetACP();
/// `bytes` or `units` of -1 mean a NUL-terminated source; the terminator is then converted and counted. A target
/// size of 0 asks for the needed size. 0 with ERROR_INSUFFICIENT_BUFFER, ERROR_INVALID_PARAMETER (an unknown code
/// page, a null or empty source) or ERROR_NO_UNICODE_TRANSLATION (only with MB_ERR_INVALID_CHARS) on failure.
int WINAPI MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR source, int bytes, LPWSTR target, int units);
int WINAPI WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR source, int units, LPSTR target, int bytes,
                               LPCSTR defaultChar, LPBOOL usedDefaultChar);
/// Lower or upper case by simple one-to-one mapping of each UTF-16 unit.
int WINAPI LCMapStringW(LCID locale, DWORD flags, LPCWSTR source, int sourceUnits, LPWSTR target, int targetUnits);
/// Of the locale that LC_ALL, LC_MESSAGES or LANG names, or of one by its number, the five values above. The length
/// with the NUL; a size of 0 asks for it. 0 with ERROR_INSUFFICIENT_BUFFER, ERROR_INVALID_PARAMETER (a locale that is
/// not known) or ERROR_INVALID_FLAGS (another value).
int WINAPI GetLocaleInfoA(LCID locale, LCTYPE type, LPSTR buffer, int size);
int WINAPI GetLocaleInfoW(LCID locale, LCTYPE type, LPWSTR buffer, int size);
}
