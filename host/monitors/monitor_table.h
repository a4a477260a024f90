#pragma once

#include <winsplp.h>

#include <memory>
#include <optional>

#include "host/ports.h"
#include "platform/text.h"

namespace portwise {

/// The MONITOR2 table of a port class, whose objects are the port handles. `PortType` is made of the registered port
/// and has StartDoc(), Write(buffer, size, &written), Read(buffer, size, &read), EndDoc() and SetTimeouts(timeouts),
/// which return false with the last error.
template <class PortType>
class MonitorTable {
 public:
  static MONITOR2* Get() {
    static MONITOR2 table = Make();
    return &table;
  }

 private:
  static MONITOR2 Make() {
    MONITOR2 table{};
    table.cbSize = sizeof(table);
    table.pfnOpenPort = Open;
    table.pfnStartDocPort = [](HANDLE port, LPWSTR, DWORD, DWORD, LPBYTE) -> BOOL { return At(port).StartDoc(); };
    table.pfnWritePort = [](HANDLE port, LPBYTE buffer, DWORD size, LPDWORD written) -> BOOL {
      *written = 0;
      return At(port).Write(buffer, size, written);
    };
    table.pfnReadPort = [](HANDLE port, LPBYTE buffer, DWORD size, LPDWORD read) -> BOOL {
      *read = 0;
      return At(port).Read(buffer, size, read);
    };
    table.pfnEndDocPort = [](HANDLE port) -> BOOL { return At(port).EndDoc(); };
    table.pfnClosePort = [](HANDLE port) -> BOOL {
      delete &At(port);
      return TRUE;
    };
    table.pfnSetPortTimeOuts = [](HANDLE port, LPCOMMTIMEOUTS timeouts, DWORD) -> BOOL {
      At(port).SetTimeouts(*timeouts);
      return TRUE;
    };
    return table;
  }

  static BOOL WINAPI Open(HANDLE, LPWSTR name, PHANDLE port) {
    auto found = FindPort(platform::ToUtf8(name));
    if (!found) {
      SetLastError(ERROR_UNKNOWN_PORT);
      return FALSE;
    }
    *port = new PortType(*found);
    return TRUE;
  }

  static PortType& At(HANDLE port) { return *static_cast<PortType*>(port); }
};

}  // namespace portwise
