#pragma once

#include <memory>

#include "core/hash_map.h"
#include "core/thread_local_singleton.h"
#include "settings/printer_info.h"

namespace portwise {

/// What one thread has read about printers, by the names that it asked for. Lives as long as its thread.
class PrinterInfoCache : public ThreadLocalObject {
 public:
  /// The printer's entry, which is at most 1000 ms old when the spooler answers; valid until the thread ends.
  const PrinterInfo& Get(const OString& printerName);

 private:
  OStringMap<std::unique_ptr<PrinterInfo>> entries_;
};

}  // namespace portwise
