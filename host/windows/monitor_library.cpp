#include "host/windows/monitor_library.h"

#include <algorithm>

#include "host/windows/port_monitor.h"
#include "host/windows/say.h"
#include "host/windows/setup.h"

namespace portwise {
namespace {

constexpr DWORD kAnswerSize = 65536;

}  // namespace

bool MonitorPort::StartDoc(const OString& printer, DWORD job, const OString& document) {
  OString type("RAW");
  DOC_INFO_1W info{Mutable(document), nullptr, Mutable(type)};
  SetLastError(ERROR_SUCCESS);
  return functions_.pfnStartDocPort(handle_, Mutable(printer), job, 1, reinterpret_cast<LPBYTE>(&info));
}

bool MonitorPort::Write(BYTE* data, DWORD size, DWORD* written) {
  *written = 0;
  SetLastError(ERROR_SUCCESS);
  const bool done = functions_.pfnWritePort(handle_, data, size, written);
  *written = std::min(*written, size);
  return done;
}

bool MonitorPort::EndDoc() {
  SetLastError(ERROR_SUCCESS);
  return functions_.pfnEndDocPort(handle_);
}

bool MonitorPort::Read(std::string* data) {
  data->resize(kAnswerSize);
  DWORD read = 0;
  SetLastError(ERROR_SUCCESS);
  const bool done = functions_.pfnReadPort(handle_, reinterpret_cast<LPBYTE>(data->data()), kAnswerSize, &read);
  data->resize(std::min(read, kAnswerSize));
  return done;
}

bool MonitorPort::Ask(const OString& value, std::string* data) {
  data->resize(kAnswerSize);
  DWORD needed = 0;
  SetLastError(ERROR_SUCCESS);
  const bool done = functions_.pfnGetPrinterDataFromPort(handle_, 0, Mutable(value), nullptr, 0,
                                                         reinterpret_cast<LPWSTR>(data->data()), kAnswerSize, &needed);
  data->resize(done ? std::min(needed, kAnswerSize) : 0);
  return done;
}

MonitorLibrary::MonitorLibrary(const std::string& file) {
  const HMODULE module = LoadLibraryW(FromUtf8(file).Wide());
  if (!module) throw Failure{file + " cannot be loaded: " + ErrorText(GetLastError())};
  const auto function = reinterpret_cast<void (*)()>(GetProcAddress(module, "InitializePrintMonitor2"));
  const auto initialize = reinterpret_cast<decltype(&InitializePrintMonitor2)>(function);
  MONITORINIT init = {};
  init.cbSize = sizeof init;
  init.bLocal = TRUE;
  functions_ = initialize ? initialize(&init, &monitor_) : nullptr;
  if (!functions_ || !functions_->pfnOpenPortEx) throw Failure{file + " is no print monitor"};
}

HANDLE MonitorLibrary::OpenPort(const OString& port, const OString& printer) {
  const PortMonitor below = UnderlyingPortMonitor();
  HANDLE handle = nullptr;
  SetLastError(ERROR_SUCCESS);
  if (!functions_->pfnOpenPortEx(monitor_, below.handle, Mutable(port), Mutable(printer), &handle, below.functions)) {
    return nullptr;
  }
  return handle;
}

void MonitorLibrary::Shutdown() {
  if (functions_->pfnShutdown) functions_->pfnShutdown(monitor_);
}

}  // namespace portwise
