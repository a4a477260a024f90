#include "monitor/entry_points.h"

#include <cstddef>

#include "monitor/net_mon_exception_handler.h"
#include "monitor/port_context.h"
#include "monitor/port_list.h"
#include "monitor/request_channel.h"

namespace portwise {
namespace {

/// The table ends after pfnShutdown: there is no pfnSendRecvBidiDataFromPort.
constexpr DWORD kTableSize = offsetof(MONITOR2, pfnShutdown) + sizeof(MONITOR2::pfnShutdown);
static_assert(sizeof(void*) != 4 || kTableSize == 76);

void WINAPI Shutdown(HANDLE) {}

/// Runs one operation on a port under its guard.
template <class Body>
BOOL Operation(const char* name, HANDLE port, Body&& body) {
  NetMonExceptionHandler guard(name, NetMonExceptionHandler::kOperationFlags);
  auto* context = static_cast<PortContext*>(port);
  return RunGuarded(guard, [&] {
    guard.ReportTo(context);
    return body(*context) ? TRUE : FALSE;
  });
}

/// The same for an operation whose call is logged first.
template <class Body>
BOOL LoggedOperation(const char* name, HANDLE port, Body&& body) {
  return Operation(name, port, [&](PortContext& context) {
    context.Diagnostics().LogCall(name);
    return body(context);
  });
}

/// Destroys a port's context, under a guard that knows no port: the port's log goes with it.
BOOL Remove(const char* name, HANDLE port) {
  NetMonExceptionHandler guard(name, NetMonExceptionHandler::kOperationFlags);
  return RunGuarded(guard, [&] {
    Ports()->Remove(static_cast<PortContext*>(port));
    return TRUE;
  });
}

}  // namespace

MONITOR2* MonitorTable() {
  static MONITOR2 table = [] {
    MONITOR2 made = {};
    made.cbSize = kTableSize;
    made.pfnOpenPortEx = lmOpenPortEx2W;
    made.pfnStartDocPort = lmStartDocPortW;
    made.pfnWritePort = lmWritePortW;
    made.pfnReadPort = lmReadPortW;
    made.pfnEndDocPort = lmEndDocPortW;
    made.pfnClosePort = lmClosePortW;
    made.pfnGetPrinterDataFromPort = lmGetPrinterDataFromPortW;
    made.pfnShutdown = Shutdown;
    return made;
  }();
  return &table;
}

BOOL WINAPI lmOpenPortEx2W(HANDLE, HANDLE monitorPort, LPWSTR portName, LPWSTR printerName, PHANDLE port,
                           MONITOR2* underlying) {
  NetMonExceptionHandler guard("lmOpenPortEx2W", NetMonExceptionHandler::kOperationFlags);
  PortContext* context = nullptr;
  const BOOL opened = RunGuarded(guard, [&] {
    context = Ports()->Create(portName);
    guard.ReportTo(context);
    context->SetPrinterName(printerName);
    context->Diagnostics().LogCall("lmOpenPortEx2W");
    if (!context->Open(monitorPort, *underlying)) {
      SetLastError(ERROR_INVALID_PRINT_MONITOR);
      return FALSE;
    }
    *port = context;
    return TRUE;
  });
  if (!opened && context) {
    const DWORD error = GetLastError();
    Operation("lmOpenPortEx2W", context, [](PortContext& failed) {
      if (failed.IsOpen()) failed.Close();
      return true;
    });
    Remove("lmOpenPortEx2W", context);
    SetLastError(error);
  }
  return opened;
}

BOOL WINAPI lmClosePortW(HANDLE port) {
  const BOOL closed = LoggedOperation("lmClosePortW", port, [](PortContext& context) {
    context.Close();
    return true;
  });
  const DWORD error = GetLastError();
  const BOOL removed = Remove("lmClosePortW", port);
  if (!closed) SetLastError(error);
  return closed && removed;
}

BOOL WINAPI lmStartDocPortW(HANDLE port, LPWSTR printerName, DWORD job, DWORD level, LPBYTE docInfo) {
  return Operation("lmStartDocPortW", port,
                   [&](PortContext& context) { return context.StartDocument(printerName, job, level, docInfo); });
}

BOOL WINAPI lmWritePortW(HANDLE port, LPBYTE buffer, DWORD size, LPDWORD written) {
  return LoggedOperation("lmWritePortW", port,
                         [&](PortContext& context) { return context.Write(buffer, size, written); });
}

BOOL WINAPI lmReadPortW(HANDLE port, LPBYTE buffer, DWORD size, LPDWORD read) {
  return LoggedOperation("lmReadPortW", port, [&](PortContext& context) { return context.Read(buffer, size, read); });
}

BOOL WINAPI lmEndDocPortW(HANDLE port) {
  return LoggedOperation("lmEndDocPortW", port, [&](PortContext& context) {
    context.EndDocument();
    return true;
  });
}

BOOL WINAPI lmGetPrinterDataFromPortW(HANDLE port, DWORD control, LPWSTR valueName, LPWSTR in, DWORD inSize, LPWSTR out,
                                      DWORD outSize, LPDWORD returned) {
  return LoggedOperation("lmGetPrinterDataFromPortW", port, [&](PortContext& context) {
    const BOOL result = control != 0 ? context.GetDeviceData(control, valueName, in, inSize, out, outSize, returned)
                                     : AnswerRequest(context, OString(valueName).NarrowView(), out, outSize, returned);
    if (!result) SetLastError(ERROR_INVALID_PARAMETER);
    return result;
  });
}

}  // namespace portwise
