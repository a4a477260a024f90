#pragma once

#include <windows.h>
#include <winspool.h>

#include "core/unique_resource.h"

namespace portwise {

/// A printer opened with OpenPrinterW.
struct PrinterHandleTraits {
  using Value = HANDLE;
  static Value None() { return nullptr; }
  static bool IsNone(Value value) { return value == nullptr; }
  static void Release(Value value) { ClosePrinter(value); }
};
using unique_printer = UniqueResource<PrinterHandleTraits>;

}  // namespace portwise
