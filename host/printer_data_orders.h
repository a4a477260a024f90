#pragma once

#include "host/order.h"

namespace portwise {

/// The key whose values are a printer's data when no key is named.
inline constexpr char kDriverDataKey[] = "PrinterDriverData";

/// The orders that read and change only a printer's data and its driver: "printer-data-get", "printer-data-set",
/// "printer-data-delete", "printer-data-list" and "driver-get". They throw OrderError. Any thread.
platform::Message GetPrinterData(const platform::Message& request);
platform::Message SetPrinterData(const platform::Message& request);
platform::Message DeletePrinterData(const platform::Message& request);
platform::Message ListPrinterData(const platform::Message& request);
platform::Message GetDriverOf(const platform::Message& request);

}  // namespace portwise
