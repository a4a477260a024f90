#pragma once

#include "logging/event_log.h"

namespace portwise {

/// Job-log records, in the System log under "Corvane Printer Driver". Each begins with the printer's name, as far as
/// it is known.
class PrinterEventLog final : public OEventLog {
 public:
  PrinterEventLog();

  /// Empty for none. Any thread.
  void SetPrinterName(const OString& name);
  bool Report(WORD type, const OString& text, WORD category) override;

 private:
  OString printerName_;  // under Lock()
};

}  // namespace portwise
