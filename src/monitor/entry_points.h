#pragma once

#include <windows.h>
#include <winspool.h>

#include <winsplp.h>

namespace portwise {

/// The monitor's table, which lives as long as the library; its address is also the monitor's handle.
MONITOR2* MonitorTable();

/// The spooler's seven operations. A port handle is the PortContext that lmOpenPortEx2W gave out. Every operation runs
/// under the call guard: what is thrown inside it becomes FALSE and, the first time in a job, the thread's last error.
BOOL WINAPI lmOpenPortEx2W(HANDLE monitor, HANDLE monitorPort, LPWSTR portName, LPWSTR printerName, PHANDLE port,
                           MONITOR2* underlying);
BOOL WINAPI lmClosePortW(HANDLE port);
BOOL WINAPI lmStartDocPortW(HANDLE port, LPWSTR printerName, DWORD job, DWORD level, LPBYTE docInfo);
BOOL WINAPI lmWritePortW(HANDLE port, LPBYTE buffer, DWORD size, LPDWORD written);
BOOL WINAPI lmReadPortW(HANDLE port, LPBYTE buffer, DWORD size, LPDWORD read);
BOOL WINAPI lmEndDocPortW(HANDLE port);
/// Device requests (a control other than 0) go to the port monitor below. ERROR_INVALID_PARAMETER when the result is
/// FALSE, unless something was thrown.
BOOL WINAPI lmGetPrinterDataFromPortW(HANDLE port, DWORD control, LPWSTR valueName, LPWSTR in, DWORD inSize, LPWSTR out,
                                      DWORD outSize, LPDWORD returned);

}  // namespace portwise
