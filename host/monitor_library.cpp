#include "host/monitor_library.h"

#include <winspool.h>

#include <algorithm>

#include "host/monitors/find_port_monitor.h"
#include "host/registry_key.h"
#include "platform/error_text.h"
#include "platform/text.h"

namespace portwise {

using platform::ToUtf16;

namespace {

constexpr char kMonitorKey[] = R"(SYSTEM\CurrentControlSet\Control\Print\Monitors\Corvane Network Monitor)";
constexpr char kDefaultDriver[] = "portwise.dll";

}  // namespace

MonitorPort::~MonitorPort() { functions_.pfnClosePort(handle_); }

bool MonitorPort::StartDoc(const std::string& printer, DWORD job, const std::string& document) {
  std::u16string printerName = ToUtf16(printer);
  std::u16string documentName = ToUtf16(document);
  std::u16string dataType = TEXT("RAW");
  DOC_INFO_1W info{documentName.data(), nullptr, dataType.data()};
  SetLastError(ERROR_SUCCESS);
  return functions_.pfnStartDocPort(handle_, printerName.data(), job, 1, reinterpret_cast<LPBYTE>(&info));
}

bool MonitorPort::Write(BYTE* buffer, DWORD size, DWORD* written) {
  *written = 0;
  SetLastError(ERROR_SUCCESS);
  bool result = functions_.pfnWritePort(handle_, buffer, size, written);
  *written = std::min(*written, size);
  return result;
}

bool MonitorPort::EndDoc() {
  SetLastError(ERROR_SUCCESS);
  return functions_.pfnEndDocPort(handle_);
}

bool MonitorPort::GetData(const std::string& value, void* data, DWORD size, DWORD* needed) {
  *needed = 0;
  if (!functions_.pfnGetPrinterDataFromPort) return false;
  std::u16string name = ToUtf16(value);
  SetLastError(ERROR_SUCCESS);
  if (!functions_.pfnGetPrinterDataFromPort(handle_, 0, name.data(), nullptr, 0, static_cast<LPWSTR>(data), size,
                                            needed)) {
    return false;
  }
  *needed = std::min(*needed, size);
  return true;
}

std::unique_ptr<MonitorLibrary> MonitorLibrary::Load(std::string* why) {
  std::string driver = RegistryKey::Open(kMonitorKey).GetText("Driver");
  if (driver.empty()) driver = kDefaultDriver;
  HMODULE module = LoadLibraryW(ToUtf16(driver).c_str());
  if (!module) {
    *why = "the print monitor " + driver + " cannot be loaded: " + platform::ErrorText(GetLastError());
    return nullptr;
  }
  FARPROC function = GetProcAddress(module, "InitializePrintMonitor2");
  auto initialize = reinterpret_cast<decltype(&InitializePrintMonitor2)>(reinterpret_cast<void*>(function));
  MONITORINIT init{};
  init.cbSize = sizeof(init);
  init.bLocal = TRUE;
  HANDLE monitor = nullptr;
  MONITOR2* functions = initialize ? initialize(&init, &monitor) : nullptr;
  if (!functions || !functions->pfnOpenPortEx || !functions->pfnStartDocPort || !functions->pfnWritePort ||
      !functions->pfnEndDocPort || !functions->pfnClosePort) {
    *why = driver + " is not a print monitor that this spooler can drive";
    return nullptr;
  }
  return std::unique_ptr<MonitorLibrary>(new MonitorLibrary(functions, monitor));
}

std::unique_ptr<MonitorPort> MonitorLibrary::OpenPort(const std::string& port, const std::string& printer,
                                                      std::string* why) {
  auto owner = FindPortMonitor(port);
  if (!owner) {
    *why = "there is no port " + port;
    return nullptr;
  }
  std::u16string portName = ToUtf16(port);
  std::u16string printerName = ToUtf16(printer);
  HANDLE handle = nullptr;
  SetLastError(ERROR_SUCCESS);
  if (!functions_->pfnOpenPortEx(monitor_, owner->handle, portName.data(), printerName.data(), &handle,
                                 owner->functions)) {
    *why = "the port " + port + " cannot be opened: " + MonitorFault(GetLastError(), "the print monitor refused it");
    return nullptr;
  }
  return std::make_unique<MonitorPort>(*functions_, handle);
}

void MonitorLibrary::Shutdown() {
  if (functions_->pfnShutdown) functions_->pfnShutdown(monitor_);
}

std::string MonitorFault(DWORD error, const std::string& otherwise) {
  return error == ERROR_SUCCESS ? otherwise : platform::ErrorText(error);
}

}  // namespace portwise
