#pragma once

/// Objects of the user interface that are made of resources, and what is measured of the system.

#include <libloaderapi.h>

DECLARE_HANDLE(HICON);
DECLARE_HANDLE(HMENU);
DECLARE_HANDLE(HBITMAP);
using HCURSOR = HICON;
using MENUTEMPLATEW = VOID;

#define SM_TABLETPC 86
#define SM_MEDIACENTER 87
#define SM_STARTER 88
#define SM_SERVERR2 89

extern "C" {
/// Icons and cursors belong to their module and last as long as it does.
HICON WINAPI LoadIconW(HINSTANCE module, LPCWSTR name);
HCURSOR WINAPI LoadCursorW(HINSTANCE module, LPCWSTR name);
HBITMAP WINAPI LoadBitmapW(HINSTANCE module, LPCWSTR name);
HMENU WINAPI LoadMenuW(HINSTANCE module, LPCWSTR name);
/// Reads the template, which must be sound, to its end. ERROR_INVALID_DATA for one of another version.
HMENU WINAPI LoadMenuIndirectW(const MENUTEMPLATEW* menuTemplate);
BOOL WINAPI DestroyMenu(HMENU menu);
/// 0 for what is not known.
int WINAPI GetSystemMetrics(int index);
}
