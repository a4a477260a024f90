#pragma once

#include <optional>
#include <string>

#include "host/order.h"

namespace portwise {

/// The key whose values are a printer's data when no key is named.
inline constexpr char kDriverDataKey[] = "PrinterDriverData";

/// Carries out the orders that read and change only a printer's data and its driver: "printer-data-get",
/// "printer-data-set", "printer-data-delete", "printer-data-list" and "driver-get". Nothing when `name` is another
/// order. Throws OrderError. Any thread.
std::optional<platform::Message> CarryPrinterDataOrder(const std::string& name, const platform::Message& request);

}  // namespace portwise
