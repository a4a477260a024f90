#pragma once

/// The spooler's interface to its port and language monitors.

#include <winspool.h>

struct MONITORREG;

struct MONITORINIT {
  DWORD cbSize;
  HANDLE hSpooler;
  HANDLE hckRegistryRoot;
  MONITORREG* pMonitorReg;
  BOOL bLocal;
  LPCWSTR pszServerName;
};
using PMONITORINIT = MONITORINIT*;

struct MONITOR2 {
  DWORD cbSize;
  BOOL(WINAPI* pfnEnumPorts)
  (HANDLE monitor, LPWSTR name, DWORD level, LPBYTE ports, DWORD size, LPDWORD needed, LPDWORD returned);
  BOOL(WINAPI* pfnOpenPort)(HANDLE monitor, LPWSTR name, PHANDLE port);
  BOOL(WINAPI* pfnOpenPortEx)
  (HANDLE monitor, HANDLE monitorPort, LPWSTR portName, LPWSTR printerName, PHANDLE port, MONITOR2* underlying);
  BOOL(WINAPI* pfnStartDocPort)(HANDLE port, LPWSTR printerName, DWORD jobId, DWORD level, LPBYTE docInfo);
  BOOL(WINAPI* pfnWritePort)(HANDLE port, LPBYTE buffer, DWORD size, LPDWORD written);
  BOOL(WINAPI* pfnReadPort)(HANDLE port, LPBYTE buffer, DWORD size, LPDWORD read);
  BOOL(WINAPI* pfnEndDocPort)(HANDLE port);
  BOOL(WINAPI* pfnClosePort)(HANDLE port);
  BOOL(WINAPI* pfnAddPort)(HANDLE monitor, LPWSTR name, HWND window, LPWSTR monitorName);
  BOOL(WINAPI* pfnAddPortEx)(HANDLE monitor, LPWSTR name, DWORD level, LPBYTE buffer, LPWSTR monitorName);
  BOOL(WINAPI* pfnConfigurePort)(HANDLE monitor, LPWSTR name, HWND window, LPWSTR portName);
  BOOL(WINAPI* pfnDeletePort)(HANDLE monitor, LPWSTR name, HWND window, LPWSTR portName);
  BOOL(WINAPI* pfnGetPrinterDataFromPort)
  (HANDLE port, DWORD controlId, LPWSTR valueName, LPWSTR inBuffer, DWORD inSize, LPWSTR outBuffer, DWORD outSize,
   LPDWORD returned);
  BOOL(WINAPI* pfnSetPortTimeOuts)(HANDLE port, LPCOMMTIMEOUTS timeouts, DWORD reserved);
  BOOL(WINAPI* pfnXcvOpenPort)(HANDLE monitor, LPCWSTR object, ACCESS_MASK access, PHANDLE xcv);
  DWORD(WINAPI* pfnXcvDataPort)
  (HANDLE xcv, LPCWSTR dataName, PBYTE in, DWORD inSize, PBYTE out, DWORD outSize, PDWORD needed);
  BOOL(WINAPI* pfnXcvClosePort)(HANDLE xcv);
  VOID(WINAPI* pfnShutdown)(HANDLE monitor);
  DWORD(WINAPI* pfnSendRecvBidiDataFromPort)(HANDLE port, DWORD access, LPCWSTR action, void* request, void** response);
};
using LPMONITOR2 = MONITOR2*;

extern "C" LPMONITOR2 WINAPI InitializePrintMonitor2(PMONITORINIT init, PHANDLE monitor);
