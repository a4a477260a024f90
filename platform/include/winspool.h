#pragma once

/// The print spooler as its clients see it. In the spooler's own process the calls go straight to it, elsewhere they
/// travel its socket. All fail with FALSE and the last error; RPC_S_SERVER_UNAVAILABLE when no spooler runs.

#include <windows.h>

#define PRINTER_ACCESS_USE 0x8u
#define PRINTER_ALL_ACCESS 0xF000Cu

#define PRINTER_ENUM_LOCAL 0x2u
#define PRINTER_ENUM_SHARED 0x20u

#define PRINTER_ATTRIBUTE_SHARED 0x8u
#define PRINTER_ATTRIBUTE_LOCAL 0x40u
#define PRINTER_ATTRIBUTE_WORK_OFFLINE 0x400u
#define PRINTER_ATTRIBUTE_ENABLE_BIDI 0x800u

#define JOB_CONTROL_PAUSE 1
#define JOB_CONTROL_RESUME 2
#define JOB_CONTROL_CANCEL 3
#define JOB_CONTROL_RESTART 4
#define JOB_CONTROL_DELETE 5
#define JOB_CONTROL_SENT_TO_PRINTER 6

#define JOB_STATUS_PAUSED 0x1u
#define JOB_STATUS_ERROR 0x2u
#define JOB_STATUS_DELETING 0x4u
#define JOB_STATUS_SPOOLING 0x8u
#define JOB_STATUS_PRINTING 0x10u
#define JOB_STATUS_OFFLINE 0x20u
#define JOB_STATUS_PAPEROUT 0x40u
#define JOB_STATUS_PRINTED 0x80u
#define JOB_STATUS_DELETED 0x100u
#define JOB_STATUS_BLOCKED_DEVQ 0x200u
#define JOB_STATUS_USER_INTERVENTION 0x400u
#define JOB_STATUS_RESTART 0x800u
#define JOB_STATUS_COMPLETE 0x1000u

struct DEVMODEW;

struct PRINTER_DEFAULTSW {
  LPWSTR pDatatype;
  DEVMODEW* pDevMode;
  ACCESS_MASK DesiredAccess;
};

struct PRINTER_INFO_2W {
  LPWSTR pServerName;
  LPWSTR pPrinterName;
  LPWSTR pShareName;
  LPWSTR pPortName;
  LPWSTR pDriverName;
  LPWSTR pComment;
  LPWSTR pLocation;
  DEVMODEW* pDevMode;
  LPWSTR pSepFile;
  LPWSTR pPrintProcessor;
  LPWSTR pDatatype;
  LPWSTR pParameters;
  PSECURITY_DESCRIPTOR pSecurityDescriptor;
  DWORD Attributes;
  DWORD Priority;
  DWORD DefaultPriority;
  DWORD StartTime;
  DWORD UntilTime;
  DWORD Status;
  DWORD cJobs;
  DWORD AveragePPM;
};

struct JOB_INFO_1W {
  DWORD JobId;
  LPWSTR pPrinterName;
  LPWSTR pMachineName;
  LPWSTR pUserName;
  LPWSTR pDocument;
  LPWSTR pDatatype;
  LPWSTR pStatus;
  DWORD Status;
  DWORD Priority;
  DWORD Position;
  DWORD TotalPages;
  DWORD PagesPrinted;
  SYSTEMTIME Submitted;
};

struct DOC_INFO_1W {
  LPWSTR pDocName;
  LPWSTR pOutputFile;
  LPWSTR pDatatype;
};

extern "C" {
BOOL WINAPI OpenPrinterW(LPWSTR name, LPHANDLE printer, PRINTER_DEFAULTSW* defaults);
BOOL WINAPI ClosePrinter(HANDLE printer);
/// Level 2. ERROR_INSUFFICIENT_BUFFER with the needed size when `size` bytes do not hold the structure and its texts.
BOOL WINAPI GetPrinterW(HANDLE printer, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed);
/// Level 2 of the printers that `flags` ask for; `name` must be null.
BOOL WINAPI EnumPrintersW(DWORD flags, LPWSTR name, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed,
                          LPDWORD returned);
/// Level 1.
BOOL WINAPI GetJobW(HANDLE printer, DWORD job, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed);
/// Only commands: `level` 0 and no buffer.
BOOL WINAPI SetJobW(HANDLE printer, DWORD job, DWORD level, LPBYTE buffer, DWORD command);
}
