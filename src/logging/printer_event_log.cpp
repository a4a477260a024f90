#include "logging/printer_event_log.h"

namespace portwise {

PrinterEventLog::PrinterEventLog() : OEventLog("Corvane Printer Driver", kSystemLog) {}

void PrinterEventLog::SetPrinterName(const OString& name) {
  OScopedLock lock(Lock());
  printerName_ = name;
}

bool PrinterEventLog::Report(WORD type, const OString& text, WORD category) {
  OScopedLock lock(Lock());
  const OString header = printerName_.IsEmpty() ? OString() : "Printer: " + printerName_ + "\r\n";
  return OEventLog::Report(type, header + text, category);
}

}  // namespace portwise
