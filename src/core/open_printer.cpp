#include "core/open_printer.h"

namespace portwise {

unique_printer OpenPrinterByName(const OString& name, ACCESS_MASK rights) {
  unique_printer printer;
  OString text = name;
  PRINTER_DEFAULTSW defaults = {nullptr, nullptr, rights};
  // What a failed call leaves in the handle is none of ours to close.
  if (!OpenPrinterW(const_cast<LPWSTR>(text.Wide()), printer.Put(), rights != 0 ? &defaults : nullptr))
    printer.Detach();
  return printer;
}

}  // namespace portwise
