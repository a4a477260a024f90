#include "host/windows/port_monitor.h"

#include <memory>

#include "core/handles.h"
#include "core/ostring.h"

namespace portwise {
namespace {

struct Port {
  OString path;
  unique_handle file;  // while a document is open
};

Port& At(HANDLE port) { return *static_cast<Port*>(port); }

BOOL WINAPI Open(HANDLE, LPWSTR name, PHANDLE port) {
  *port = new Port{OString(name), {}};
  return TRUE;
}

BOOL WINAPI StartDoc(HANDLE handle, LPWSTR, DWORD, DWORD, LPBYTE) {
  Port& port = At(handle);
  port.file.Reset(CreateFileW(port.path.Wide(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
  return static_cast<bool>(port.file);
}

BOOL WINAPI Write(HANDLE port, LPBYTE data, DWORD size, LPDWORD written) {
  *written = 0;
  return WriteFile(At(port).file.Get(), data, size, written, nullptr);
}

BOOL WINAPI EndDoc(HANDLE port) {
  At(port).file.Reset();
  return TRUE;
}

BOOL WINAPI Close(HANDLE port) {
  delete &At(port);
  return TRUE;
}

}  // namespace

PortMonitor UnderlyingPortMonitor() {
  static MONITOR2 table = [] {
    MONITOR2 made = {};
    made.cbSize = sizeof made;
    made.pfnOpenPort = Open;
    made.pfnStartDocPort = StartDoc;
    made.pfnWritePort = Write;
    made.pfnEndDocPort = EndDoc;
    made.pfnClosePort = Close;
    return made;
  }();
  return {&table, &table};
}

}  // namespace portwise
