#pragma once

#include <windows.h>
#include <winspool.h>

#include <winsplp.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/text.h"
#include "tests/support/api_function.h"

namespace portwise {

/// A port monitor that records every call in order and does what the test says: it may refuse to open or to start a
/// document, and it takes of a write what `onWrite` answers. One at a time, because its functions find it by a global.
class FakePortMonitor {
 public:
  FakePortMonitor() {
    current = this;
    table.cbSize = sizeof table;
    table.pfnOpenPort = ApiFunction([](HANDLE monitor, LPWSTR name, PHANDLE port) -> BOOL {
      current->Record("open " + platform::ToUtf8(name) + (monitor == current->Monitor() ? "" : " (wrong monitor)"));
      *port = current->Port();
      if (current->refuseOpen) SetLastError(ERROR_ACCESS_DENIED);
      return !current->refuseOpen;
    });
    table.pfnStartDocPort = ApiFunction([](HANDLE, LPWSTR printer, DWORD job, DWORD level, LPBYTE) -> BOOL {
      current->Record("start " + platform::ToUtf8(printer) + " " + std::to_string(job) + " " + std::to_string(level));
      if (current->refuseStart) SetLastError(ERROR_NOT_READY);
      return !current->refuseStart;
    });
    table.pfnWritePort = ApiFunction([](HANDLE, LPBYTE buffer, DWORD size, LPDWORD written) -> BOOL {
      current->Enter("write");
      *written = size;
      const auto take = [&] { current->output.append(reinterpret_cast<const char*>(buffer), *written); };
      BOOL result = TRUE;
      try {
        if (current->onWrite) result = current->onWrite(size, written);
      } catch (...) {
        take();
        throw;
      }
      take();
      return result;
    });
    table.pfnReadPort = ApiFunction([](HANDLE, LPBYTE buffer, DWORD, LPDWORD read) -> BOOL {
      current->Enter("read");
      if (current->onRead) current->onRead();
      buffer[0] = 'r';
      *read = 1;
      return TRUE;
    });
    table.pfnEndDocPort = ApiFunction([](HANDLE) -> BOOL { return current->Record("end"); });
    table.pfnClosePort = ApiFunction([](HANDLE) -> BOOL { return current->Record("close"); });
    table.pfnGetPrinterDataFromPort = ApiFunction([](HANDLE port, DWORD control, LPWSTR name, LPWSTR in, DWORD inSize,
                                                     LPWSTR out, DWORD outSize, LPDWORD returned) -> BOOL {
      const bool passed = port == current->Port() && !name && in && inSize == 3 && out && outSize == 5;
      *returned = 4;
      return current->Record("data " + std::to_string(control) + (passed ? "" : " (wrong arguments)"));
    });
  }
  ~FakePortMonitor() { current = nullptr; }
  FakePortMonitor(const FakePortMonitor&) = delete;
  FakePortMonitor& operator=(const FakePortMonitor&) = delete;

  HANDLE Monitor() { return this; }
  HANDLE Port() { return &output; }

  MONITOR2 table = {};
  std::vector<std::string> calls;
  std::string output;
  bool refuseOpen = false;
  bool refuseStart = false;
  /// Given the size and a `written` of all; says what was taken and the result. What it says was taken is taken even
  /// when it throws.
  std::function<BOOL(DWORD size, DWORD* written)> onWrite;
  std::function<void()> onRead;
  /// Runs at the begin of each operation, once it is recorded: "open", "start", "write", "read", "end", "close" or
  /// "data".
  std::function<void(std::string_view operation)> onCall;

 private:
  BOOL Record(const std::string& call) {
    calls.push_back(call);
    Enter(std::string_view(call).substr(0, call.find(' ')));
    return TRUE;
  }
  void Enter(std::string_view operation) {
    if (onCall) onCall(operation);
  }

  static inline FakePortMonitor* current = nullptr;
};

}  // namespace portwise
