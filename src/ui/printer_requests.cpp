#include "ui/printer_requests.h"

namespace portwise {
namespace {

PrinterRequests* printerRequests = nullptr;

}  // namespace

void SetPrinterRequests(PrinterRequests* requests) { printerRequests = requests; }

std::optional<std::string> AskPrinter(const OString& printer, const std::string& request) {
  return printerRequests ? printerRequests->Ask(printer, request) : std::nullopt;
}

}  // namespace portwise
