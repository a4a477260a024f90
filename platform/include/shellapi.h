#pragma once

/// Icons of the notification area, and programs that are started by what they open.

#include <objbase.h>
#include <windows.h>

#define NIM_ADD 0x0u
#define NIM_MODIFY 0x1u
#define NIM_DELETE 0x2u
#define NIM_SETVERSION 0x4u
#define NIF_MESSAGE 0x1u
#define NIF_ICON 0x2u
#define NIF_TIP 0x4u

struct NOTIFYICONDATAW {
  DWORD cbSize;
  HWND hWnd;
  UINT uID;
  UINT uFlags;
  UINT uCallbackMessage;
  HICON hIcon;
  WCHAR szTip[128];
  DWORD dwState;
  DWORD dwStateMask;
  WCHAR szInfo[256];
  union {
    UINT uTimeout;
    UINT uVersion;
  };
  WCHAR szInfoTitle[64];
  DWORD dwInfoFlags;
  GUID guidItem;
  HICON hBalloonIcon;
};
using PNOTIFYICONDATAW = NOTIFYICONDATAW*;

extern "C" {
/// Icons are known by their window and number; those whose window has gone disappear.
BOOL WINAPI Shell_NotifyIconW(DWORD message, PNOTIFYICONDATAW data);
}
