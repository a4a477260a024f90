#pragma once

#include <winsplp.h>

#include <memory>
#include <optional>

#include "host/monitors/document.h"
#include "host/ports.h"
#include "platform/text.h"

namespace portwise {

/// The MONITOR2 table of a port class, whose objects are the port handles. `PortType` is made of the port as it
/// is registered and has StartDoc(port, document), Write(buffer, size, &written), EndDoc() and SetTimeouts(timeouts),
/// which return false with the last error; a class whose printers answer also has Read(buffer, size, &read), and one
/// that takes device requests has Control(request). StartDoc gets the port as it is registered then, so that changes
/// count from the next document on. What a class lacks is null in its table.
template <class PortType>
class MonitorTable {
 public:
  static MONITOR2* Get() {
    static MONITOR2 table = Make();
    return &table;
  }

 private:
  struct Handle {
    std::string name;
    PortType port;
  };

  static MONITOR2 Make() {
    MONITOR2 table{};
    table.cbSize = sizeof(table);
    table.pfnOpenPort = Open;
    table.pfnStartDocPort = StartDoc;
    table.pfnWritePort = [](HANDLE port, LPBYTE buffer, DWORD size, LPDWORD written) -> BOOL {
      *written = 0;
      return At(port).Write(buffer, size, written);
    };
    table.pfnEndDocPort = [](HANDLE port) -> BOOL { return At(port).EndDoc(); };
    table.pfnClosePort = [](HANDLE port) -> BOOL {
      delete static_cast<Handle*>(port);
      return TRUE;
    };
    table.pfnSetPortTimeOuts = [](HANDLE port, LPCOMMTIMEOUTS timeouts, DWORD) -> BOOL {
      At(port).SetTimeouts(*timeouts);
      return TRUE;
    };
    if constexpr (requires(PortType port, BYTE * buffer, DWORD * read) { port.Read(buffer, DWORD{}, read); }) {
      table.pfnReadPort = [](HANDLE port, LPBYTE buffer, DWORD size, LPDWORD read) -> BOOL {
        *read = 0;
        return At(port).Read(buffer, size, read);
      };
    }
    if constexpr (requires { &PortType::Control; }) {
      table.pfnGetPrinterDataFromPort = [](HANDLE port, DWORD control, LPWSTR, LPWSTR in, DWORD inSize, LPWSTR out,
                                           DWORD outSize, LPDWORD returned) -> BOOL {
        *returned = 0;
        return At(port).Control(
            {control, reinterpret_cast<const BYTE*>(in), inSize, reinterpret_cast<BYTE*>(out), outSize, returned});
      };
    }
    return table;
  }

  static BOOL WINAPI Open(HANDLE, LPWSTR name, PHANDLE port) {
    auto found = FindPort(platform::ToUtf8(name));
    if (!found) {
      SetLastError(ERROR_UNKNOWN_PORT);
      return FALSE;
    }
    *port = new Handle{found->name, PortType(*found)};
    return TRUE;
  }

  static BOOL WINAPI StartDoc(HANDLE handle, LPWSTR printer, DWORD job, DWORD level, LPBYTE info) {
    const auto registered = FindPort(static_cast<Handle*>(handle)->name);
    if (!registered) {
      SetLastError(ERROR_UNKNOWN_PORT);
      return FALSE;
    }
    Document document{printer ? platform::ToUtf8(printer) : "", job, {}};
    const auto* details = level == 1 ? reinterpret_cast<const DOC_INFO_1W*>(info) : nullptr;
    if (details && details->pDocName) document.name = platform::ToUtf8(details->pDocName);
    return At(handle).StartDoc(*registered, document);
  }

  static PortType& At(HANDLE port) { return static_cast<Handle*>(port)->port; }
};

}  // namespace portwise
