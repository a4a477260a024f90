#include "logging/printer_port_event_log.h"

namespace portwise {

PrinterPortEventLog::PrinterPortEventLog(const OString& portName)
    : OEventLog(kPrintMonitorSource, kSystemLog), portName_(portName) {}

void PrinterPortEventLog::SetPrinterName(const OString& name) {
  OScopedLock lock(Lock());
  printerName_ = name;
}

bool PrinterPortEventLog::Report(WORD type, const OString& text, WORD category) {
  OScopedLock lock(Lock());
  OString message = "Port: " + portName_;
  if (!printerName_.IsEmpty()) message += "\tPrinter: " + printerName_ + "\r\n";
  return OEventLog::Report(type, message + text, category);
}

}  // namespace portwise
