#include "connection/connection_usb.h"

#include "core/open_printer.h"
#include "core/operating_system_info.h"
#include "settings/spooler_buffer.h"

namespace portwise {
namespace {

// Requests of the USB printer's driver.
constexpr DWORD IOCTL_USBPRINT_GET_1284_ID = 0x220034;
constexpr DWORD IOCTL_USBPRINT_VENDOR_GET_COMMAND = 0x22003C;
constexpr DWORD IOCTL_USBPRINT_SOFT_RESET = 0x220040;

constexpr DWORD kVendorCommandSize = 3;

/// As of a printer that works offline when they cannot be had.
DWORD AttributesOf(HANDLE printer) {
  OBuffer buffer;
  const auto* info = FetchFromSpooler<PRINTER_INFO_5W>(buffer, [printer](LPBYTE data, DWORD size, LPDWORD needed) {
    return GetPrinterW(printer, 5, data, size, needed);
  });
  return info ? info->Attributes : PRINTER_ATTRIBUTE_WORK_OFFLINE;
}

}  // namespace

LONG Connection_USB::Control(DWORD code, const char* text, void* buffer, DWORD size) {
  bool done = false;
  switch (code) {
    case CONTROL_DEVICE_ID:
      return static_cast<LONG>(RequestDevice(IOCTL_USBPRINT_GET_1284_ID, nullptr, 0, buffer, size, &done));
    case CONTROL_SOFT_RESET:
      // Systems before 5.1 do not have the request.
      if (OperatingSystemInfo::Get().IsAtLeast(5, 1)) {
        RequestDevice(IOCTL_USBPRINT_SOFT_RESET, nullptr, 0, nullptr, 0, &done);
      }
      return done ? 1 : 0;
    case CONTROL_VENDOR_GET:
      if (!text) return 0;
      return static_cast<LONG>(
          RequestDevice(IOCTL_USBPRINT_VENDOR_GET_COMMAND, text, kVendorCommandSize, buffer, size, &done));
    default:
      return Connection::Control(code, text, buffer, size);
  }
}

DWORD Connection_USB::GetStatus(DWORD mask) {
  return (mask & STATUS_DISCONNECTED) && IsDisconnected() ? STATUS_DISCONNECTED : 0;
}

bool Connection_USB::IsDisconnected() const {
  const unique_printer printer = OpenPrinterByName(Port().JobPrinter(), PRINTER_ALL_ACCESS);
  if (!printer) return GetLastError() != ERROR_ACCESS_DENIED;
  return (AttributesOf(printer.Get()) & PRINTER_ATTRIBUTE_WORK_OFFLINE) != 0;
}

}  // namespace portwise
