#include "host/cli/driver_channel.h"

#include <windows.h>
#include <winspool.h>

#include "host/cli/registry_path.h"
#include "platform/error_text.h"
#include "platform/text.h"
#include "settings/stored_request.h"

namespace portwise {

DriverChannel::DriverChannel(const std::string& printer)
    : description_(Client().Ask({{"op", "printer-get"}, {"name", printer}}).head),
      name_(description_.value("name", printer)) {
  PRINTER_DEFAULTSW defaults{nullptr, nullptr, PRINTER_ACCESS_ADMINISTER};
  if (!OpenPrinterW(platform::ToUtf16(name_).data(), printer_.Put(), &defaults))
    throw CommandError("printer " + name_ + " cannot be opened: " + platform::ErrorText(GetLastError()));
}

DWORD DriverChannel::Ask(const std::string& value, std::string* answer) const {
  DWORD type = 0, size = 0;
  std::u16string name = platform::ToUtf16(value);
  const DWORD error = GetPrinterDataW(printer_.Get(), name.data(), &type, reinterpret_cast<LPBYTE>(answer->data()),
                                      static_cast<DWORD>(answer->size()), &size);
  if (error == ERROR_SUCCESS) answer->resize(size);
  return error;
}

std::string DriverChannel::AskStored(const std::string& request) const {
  StoredRequest stored;
  if (!stored.Store(request)) FailAtRegistry("the request cannot be put into the registry");
  std::string length(sizeof(DWORD), '\0');
  const DWORD error = Ask(stored.ValueName(platform::ToUtf16(name_)).InCodePage(kCodePageUtf8), &length);
  std::string reply;
  if (!stored.Read(&reply)) FailAtRegistry("the reply cannot be read from the registry");
  // A reply of nothing is stored as well, but the monitor does not tell it from a failure.
  if (error != ERROR_SUCCESS && !reply.empty()) Fail(error);
  return reply;
}

void DriverChannel::Fail(DWORD error) const {
  switch (error) {
    case ERROR_NOT_READY:
      throw CommandError("the port of printer " + name_ + " is not open");
    case ERROR_FILE_NOT_FOUND:
      throw CommandError("the monitor of printer " + name_ + " does not answer this request");
    case ERROR_MORE_DATA:
      throw CommandError("the reply is longer than the spooler passes on; the request has run");
    default:
      throw CommandError("printer " + name_ + " does not answer: " + platform::ErrorText(error));
  }
}

}  // namespace portwise
