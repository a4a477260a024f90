#pragma once

#include "logging/event_log.h"

namespace portwise {

/// The event source of the monitor, in the System log.
inline constexpr const char* kPrintMonitorSource = "Corvane Print Monitor";

/// Messages about a port, under the monitor's source. Each begins with the port's name and, as
/// far as it is known, the printer's.
class PrinterPortEventLog final : public OEventLog {
 public:
  explicit PrinterPortEventLog(const OString& portName);

  /// Empty for none. Any thread.
  void SetPrinterName(const OString& name);
  /// Without a printer name the text follows the port's directly.
  bool Report(WORD type, const OString& text, WORD category) override;

 private:
  const OString portName_;
  OString printerName_;  // under Lock()
};

}  // namespace portwise
