#pragma once

#include <optional>
#include <string>

#include "core/ostring.h"

namespace portwise {

/// How the windows ask the monitor that drives a printer.
class PrinterRequests {
 public:
  virtual ~PrinterRequests() = default;
  /// Sends an XPML request and waits for the reply, whose bytes may be none. Nothing when nobody answered.
  virtual std::optional<std::string> Ask(const OString& printer, const std::string& request) = 0;
};

/// `requests` must outlive all windows, and is set before there are any; null, as at first, is answered by nobody.
void SetPrinterRequests(PrinterRequests* requests);

/// Asks by what was set.
std::optional<std::string> AskPrinter(const OString& printer, const std::string& request);

}  // namespace portwise
