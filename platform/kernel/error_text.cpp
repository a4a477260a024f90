#include "platform/error_text.h"

#include <winsock2.h>

#include <algorithm>
#include <iterator>

namespace portwise::platform {
namespace {

struct Row {
  DWORD code;
  const char* text;
};

// In the order of the codes, for the search.
constexpr Row kTexts[] = {
    {ERROR_SUCCESS, "No error occurred."},
    {ERROR_INVALID_FUNCTION, "The function does not exist or does not apply here."},
    {ERROR_FILE_NOT_FOUND, "There is no such file."},
    {ERROR_PATH_NOT_FOUND, "The folder does not exist."},
    {ERROR_TOO_MANY_OPEN_FILES, "Too many files or handles are open."},
    {ERROR_ACCESS_DENIED, "Permission is missing."},
    {ERROR_INVALID_HANDLE, "The handle is not open or is of another kind."},
    {ERROR_NOT_ENOUGH_MEMORY, "There is too little memory or too few resources."},
    {ERROR_INVALID_DATA, "The data is damaged or has another form than expected."},
    {ERROR_OUTOFMEMORY, "The memory is used up."},
    {ERROR_NOT_SAME_DEVICE, "The two files are on different devices."},
    {ERROR_NO_MORE_FILES, "There are no further files."},
    {ERROR_NOT_READY, "The device is not ready."},
    {ERROR_BAD_COMMAND, "The device does not know the command."},
    {ERROR_OUT_OF_PAPER, "The printer has run out of paper."},
    {ERROR_WRITE_FAULT, "Writing to the device failed."},
    {ERROR_GEN_FAILURE, "The device or the system reported a failure."},
    {ERROR_SHARING_VIOLATION, "The file is in use elsewhere."},
    {ERROR_HANDLE_EOF, "The end of the file was reached."},
    {ERROR_NOT_SUPPORTED, "The operation is not supported."},
    {ERROR_PRINTQ_FULL, "The print queue does not take the job."},
    {ERROR_PRINT_CANCELLED, "The print job was cancelled."},
    {ERROR_FILE_EXISTS, "The file exists already."},
    {ERROR_INVALID_PARAMETER, "An argument is not valid."},
    {ERROR_OPEN_FAILED, "Opening failed."},
    {ERROR_BUFFER_OVERFLOW, "The name is longer than the space for it."},
    {ERROR_DISK_FULL, "The disk is full."},
    {ERROR_CALL_NOT_IMPLEMENTED, "The function is not available on this system."},
    {ERROR_SEM_TIMEOUT, "The operation took longer than allowed."},
    {ERROR_INSUFFICIENT_BUFFER, "The buffer is too small."},
    {ERROR_INVALID_NAME, "The name contains characters that are not allowed, or has a wrong form."},
    {ERROR_INVALID_LEVEL, "The information level is not known."},
    {ERROR_MOD_NOT_FOUND, "The library does not exist."},
    {ERROR_PROC_NOT_FOUND, "The library has no such function."},
    {ERROR_NEGATIVE_SEEK, "The position would lie before the start of the file."},
    {ERROR_DIR_NOT_EMPTY, "The folder is not empty."},
    {ERROR_BUSY, "The device or object is busy."},
    {ERROR_ALREADY_EXISTS, "It exists already."},
    {ERROR_BAD_EXE_FORMAT, "The file is not a library that this system can load."},
    {ERROR_ENVVAR_NOT_FOUND, "There is no such environment variable."},
    {ERROR_FILENAME_EXCED_RANGE, "The file name is too long."},
    {ERROR_NO_DATA, "The other end of the connection is closed."},
    {ERROR_MORE_DATA, "There is more data than fits."},
    {WAIT_TIMEOUT, "The wait ended before anything happened."},
    {ERROR_NO_MORE_ITEMS, "There are no further entries."},
    {ERROR_DIRECTORY, "The name of the folder is not valid."},
    {ERROR_MR_MID_NOT_FOUND, "There is no text for this message number."},
    {ERROR_INVALID_ADDRESS, "The memory address is not valid."},
    {ERROR_ARITHMETIC_OVERFLOW, "A number is too large for its type."},
    {ERROR_OPERATION_ABORTED, "The operation was broken off."},
    {ERROR_STACK_OVERFLOW, "The stack is used up."},
    {ERROR_CAN_NOT_COMPLETE, "The function cannot be completed."},
    {ERROR_INVALID_FLAGS, "The flags are not valid."},
    {ERROR_BADDB, "The registry database is damaged."},
    {ERROR_BADKEY, "The registry key is not valid."},
    {ERROR_CANTOPEN, "The registry key cannot be opened."},
    {ERROR_CANTREAD, "The registry key cannot be read."},
    {ERROR_CANTWRITE, "The registry key cannot be written."},
    {ERROR_KEY_DELETED, "The registry key has been deleted."},
    {ERROR_KEY_HAS_CHILDREN, "The registry key has subkeys."},
    {ERROR_NO_UNICODE_TRANSLATION, "The text contains bytes that are no character of its code page."},
    {ERROR_DLL_INIT_FAILED, "The library refused to start."},
    {ERROR_IO_DEVICE, "Input or output failed on the device."},
    {ERROR_DEVICE_DOOR_OPEN, "The door of the device is open."},
    {ERROR_NO_NETWORK, "There is no network."},
    {ERROR_CONNECTION_REFUSED, "The other computer refused the connection."},
    {ERROR_UNIDENTIFIED_ERROR, "An error of unknown kind occurred."},
    {ERROR_INVALID_ACL, "The access list is not valid."},
    {ERROR_INVALID_SID, "The security identifier is not valid."},
    {ERROR_INVALID_SECURITY_DESCR, "The security descriptor is not valid."},
    {ERROR_INTERNAL_ERROR, "An internal error occurred."},
    {ERROR_TIMEOUT, "The time allowed is over."},
    {RPC_S_SERVER_UNAVAILABLE, "The print spooler cannot be reached."},
    {ERROR_UNKNOWN_PORT, "There is no such port."},
    {ERROR_UNKNOWN_PRINTER_DRIVER, "There is no such printer driver."},
    {ERROR_INVALID_PRINTER_NAME, "There is no printer of that name."},
    {ERROR_PRINTER_ALREADY_EXISTS, "A printer of that name exists already."},
    {ERROR_INVALID_PRINTER_COMMAND, "The printer command is not known."},
    {ERROR_RESOURCE_DATA_NOT_FOUND, "The file holds no resources."},
    {ERROR_RESOURCE_TYPE_NOT_FOUND, "The file holds no resource of this type."},
    {ERROR_RESOURCE_NAME_NOT_FOUND, "The file holds no resource of this name."},
    {ERROR_RESOURCE_LANG_NOT_FOUND, "The file does not hold the resource in this language."},
    {ERROR_INVALID_PRINT_MONITOR, "The print monitor does not have the functions that it needs."},
    {ERROR_PRINTER_HAS_JOBS_QUEUED, "The printer still has jobs in its queue."},
    {ERROR_PRINTER_NOT_FOUND, "The printer was not found."},
    {WSAEINTR, "The socket call was interrupted."},
    {WSAEBADF, "The descriptor is not open."},
    {WSAEACCES, "The socket does not permit this."},
    {WSAEFAULT, "An address given to the socket call is not valid."},
    {WSAEINVAL, "An argument of the socket call is not valid."},
    {WSAEMFILE, "Too many sockets are open."},
    {WSAEWOULDBLOCK, "The socket call would have to wait."},
    {WSAEINPROGRESS, "A socket call is still in progress."},
    {WSAEALREADY, "The socket is already doing this."},
    {WSAENOTSOCK, "The handle is not a socket."},
    {WSAEDESTADDRREQ, "A destination address is missing."},
    {WSAEMSGSIZE, "The message is too long."},
    {WSAEPROTOTYPE, "The protocol does not suit the type of the socket."},
    {WSAENOPROTOOPT, "The socket option is not known."},
    {WSAEPROTONOSUPPORT, "The protocol is not supported."},
    {WSAEOPNOTSUPP, "The socket does not support this operation."},
    {WSAEAFNOSUPPORT, "The address family is not supported."},
    {WSAEADDRINUSE, "The address and port are in use."},
    {WSAEADDRNOTAVAIL, "The address does not belong to this computer or cannot be reached."},
    {WSAENETDOWN, "The network is down."},
    {WSAENETUNREACH, "There is no route to the network."},
    {WSAENETRESET, "The network dropped the connection."},
    {WSAECONNABORTED, "The connection was broken off on this side."},
    {WSAECONNRESET, "The other side broke off the connection."},
    {WSAENOBUFS, "There is no buffer space for the socket."},
    {WSAEISCONN, "The socket is connected already."},
    {WSAENOTCONN, "The socket is not connected."},
    {WSAESHUTDOWN, "The socket has been shut down in this direction."},
    {WSAETIMEDOUT, "The other side did not answer in time."},
    {WSAECONNREFUSED, "The other side refused the connection."},
    {WSAEHOSTUNREACH, "There is no route to the other computer."},
    {WSAVERNOTSUPPORTED, "The version of the socket interface is not supported."},
    {WSANOTINITIALISED, "The socket interface has not been started."},
    {WSAHOST_NOT_FOUND, "There is no computer of that name."},
    {WSATRY_AGAIN, "The name could not be looked up just now."},
};
static_assert(std::is_sorted(std::begin(kTexts), std::end(kTexts),
                             [](const Row& left, const Row& right) { return left.code < right.code; }));

}  // namespace

bool FindErrorText(DWORD code, std::string* text) {
  const auto row = std::lower_bound(std::begin(kTexts), std::end(kTexts), code,
                                    [](const Row& left, DWORD right) { return left.code < right; });
  if (row == std::end(kTexts) || row->code != code) return false;
  *text = row->text;
  return true;
}

std::string ErrorText(DWORD code) {
  std::string text;
  return FindErrorText(code, &text) ? text : "error " + std::to_string(code);
}

}  // namespace portwise::platform
