#pragma once

/// The print spooler as its clients see it. In the spooler's own process the calls go straight to it, elsewhere they
/// travel its socket. All fail with FALSE and the last error; RPC_S_SERVER_UNAVAILABLE when no spooler runs.

#include <windows.h>

#include <wingdi.h>

#define PRINTER_ACCESS_ADMINISTER 0x4u
#define PRINTER_ACCESS_USE 0x8u
#define PRINTER_ALL_ACCESS 0xF000Cu

#define PRINTER_ENUM_LOCAL 0x2u
#define PRINTER_ENUM_CONNECTIONS 0x4u
#define PRINTER_ENUM_SHARED 0x20u
#define PRINTER_ENUM_ICON8 0x800000u

#define PRINTER_ATTRIBUTE_QUEUED 0x1u
#define PRINTER_ATTRIBUTE_DIRECT 0x2u
#define PRINTER_ATTRIBUTE_DEFAULT 0x4u
#define PRINTER_ATTRIBUTE_SHARED 0x8u
#define PRINTER_ATTRIBUTE_NETWORK 0x10u
#define PRINTER_ATTRIBUTE_HIDDEN 0x20u
#define PRINTER_ATTRIBUTE_LOCAL 0x40u
#define PRINTER_ATTRIBUTE_ENABLE_DEVQ 0x80u
#define PRINTER_ATTRIBUTE_KEEPPRINTEDJOBS 0x100u
#define PRINTER_ATTRIBUTE_DO_COMPLETE_FIRST 0x200u
#define PRINTER_ATTRIBUTE_WORK_OFFLINE 0x400u
#define PRINTER_ATTRIBUTE_ENABLE_BIDI 0x800u
#define PRINTER_ATTRIBUTE_RAW_ONLY 0x1000u
#define PRINTER_ATTRIBUTE_PUBLISHED 0x2000u
#define PRINTER_ATTRIBUTE_FAX 0x4000u
#define PRINTER_ATTRIBUTE_TS 0x8000u

#define JOB_CONTROL_PAUSE 1
#define JOB_CONTROL_RESUME 2
#define JOB_CONTROL_CANCEL 3
#define JOB_CONTROL_RESTART 4
#define JOB_CONTROL_DELETE 5
#define JOB_CONTROL_SENT_TO_PRINTER 6

#define JOB_POSITION_UNSPECIFIED 0
#define MAX_PRIORITY 99
#define MIN_PRIORITY 1
#define DEF_PRIORITY 1

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

#define PRINTER_CONTROL_PAUSE 1
#define PRINTER_CONTROL_RESUME 2
#define PRINTER_CONTROL_PURGE 3
#define PRINTER_CONTROL_SET_STATUS 4

#define PRINTER_STATUS_PAUSED 0x1u
#define PRINTER_STATUS_ERROR 0x2u
#define PRINTER_STATUS_PENDING_DELETION 0x4u
#define PRINTER_STATUS_PAPER_JAM 0x8u
#define PRINTER_STATUS_PAPER_OUT 0x10u
#define PRINTER_STATUS_MANUAL_FEED 0x20u
#define PRINTER_STATUS_PAPER_PROBLEM 0x40u
#define PRINTER_STATUS_OFFLINE 0x80u
#define PRINTER_STATUS_IO_ACTIVE 0x100u
#define PRINTER_STATUS_BUSY 0x200u
#define PRINTER_STATUS_PRINTING 0x400u
#define PRINTER_STATUS_OUTPUT_BIN_FULL 0x800u
#define PRINTER_STATUS_NOT_AVAILABLE 0x1000u
#define PRINTER_STATUS_WAITING 0x2000u
#define PRINTER_STATUS_PROCESSING 0x4000u
#define PRINTER_STATUS_INITIALIZING 0x8000u
#define PRINTER_STATUS_WARMING_UP 0x10000u
#define PRINTER_STATUS_TONER_LOW 0x20000u
#define PRINTER_STATUS_NO_TONER 0x40000u
#define PRINTER_STATUS_PAGE_PUNT 0x80000u
#define PRINTER_STATUS_USER_INTERVENTION 0x100000u
#define PRINTER_STATUS_OUT_OF_MEMORY 0x200000u
#define PRINTER_STATUS_DOOR_OPEN 0x400000u
#define PRINTER_STATUS_SERVER_UNKNOWN 0x800000u
#define PRINTER_STATUS_POWER_SAVE 0x1000000u

struct PRINTER_DEFAULTSW {
  LPWSTR pDatatype;
  DEVMODEW* pDevMode;
  ACCESS_MASK DesiredAccess;
};

struct PRINTER_INFO_1W {
  DWORD Flags;
  LPWSTR pDescription;
  LPWSTR pName;
  LPWSTR pComment;
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

struct PRINTER_INFO_4W {
  LPWSTR pPrinterName;
  LPWSTR pServerName;
  DWORD Attributes;
};

struct PRINTER_INFO_5W {
  LPWSTR pPrinterName;
  LPWSTR pPortName;
  DWORD Attributes;
  DWORD DeviceNotSelectedTimeout;
  DWORD TransmissionRetryTimeout;
};

struct DRIVER_INFO_6W {
  DWORD cVersion;
  LPWSTR pName;
  LPWSTR pEnvironment;
  LPWSTR pDriverPath;
  LPWSTR pDataFile;
  LPWSTR pConfigFile;
  LPWSTR pHelpFile;
  LPWSTR pDependentFiles;
  LPWSTR pMonitorName;
  LPWSTR pDefaultDataType;
  LPWSTR pszzPreviousNames;
  FILETIME ftDriverDate;
  DWORDLONG dwlDriverVersion;
  LPWSTR pszMfgName;
  LPWSTR pszOEMUrl;
  LPWSTR pszHardwareID;
  LPWSTR pszProvider;
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

struct JOB_INFO_1A {
  DWORD JobId;
  LPSTR pPrinterName;
  LPSTR pMachineName;
  LPSTR pUserName;
  LPSTR pDocument;
  LPSTR pDatatype;
  LPSTR pStatus;
  DWORD Status;
  DWORD Priority;
  DWORD Position;
  DWORD TotalPages;
  DWORD PagesPrinted;
  SYSTEMTIME Submitted;
};

struct JOB_INFO_2W {
  DWORD JobId;
  LPWSTR pPrinterName;
  LPWSTR pMachineName;
  LPWSTR pUserName;
  LPWSTR pDocument;
  LPWSTR pNotifyName;
  LPWSTR pDatatype;
  LPWSTR pPrintProcessor;
  LPWSTR pParameters;
  LPWSTR pDriverName;
  DEVMODEW* pDevMode;
  LPWSTR pStatus;
  PSECURITY_DESCRIPTOR pSecurityDescriptor;
  DWORD Status;
  DWORD Priority;
  DWORD Position;
  DWORD StartTime;
  DWORD UntilTime;
  DWORD TotalPages;
  DWORD Size;
  SYSTEMTIME Submitted;
  DWORD Time;
  DWORD PagesPrinted;
};

struct DOC_INFO_1W {
  LPWSTR pDocName;
  LPWSTR pOutputFile;
  LPWSTR pDatatype;
};

extern "C" {
/// `defaults` may be null, which asks for PRINTER_ACCESS_USE. The access that is asked for is given; only calls that
/// change the printer check it.
BOOL WINAPI OpenPrinterW(LPWSTR name, LPHANDLE printer, PRINTER_DEFAULTSW* defaults);
BOOL WINAPI ClosePrinter(HANDLE printer);
/// Levels 1, 2, 4 and 5. ERROR_INSUFFICIENT_BUFFER with the needed size when `size` bytes do not hold the structure and
/// what it points to.
BOOL WINAPI GetPrinterW(HANDLE printer, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed);
/// Level 2 with the command 0 changes the printer. What cannot be changed in this way is ignored: the printer's name
/// and server, its status, its security and its times; so are texts and a device mode that are null. Without
/// PRINTER_ATTRIBUTE_SHARED the printer is shared no longer.
/// Level 0 is for commands. PRINTER_CONTROL_SET_STATUS takes the printer's new PRINTER_STATUS_ word for `info`; it
/// lasts until the spooler ends. This spooler does not carry out the others: ERROR_INVALID_PRINTER_COMMAND, as for a
/// command at another level. Both need PRINTER_ACCESS_ADMINISTER, or fail with ERROR_ACCESS_DENIED.
BOOL WINAPI SetPrinterW(HANDLE printer, DWORD level, LPBYTE info, DWORD command);
/// Levels 1, 2, 4 and 5 of the printers that `flags` ask for: local ones, connections to other computers, or both;
/// with PRINTER_ENUM_SHARED only shared ones. `name` must be null. No device mode in level 2.
BOOL WINAPI EnumPrintersW(DWORD flags, LPWSTR name, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed,
                          LPDWORD returned);
/// Level 6. `environment` must be null or the one of this computer. ERROR_UNKNOWN_PRINTER_DRIVER when the printer's
/// driver is not registered.
BOOL WINAPI GetPrinterDriverW(HANDLE printer, LPWSTR environment, DWORD level, LPBYTE buffer, DWORD size,
                              LPDWORD needed);
/// Values of a key below the printer's; without a key's name, of "PrinterDriverData". These return the error code:
/// ERROR_FILE_NOT_FOUND for a value that is not there, ERROR_MORE_DATA with the needed size for a buffer that is too
/// small. Changes need PRINTER_ACCESS_ADMINISTER.
/// The name is in the ANSI code page; a value of text is given as it is stored, in UTF-16.
DWORD WINAPI GetPrinterDataA(HANDLE printer, LPSTR value, LPDWORD type, LPBYTE data, DWORD size, LPDWORD needed);
DWORD WINAPI GetPrinterDataW(HANDLE printer, LPWSTR value, LPDWORD type, LPBYTE data, DWORD size, LPDWORD needed);
DWORD WINAPI GetPrinterDataExW(HANDLE printer, LPCWSTR key, LPCWSTR value, LPDWORD type, LPBYTE data, DWORD size,
                               LPDWORD needed);
DWORD WINAPI SetPrinterDataW(HANDLE printer, LPWSTR value, DWORD type, LPBYTE data, DWORD size);
DWORD WINAPI SetPrinterDataExW(HANDLE printer, LPCWSTR key, LPCWSTR value, DWORD type, LPBYTE data, DWORD size);
DWORD WINAPI DeletePrinterDataExW(HANDLE printer, LPCWSTR key, LPCWSTR value);
/// Levels 1 and 2.
BOOL WINAPI GetJobW(HANDLE printer, DWORD job, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed);
/// Level 1, of `count` jobs of the queue from place `first` on, which counts from 0. Texts are in the ANSI code page.
BOOL WINAPI EnumJobsA(HANDLE printer, DWORD first, DWORD count, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed,
                      LPDWORD returned);
/// Level 0, without a buffer, is for commands. Level 1 changes the job and then carries out the command, unless that is
/// 0. Of the status the bits of errors, of the printer's state and of printing are taken over; the others tell what
/// happens to the job and stay. A null `pStatus` leaves the job without a text, a null document name or data type
/// changes nothing. Who the job is from, its id, times and pages are ignored. The data type is RAW, or
/// ERROR_INVALID_DATATYPE; another place in the queue or another priority is ERROR_NOT_SUPPORTED, the place without
/// PRINTER_ACCESS_ADMINISTER ERROR_ACCESS_DENIED.
BOOL WINAPI SetJobW(HANDLE printer, DWORD job, DWORD level, LPBYTE buffer, DWORD command);
/// Show a dialog of the port monitor, owned by the window, and return when it is closed: FALSE with ERROR_CANCELLED
/// when nothing was added or changed. Only "Standard TCP/IP Port" has one: ERROR_UNKNOWN_PRINT_MONITOR, or for a port
/// that is no network port ERROR_NOT_SUPPORTED. `server` must be null or empty.
BOOL WINAPI AddPortW(LPWSTR server, HWND owner, LPWSTR monitor);
BOOL WINAPI ConfigurePortW(LPWSTR server, HWND owner, LPWSTR port);
}
