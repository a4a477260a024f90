#include "platform/spooler/printer_handles.h"

#include <map>
#include <mutex>

#include "platform/text.h"

namespace portwise::platform {

namespace {

struct PrinterHandles {
  std::mutex mutex;
  std::map<ULONG_PTR, OpenedPrinter> printers;
  ULONG_PTR last = 0x7000000;
};

PrinterHandles& Handles() {
  static auto* handles = new PrinterHandles;
  return *handles;
}

}  // namespace

HANDLE AddPrinterHandle(OpenedPrinter printer) {
  PrinterHandles& handles = Handles();
  std::lock_guard lock(handles.mutex);
  handles.last += 4;
  handles.printers[handles.last] = std::move(printer);
  return reinterpret_cast<HANDLE>(handles.last);
}

std::optional<OpenedPrinter> FindPrinterHandle(HANDLE handle) {
  PrinterHandles& handles = Handles();
  std::lock_guard lock(handles.mutex);
  auto found = handles.printers.find(reinterpret_cast<ULONG_PTR>(handle));
  if (found != handles.printers.end()) return found->second;
  SetLastError(ERROR_INVALID_HANDLE);
  return std::nullopt;
}

bool RemovePrinterHandle(HANDLE handle) {
  PrinterHandles& handles = Handles();
  std::lock_guard lock(handles.mutex);
  return handles.printers.erase(reinterpret_cast<ULONG_PTR>(handle)) == 1;
}

std::optional<Message> Order(const nlohmann::json& order, const std::string& body) {
  Message reply = CallSpooler({order, body});
  if (DWORD error = reply.head.value("error", DWORD{ERROR_INTERNAL_ERROR}); error != ERROR_SUCCESS) {
    SetLastError(error);
    return std::nullopt;
  }
  return reply;
}

std::basic_string<WCHAR> Field(const nlohmann::json& object, const char* name) {
  return ToUtf16(object.value(name, std::string()));
}

}  // namespace portwise::platform
