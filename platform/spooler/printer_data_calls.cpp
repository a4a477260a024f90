#include <windows.h>
#include <winspool.h>

#include <algorithm>
#include <cstring>

#include "platform/spooler/frame.h"
#include "platform/spooler/printer_handles.h"
#include "platform/text.h"

namespace portwise::platform {

namespace {

constexpr WCHAR kDefaultKey[] = TEXT("PrinterDriverData");

/// Orders something about one value; an error code other than ERROR_SUCCESS leaves `reply` as it was.
DWORD OrderData(HANDLE printer, LPCWSTR key, LPCWSTR value, nlohmann::json order, const std::string& body = {},
                Message* reply = nullptr) {
  auto opened = FindPrinterHandle(printer);
  if (!opened) return ERROR_INVALID_HANDLE;
  if (!key || !*key || !value || !*value) return ERROR_INVALID_PARAMETER;
  order["printer"] = opened->name;
  order["access"] = opened->access;
  order["key"] = ToUtf8(key);
  order["value"] = ToUtf8(value);
  auto answer = Order(order, body);
  if (!answer) return GetLastError();
  if (reply) *reply = std::move(*answer);
  return ERROR_SUCCESS;
}

/// These calls answer with their error, and leave the last one alone.
class KeptLastError {
 public:
  ~KeptLastError() { SetLastError(error_); }

 private:
  DWORD error_ = GetLastError();
};

}  // namespace

}  // namespace portwise::platform

using namespace portwise::platform;

DWORD WINAPI GetPrinterDataExW(HANDLE printer, LPCWSTR key, LPCWSTR value, LPDWORD type, LPBYTE data, DWORD size,
                               LPDWORD needed) {
  KeptLastError kept;
  if (!needed || (!data && size > 0)) return ERROR_INVALID_PARAMETER;
  *needed = 0;
  Message reply;
  if (DWORD error = OrderData(printer, key, value, {{"op", "printer-data-get"}, {"size", size}}, {}, &reply);
      error != ERROR_SUCCESS)
    return error;
  // The monitor of a port may say how much it would answer, and give nothing because that is more than there is room.
  *needed = reply.head.value("needed", static_cast<DWORD>(reply.body.size()));
  if (type) *type = reply.head.value("type", DWORD{REG_NONE});
  if (size < *needed) return ERROR_MORE_DATA;
  if (*needed > 0) std::memcpy(data, reply.body.data(), std::min<std::size_t>(*needed, reply.body.size()));
  return ERROR_SUCCESS;
}

DWORD WINAPI GetPrinterDataW(HANDLE printer, LPWSTR value, LPDWORD type, LPBYTE data, DWORD size, LPDWORD needed) {
  return GetPrinterDataExW(printer, kDefaultKey, value, type, data, size, needed);
}

DWORD WINAPI GetPrinterDataA(HANDLE printer, LPSTR value, LPDWORD type, LPBYTE data, DWORD size, LPDWORD needed) {
  // The ANSI code page is UTF-8.
  auto name = ToUtf16(value ? value : "");
  return GetPrinterDataW(printer, name.data(), type, data, size, needed);
}

DWORD WINAPI SetPrinterDataExW(HANDLE printer, LPCWSTR key, LPCWSTR value, DWORD type, LPBYTE data, DWORD size) {
  KeptLastError kept;
  if ((!data && size > 0) || size > kMaximumBody) return ERROR_INVALID_PARAMETER;
  std::string body;
  if (size > 0) body.assign(reinterpret_cast<const char*>(data), size);
  return OrderData(printer, key, value, {{"op", "printer-data-set"}, {"type", type}}, body);
}

DWORD WINAPI SetPrinterDataW(HANDLE printer, LPWSTR value, DWORD type, LPBYTE data, DWORD size) {
  return SetPrinterDataExW(printer, kDefaultKey, value, type, data, size);
}

DWORD WINAPI DeletePrinterDataExW(HANDLE printer, LPCWSTR key, LPCWSTR value) {
  KeptLastError kept;
  return OrderData(printer, key, value, {{"op", "printer-data-delete"}});
}
