#include <windows.h>
#include <winspool.h>

#include "platform/kernel/fail.h"
#include "platform/spooler/printer_handles.h"
#include "platform/spooler/printer_layouts.h"
#include "platform/text.h"

namespace portwise::platform {

namespace {

using Json = nlohmann::json;

/// Calls `pack` with an empty packer of the level's structure; FALSE with ERROR_INVALID_LEVEL for an unknown level.
template <class Pack>
BOOL AtLevel(DWORD level, Pack pack) {
  switch (level) {
    case 1:
      return pack(Packer<PRINTER_INFO_1W>());
    case 2:
      return pack(Packer<PRINTER_INFO_2W>());
    case 4:
      return pack(Packer<PRINTER_INFO_4W>());
    case 5:
      return pack(Packer<PRINTER_INFO_5W>());
    default:
      return Fail(ERROR_INVALID_LEVEL);
  }
}

bool IsAsked(const Json& printer, DWORD flags) {
  const bool connection = printer.value("name", std::string()).starts_with("\\\\");
  const bool shared = printer.value("attributes", DWORD{0}) & PRINTER_ATTRIBUTE_SHARED;
  if ((flags & PRINTER_ENUM_SHARED) && !shared) return false;
  const DWORD kind = connection ? PRINTER_ENUM_CONNECTIONS : PRINTER_ENUM_LOCAL;
  return (flags & kind) || flags == PRINTER_ENUM_SHARED;
}

}  // namespace

}  // namespace portwise::platform

using namespace portwise::platform;

BOOL WINAPI OpenPrinterW(LPWSTR name, LPHANDLE printer, PRINTER_DEFAULTSW* defaults) {
  if (!printer) return Fail(ERROR_INVALID_PARAMETER);
  *printer = nullptr;
  if (!name || !*name) return Fail(ERROR_INVALID_PRINTER_NAME);
  auto reply = Order({{"op", "printer-get"}, {"name", ToUtf8(name)}});
  if (!reply) return FALSE;
  const DWORD access = defaults && defaults->DesiredAccess ? defaults->DesiredAccess : PRINTER_ACCESS_USE;
  *printer = AddPrinterHandle({reply->head.value("name", std::string()), access});
  return TRUE;
}

BOOL WINAPI ClosePrinter(HANDLE printer) { return RemovePrinterHandle(printer) ? TRUE : Fail(ERROR_INVALID_HANDLE); }

BOOL WINAPI GetPrinterW(HANDLE printer, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed) {
  auto opened = FindPrinterHandle(printer);
  if (!opened) return FALSE;
  return AtLevel(level, [&](auto packer) {
    if (!needed) return Fail(ERROR_INVALID_PARAMETER);
    *needed = 0;
    auto reply = Order({{"op", "printer-get"}, {"name", opened->name}});
    if (!reply) return FALSE;
    PackPrinter(reply->head, reply->body, &packer);
    return packer.Write(buffer, size, needed);
  });
}

BOOL WINAPI SetPrinterW(HANDLE printer, DWORD level, LPBYTE info, DWORD command) {
  auto opened = FindPrinterHandle(printer);
  if (!opened) return FALSE;
  if (level == 0) {
    if (command != PRINTER_CONTROL_SET_STATUS) return Fail(ERROR_INVALID_PRINTER_COMMAND);
    // The word itself travels in the pointer.
    const auto status = static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(info));
    return Order({{"op", "printer-status-set"}, {"name", opened->name}, {"access", opened->access}, {"status", status}})
        .has_value();
  }
  if (level != 2) return Fail(ERROR_INVALID_LEVEL);
  if (command != 0) return Fail(ERROR_INVALID_PRINTER_COMMAND);
  if (!info) return Fail(ERROR_INVALID_PARAMETER);
  std::string devMode;
  Json order = ChangeOrder(opened->name, *reinterpret_cast<const PRINTER_INFO_2W*>(info), &devMode);
  order["access"] = opened->access;
  return Order(order, devMode).has_value();
}

BOOL WINAPI EnumPrintersW(DWORD flags, LPWSTR name, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed,
                          LPDWORD returned) {
  return AtLevel(level, [&](auto packer) {
    if (!needed || !returned || (name && *name)) return Fail(ERROR_INVALID_PARAMETER);
    *needed = *returned = 0;
    auto reply = Order({{"op", "printer-list"}});
    if (!reply) return FALSE;
    DWORD count = 0;
    for (const Json& printer : Json::parse(reply->body, nullptr, false)) {
      if (!IsAsked(printer, flags)) continue;
      PackPrinter(printer, {}, &packer);
      ++count;
    }
    if (!packer.Write(buffer, size, needed)) return FALSE;
    *returned = count;
    return TRUE;
  });
}
