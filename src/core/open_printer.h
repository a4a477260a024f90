#pragma once

#include <windows.h>

#include "core/ostring.h"
#include "core/printer_handle.h"

namespace portwise {

/// The printer, opened through the print spooler with these rights (PRINTER_ and JOB_ACCESS_ bits; 0 leaves them to the
/// spooler). None when the spooler refuses, and the thread's last error says why. Any thread.
unique_printer OpenPrinterByName(const OString& name, ACCESS_MASK rights);

}  // namespace portwise
