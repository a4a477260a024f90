#include "settings/printer_info_cache.h"

namespace portwise {
namespace {

constexpr DWORD kMaxAge = 1000;  // ms

}  // namespace

const PrinterInfo& PrinterInfoCache::Get(const OString& printerName) {
  if (const auto* known = entries_.Get(printerName)) {
    PrinterInfo& entry = **known;
    if (GetTickCount() - entry.loadedTicks_ > kMaxAge) entry.Load();
    return entry;
  }
  std::unique_ptr<PrinterInfo> made(new PrinterInfo);
  made->printerName = printerName;
  made->Load();
  const PrinterInfo& entry = *made;
  entries_.Set(printerName, std::move(made));
  return entry;
}

}  // namespace portwise
