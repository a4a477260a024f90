#ifndef PORTWISE_CLIENT_H
#define PORTWISE_CLIENT_H

/* What other programs ask the monitor of a printer, for C and C++. Link with the library, or load it and look the
 * functions up by name. docs/client.md has examples.
 *
 * A request is XPML text; the reply is what its commands leave behind. The printer may be one of this computer or a
 * connection to one of another computer. The request runs in the print spooler of the printer's computer, beside the
 * job that the printer prints.
 *
 * Threads. Any function may be called on any thread, several at once. A response belongs to whoever asked for it: one
 * thread at a time uses it.
 *
 * Failures. No function throws or ends the program. What fails returns 0, and GetLastError tells why where it is said
 * below. */

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A response, from a call that gave one until HTTPResponse_Free. */
typedef struct PortwiseResponse PortwiseResponse;

/* How a request was answered. */
#define PORTWISE_NO_ANSWER 0
#define PORTWISE_ANSWERED_HTTP 1    /* by the network service of the printer's computer */
#define PORTWISE_ANSWERED_SPOOLER 2 /* through the print spooler of this computer */

/* Sends the NUL-terminated `request` to the monitor of `printer` and waits for the reply: over HTTP, and when there is
 * no answer that way and the printer is one of this computer, through the spooler. A request whose answer was lost on
 * its way may therefore run more than once.
 *
 * `response` receives the response, which the caller frees, or null without an answer. It may be null itself; then only
 * the result tells that there was an answer.
 *
 * Without an answer GetLastError is a socket error (10060 after a timeout, 10061 where no service listens, 11001 for a
 * computer that is not known), ERROR_INVALID_PRINTER_NAME for a printer that the service or the spooler does not have,
 * ERROR_CAN_NOT_COMPLETE for a request that has run, but to which the service has no reply, ERROR_NOT_SUPPORTED when
 * the settings close the way, ERROR_INVALID_PARAMETER for a null argument, or another error of the spooler, such as
 * that there is none (1722), or of the system.
 *
 * The settings "NETWORK:" of the printer say where the service is, how often it is tried and how long each pause may
 * be: 3 times and 1000 ms unless they are changed. */
int WINAPI SendXPMLRequest(LPCWSTR printer, const char* request, PortwiseResponse** response);

/* The same over HTTP alone, for a printer of any computer: PORTWISE_ANSWERED_HTTP or 0. An empty request ends in
 * ERROR_INVALID_PRINTER_NAME, as the service does not tell it from a printer that it does not have. */
int WINAPI SendXPMLRequest_HTTP(LPCWSTR printer, const char* request, PortwiseResponse** response);

/* The same through the spooler alone, for a printer of this computer: PORTWISE_ANSWERED_SPOOLER or 0. The caller must
 * be allowed to administer the printer, and to write the registry of the computer. A printer whose name has characters
 * that the ANSI code page lacks cannot be asked this way: ERROR_NO_UNICODE_TRANSLATION. */
int WINAPI SendXPMLRequest_Local(LPCWSTR printer, const char* request, PortwiseResponse** response);

/* The status of HTTP, which is 200; 0 for a null handle. */
int WINAPI HTTPResponse_Status(const PortwiseResponse* response);

/* How many bytes HTTPResponse_Data copies at most: the length that the response announces. 0 when it announces none,
 * and for a null handle. A reply over HTTP that holds no control characters but line ends has one NUL more than its
 * text, so that it is a C string; other replies, and those through the spooler, are exactly the bytes of the reply. */
int WINAPI HTTPResponse_Size(const PortwiseResponse* response);

/* Copies the reply to `buffer`, which has room for HTTPResponse_Size bytes. Returns the number of bytes; 0 for a null
 * handle or buffer. */
int WINAPI HTTPResponse_Data(const PortwiseResponse* response, void* buffer);

/* Nothing happens to a null handle. */
void WINAPI HTTPResponse_Free(PortwiseResponse* response);

/* Looks up the IPv4 address of `host`, a name or a dotted address. `address` receives its four bytes in network order.
 * 0, with `address` as it was, when it is not found. */
BOOL WINAPI HostNameToIP(const char* host, void* address);

#ifdef __cplusplus
}
#endif

#endif
