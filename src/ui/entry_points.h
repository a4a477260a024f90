#pragma once

#include <windows.h>

// What other programs start, most of them through rundll32, which hands over a window of its own, its module, the rest
// of the command line and how to show what opens. The command line may be null. docs/windows.md describes them all.

extern "C" {
/// The status window. rundll32 looks for a function with "W" at its end first, which takes the command line as UTF-16;
/// the other one takes it in the ANSI code page.
void CALLBACK StatusMonitorW(HWND window, HINSTANCE instance, LPWSTR commandLine, int show);
void CALLBACK StatusMonitor(HWND window, HINSTANCE instance, LPSTR commandLine, int show);

/// The query dialog, for programs that call it: 1 when all queries were completed, 2 when the job was cancelled or went
/// away, 0 when there was nothing to show. The second one is that of rundll32.
int CALLBACK Query(HWND owner, LPCWSTR commandLine);
void CALLBACK QueryW(HWND window, HINSTANCE instance, LPWSTR commandLine, int show);

/// Adding a port of a port monitor, and configuring a port, for the window that the command line names.
void CALLBACK CallAddPortW(HWND window, HINSTANCE instance, LPWSTR commandLine, int show);
void CALLBACK CallConfigurePortW(HWND window, HINSTANCE instance, LPWSTR commandLine, int show);
}
