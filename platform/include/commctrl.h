#pragma once

/// The common controls, of which there is the progress bar.

#include <windows.h>

#define ICC_PROGRESS_CLASS 0x20u
#define PROGRESS_CLASSW TEXT("msctls_progress32")
#define PROGRESS_CLASS PROGRESS_CLASSW
#define PBM_SETRANGE (WM_USER + 1)
#define PBM_SETPOS (WM_USER + 2)
#define PBM_SETRANGE32 (WM_USER + 6)
#define PBM_GETRANGE (WM_USER + 7)
#define PBM_GETPOS (WM_USER + 8)

struct PBRANGE {
  int iLow;
  int iHigh;
};

struct INITCOMMONCONTROLSEX {
  DWORD dwSize;
  DWORD dwICC;
};

extern "C" {
/// Registers the classes of the controls; before that no dialog can have them.
BOOL WINAPI InitCommonControlsEx(const INITCOMMONCONTROLSEX* controls);
void WINAPI InitCommonControls();
}
