#pragma once

/// The event log: entries of named sources, kept for the whole machine.

#include <winbase.h>
#include <winnt.h>

#define EVENTLOG_ERROR_TYPE 0x1
#define EVENTLOG_WARNING_TYPE 0x2
#define EVENTLOG_INFORMATION_TYPE 0x4

extern "C" {
/// The log of a source is the one under which it has a key, "SYSTEM\CurrentControlSet\Services\Eventlog\LOG\SOURCE";
/// that of an unknown source is "Application". Only this computer's log can be written: null, the empty name or its
/// own name. The handle belongs to DeregisterEventSource.
HANDLE WINAPI RegisterEventSourceW(LPCWSTR server, LPCWSTR source);
/// Adds one entry of the three types above, which is durable and seen by every process when the call returns. At most
/// 256 strings of 31839 units and 61440 bytes of raw data, 64 KiB together; more is RPC_S_INVALID_BOUND. A null string
/// is an empty one, and `user` is not kept. When the log cannot be written the error is the registry's.
BOOL WINAPI ReportEventW(HANDLE eventLog, WORD type, WORD category, DWORD eventId, PSID user, WORD stringCount,
                         DWORD rawSize, LPCWSTR* strings, LPVOID rawData);
BOOL WINAPI DeregisterEventSource(HANDLE eventLog);
}
