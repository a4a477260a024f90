#ifndef PORTWISE_PLUGIN_H
#define PORTWISE_PLUGIN_H

/* The contract between the monitor and the plug-in of a printer driver, for C and C++.
 *
 * A plug-in is a DLL that is installed beside the driver. It knows the printer's language, which the monitor does not,
 * and exports one or both of the functions "MonitorInterface" and "InitializeProtocolInterface", undecorated. The
 * monitor loads it for each port and printer, lets these functions fill tables of functions, and calls those. It never
 * needs more than this header and <windows.h>.
 *
 * Sizes. The structures are made of 32-bit words; a word that can hold a pointer or a handle is as large as a pointer.
 * On 32-bit systems every structure has exactly the size that is asserted at the end.
 *
 * Threads. Any function of a plug-in may be called on several threads at once, for one block as for different ones; a
 * plug-in keeps its own locks, and holds none of them while it calls the monitor back: a callback may lead to another
 * call of the plug-in, on the same thread or another one. No function is called before notification 1 has returned
 * nor after notification 2 was sent.
 *
 * Lengths. What a function returns for more bytes than it was given counts as what it was given. It must never write
 * more than it was given room for. Texts are UTF-16 and end with a NUL unless it is said otherwise.
 *
 * Exceptions must not leave a plug-in's functions; the callbacks let none out. */

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct PortwiseBlock PortwiseBlock;

/* The versions that are asked for. */
#define PORTWISE_MONITOR_INTERFACE_2 2
#define PORTWISE_MONITOR_INTERFACE_1 1
#define PORTWISE_PROTOCOL_INTERFACE_1 1

/* The names of the entry points. */
#define PORTWISE_MONITOR_INTERFACE_ENTRY "MonitorInterface"
#define PORTWISE_PROTOCOL_INTERFACE_ENTRY "InitializeProtocolInterface"

/* Callbacks: what the block offers. Each returns 0 when it failed. From notification 1 until notification 2 has
 * returned they may be called on any thread; in a protocol plug-in, which hears no notification 2, only while one of
 * its functions runs. What they send and read goes over the port's one connection: in the functions that send, read or
 * ask about status, the monitor has it for the plug-in; elsewhere it may be in use. */

/* Sends up to `length` bytes to the printer. `written` is set to what was taken, also when the call failed; with fewer
 * than `length`, send the rest later. May wait for a second. */
typedef DWORD(WINAPI* PortwiseWrite)(PortwiseBlock* block, const void* data, DWORD length, DWORD* written);

/* Takes up to `size` bytes that the printer has sent. May wait for a second; 0 also when nothing came. */
typedef DWORD(WINAPI* PortwiseRead)(PortwiseBlock* block, void* buffer, DWORD size, DWORD* read);

/* A request by number: */
#define PORTWISE_CONTROL_XPML 301             /* runs the C string `input` as an XPML request on the port */
#define PORTWISE_CONTROL_SEND_TIMEOUT 401     /* ms that the printer may take nothing of what is sent */
#define PORTWISE_CONTROL_RESPONSE_TIMEOUT 402 /* ms that an answer may take */
/* 301 copies at most `size` bytes of the reply to `output` and returns the whole reply's length; `output` may be null.
 * Numbers that are not known give 0; some ports know more. A request that prints (`packet`, `smart_card`) or names a
 * printer (`printer`) must not be made from inside `write` or `read`, nor from a function or a notification that the
 * monitor calls while it asks the printer, or begins or ends a job, or has a special operation done: it waits for the
 * very traffic that these belong to. */
typedef DWORD(WINAPI* PortwiseControl)(PortwiseBlock* block, DWORD code, const char* input, void* output, DWORD size);

/* The bits of `mask` that hold now: */
#define PORTWISE_CONDITION_DISCONNECTED 0x1u /* the printer cannot be reached */
typedef DWORD(WINAPI* PortwiseCheck)(PortwiseBlock* block, DWORD mask);

/* The context block: 33 words, the first argument of most functions. It is the monitor's, and made anew with each
 * loading; a plug-in reads it and tells ports apart by its address. */
struct PortwiseBlock {
  LPCWSTR printerName; /* becomes another text when the printer is renamed; the old one stays until notification 2 has
                          returned, in a protocol plug-in until it is unloaded */
  LPCWSTR portName;
  ULONG_PTR connection; /* one of PORTWISE_CONNECTION_... */
  ULONG_PTR reserved3[2];

  /* What was sent to the printer last to ask it something, in a monitor-interface plug-in: a copy of the bytes, their
   * number, and the parameters of a query as a C string (null for status requests); zero while nothing is asked. The
   * monitor changes the three on the thread that asks: in BuildRequest, ParseResponse, PassData, StatusWithoutRequest
   * and the notifications from 21 on they hold still and may just be read. Elsewhere read them with
   * PortwiseLastRequest. In either case what they point to stays until the plug-in's function returns. */
  const void* request;
  ULONG_PTR requestLength;
  const char* requestParameters;

  ULONG_PTR reserved8[10];
  PortwiseWrite write;
  PortwiseRead read;
  PortwiseControl control;
  PortwiseCheck check;
  ULONG_PTR reserved22[10];
  void* monitor; /* the monitor's; never to be changed */
};

#define PORTWISE_CONNECTION_SERIAL 1u
#define PORTWISE_CONNECTION_PARALLEL 2u
#define PORTWISE_CONNECTION_USB 4u
#define PORTWISE_CONNECTION_TCP 8u
#define PORTWISE_CONNECTION_OTHER 0x8000u

/* Capabilities: zero before the plug-in fills them. */
typedef struct PortwiseCapabilities {
  DWORD flags;       /* PORTWISE_CAN_..., or PORTWISE_PROTOCOL_ACTIVE */
  DWORD connections; /* PORTWISE_STATUS_ON_... and PORTWISE_NO_VERIFY_ON_... */
} PortwiseCapabilities;

/* Of a monitor-interface plug-in: */
#define PORTWISE_CAN_BUFFER_SPACE 0x1u   /* flow control by the room in the printer's buffer */
#define PORTWISE_CAN_STATUS_CHANNEL 0x2u /* over TCP, status travels on the port number after the printer's own */
#define PORTWISE_STATUS_ON_SERIAL 0x1u   /* the status can be asked for on this kind of connection */
#define PORTWISE_STATUS_ON_PARALLEL 0x2u
#define PORTWISE_STATUS_ON_USB 0x4u
#define PORTWISE_STATUS_ON_TCP 0x8u
#define PORTWISE_NO_VERIFY_ON_SERIAL 0x100u /* but it proves nothing about jobs and pages there */
#define PORTWISE_NO_VERIFY_ON_PARALLEL 0x200u
#define PORTWISE_NO_VERIFY_ON_USB 0x400u
#define PORTWISE_NO_VERIFY_ON_TCP 0x800u
/* Of a protocol plug-in, where the rest is not read: */
#define PORTWISE_PROTOCOL_ACTIVE 0x1u /* it takes over writing and reading; asked once, after notification 1 */

/* Status: what an answer of the printer means. Zero before the plug-in fills it. */
typedef struct PortwiseStatus1 {
  DWORD flags; /* which of the others hold; PORTWISE_HAS_... */
  DWORD code;  /* one of the monitor's status codes */
  DWORD reserved2;
  DWORD threshold; /* bytes: a write of at least as many does not wait for room; 0 for none */
  DWORD available; /* bytes that the printer's buffer has room for */
} PortwiseStatus1;

typedef struct PortwiseStatus2 {
  DWORD flags;
  DWORD code;
  DWORD reserved2;
  DWORD threshold;
  DWORD available;
  DWORD extraCodes[5]; /* further status codes */
} PortwiseStatus2;

#define PORTWISE_HAS_CODE 0x1u
#define PORTWISE_HAS_THRESHOLD 0x4u
#define PORTWISE_HAS_AVAILABLE 0x8u
#define PORTWISE_HAS_EXTRA_CODE(index) (0x10u << (index)) /* index 0 to 4; version 2 only */

/* Notifications. */
#define PORTWISE_NOTIFY_LOADED 1
#define PORTWISE_NOTIFY_UNLOADING 2 /* to a monitor-interface plug-in, as are the ones from 13 to 15 and from 21 on */
/* Jobs. A protocol plug-in, while it is active, hears 11 and 12 at the start and the end of every job. */
#define PORTWISE_NOTIFY_FIRST_WRITE 11 /* of a job whose status is watched */
#define PORTWISE_NOTIFY_JOB_END 12
#define PORTWISE_NOTIFY_LAST_JOB_END 13 /* right after 12, with fewer than two jobs queued on the printer */
#define PORTWISE_NOTIFY_PAGE_OPENED 14
#define PORTWISE_NOTIFY_PAGE_CLOSED 15
/* Queries, to a protocol plug-in. */
#define PORTWISE_NOTIFY_PROTOCOL_QUERY 16
#define PORTWISE_NOTIFY_PROTOCOL_QUERY_ANSWERED 17
#define PORTWISE_NOTIFY_PROTOCOL_QUERY_SENT 18
/* Status requests and queries. */
#define PORTWISE_NOTIFY_STATUS_REQUESTED 21
#define PORTWISE_NOTIFY_STATUS_ANSWERED 22
#define PORTWISE_NOTIFY_QUERY 23 /* about to be sent */
#define PORTWISE_NOTIFY_QUERY_ANSWERED 24
#define PORTWISE_NOTIFY_QUERY_SENT 25
#define PORTWISE_NOTIFY_NOTHING_READ 31 /* a read brought nothing, and none before it had */

/* What PassData answers; other values leave it to the monitor. */
#define PORTWISE_ANSWER_COMPLETE 1
#define PORTWISE_ANSWER_INCOMPLETE 2
#define PORTWISE_ANSWER_FAILED 3

/* The status code of a special operation that nobody offers. */
#define PORTWISE_NO_SPECIAL_OPERATION 0x10070u

/* Functions. A null entry of a table is skipped: no request, nothing parsed, no special operation, and so on. */

typedef void(WINAPI* PortwiseNotify)(PortwiseBlock* block, DWORD code);
typedef void(WINAPI* PortwiseGetCapabilities)(PortwiseBlock* block, PortwiseCapabilities* capabilities);
/* Writes a status request to `buffer` and returns its length. First called with a null buffer and size 0, to learn the
 * length (at most 64 KiB; 0 for no request), then with a buffer of that size. */
typedef LONG(WINAPI* PortwiseBuildRequest)(PortwiseBlock* block, void* buffer, DWORD size);
/* Looks for a status answer at the start of what the printer has sent so far. When there is a complete one: fills
 * `status` and returns how many bytes it took; it is called again for what follows them. Otherwise 0, and it is called
 * again when more has come. */
typedef LONG(WINAPI* PortwiseParseResponse)(PortwiseBlock* block, const void* data, DWORD length,
                                            PortwiseStatus2* status);
/* Whether the bytes, all that has come so far, answer the query in the block: PORTWISE_ANSWER_... */
typedef DWORD(WINAPI* PortwisePassData)(PortwiseBlock* block, const void* data, DWORD length);
/* Fills `status` and returns non-zero when the status is known without asking the printer. */
typedef DWORD(WINAPI* PortwiseStatusWithoutRequest)(PortwiseBlock* block, PortwiseStatus2* status);
/* An operation beside printing, such as writing a chip card: a status code, 0 for success. */
typedef DWORD(WINAPI* PortwiseSpecialOperation)(PortwiseBlock* block, LPCWSTR reader, LPCWSTR type, DWORD copies,
                                                const void* data, DWORD length);

/* Version 2 of the monitor interface. */
typedef struct PortwiseMonitorTable2 {
  DWORD version; /* the plug-in sets 2; 1 when it filled a table of version 1 */
  PortwiseNotify notify;
  PortwiseGetCapabilities getCapabilities;
  PortwiseBuildRequest buildRequest;
  PortwiseParseResponse parseResponse;
  PortwisePassData passData;
  PortwiseStatusWithoutRequest statusWithoutRequest;
  PortwiseSpecialOperation specialOperation;
  void* reserved8[9];
} PortwiseMonitorTable2;

/* Version 1 has a handle of the plug-in's own, made for a printer's name, and no block. */
typedef HANDLE(WINAPI* PortwiseOpen1)(LPCWSTR printerName);
typedef void(WINAPI* PortwiseClose1)(HANDLE handle);
typedef void(WINAPI* PortwiseGetCapabilities1)(HANDLE handle, PortwiseCapabilities* capabilities);
typedef LONG(WINAPI* PortwiseBuildRequest1)(HANDLE handle, DWORD zero, void* buffer, DWORD size);
typedef LONG(WINAPI* PortwiseParseResponse1)(HANDLE handle, DWORD zero, const void* data, DWORD length,
                                             PortwiseStatus1* status);

typedef struct PortwiseMonitorTable1 {
  DWORD version; /* the plug-in sets 1 */
  void* reserved1[2];
  PortwiseOpen1 open;
  PortwiseClose1 close;
  void* reserved5[2];
  PortwiseGetCapabilities1 getCapabilities;
  PortwiseBuildRequest1 buildRequest;
  PortwiseParseResponse1 parseResponse;
} PortwiseMonitorTable1;

/* As the callbacks of the same name, which an active protocol plug-in stands in for: a success flag, and the number of
 * bytes of the caller's that were taken or delivered. */
typedef BYTE(WINAPI* PortwiseProtocolWrite)(PortwiseBlock* block, const void* data, DWORD length, DWORD* written);
typedef BYTE(WINAPI* PortwiseProtocolRead)(PortwiseBlock* block, void* buffer, DWORD size, DWORD* read);

typedef struct PortwiseProtocolTable {
  DWORD version; /* the plug-in sets 1 */
  PortwiseGetCapabilities getCapabilities;
  PortwiseNotify notify;
  PortwiseProtocolWrite write; /* without it the plug-in is never active */
  PortwiseProtocolRead read;
  PortwiseSpecialOperation specialOperation;
  void* reserved6[9];
} PortwiseProtocolTable;

/* Entry points. `table` is zero and the plug-in fills it; only the low byte of the result counts. MonitorInterface
 * is called for version 2 first, and for version 1 when it returned false. */
typedef BOOL(WINAPI* PortwiseMonitorInterface)(DWORD version, void* table);
typedef BOOL(WINAPI* PortwiseInitializeProtocolInterface)(DWORD version, PortwiseProtocolTable* table);

/* Reads the request that was sent last in a monitor-interface plug-in, on any thread on which one of its functions
 * runs. False, with nothing stored, when there is none. */
static inline BOOL PortwiseLastRequest(PortwiseBlock* block, const void** request, DWORD* length) {
  /* The monitor never hands out an address again before all calls are over that may have seen it, so a length that was
   * read between two sights of the same address belongs to it. */
  PVOID volatile* address = (PVOID volatile*)&block->request;
  PVOID volatile* size = (PVOID volatile*)&block->requestLength;
  PVOID seen = InterlockedCompareExchangePointer(address, NULL, NULL);
  while (seen != NULL) {
    const DWORD bytes = (DWORD)(ULONG_PTR)InterlockedCompareExchangePointer(size, NULL, NULL);
    PVOID again = InterlockedCompareExchangePointer(address, NULL, NULL);
    if (again == seen) {
      *request = seen;
      *length = bytes;
      return TRUE;
    }
    seen = again;
  }
  return FALSE;
}

#ifdef __cplusplus
}
#define PORTWISE_ASSERT_SIZE(type, bytes) static_assert(sizeof(void*) != 4 || sizeof(type) == (bytes), #type)
#else
#define PORTWISE_ASSERT_SIZE(type, bytes) _Static_assert(sizeof(void*) != 4 || sizeof(type) == (bytes), #type)
#endif
PORTWISE_ASSERT_SIZE(PortwiseBlock, 132);
PORTWISE_ASSERT_SIZE(PortwiseMonitorTable2, 68);
PORTWISE_ASSERT_SIZE(PortwiseProtocolTable, 60);
PORTWISE_ASSERT_SIZE(PortwiseMonitorTable1, 40);
PORTWISE_ASSERT_SIZE(PortwiseStatus2, 40);
PORTWISE_ASSERT_SIZE(PortwiseStatus1, 20);
PORTWISE_ASSERT_SIZE(PortwiseCapabilities, 8);
#undef PORTWISE_ASSERT_SIZE

#endif
