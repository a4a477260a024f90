#pragma once

#include <windows.h>

#include "core/handles.h"
#include "settings/printer_info.h"

namespace portwise {

/// Whether the attempt to load a plug-in could look at the printer. Whether there is a plug-in is another question.
enum class PluginLoad { PrinterOpened = 1, PrinterNotOpened = 2 };

/// The file of a printer's plug-in: in the driver's folder, named after the driver's data file.
OString PluginFileName(const PrinterInfo& printer);

/// Loads the printer's plug-in file; none when it is missing or cannot be loaded. The thread's last error is then that
/// of the system.
unique_module LoadPluginLibrary(const OString& printerName);

/// An entry point of a plug-in; null when the library is none or lacks it.
template <class Function>
Function PluginEntry(const unique_module& library, const char* name) {
  // By way of a type that the compilers let every function become.
  return library ? reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(library.Get(), name)))
                 : nullptr;
}

/// Entry points promise no more than the lowest byte of their result.
inline bool PluginAccepted(BOOL result) { return (result & 0xFF) != 0; }

}  // namespace portwise
