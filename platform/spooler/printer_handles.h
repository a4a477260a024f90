#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "platform/spooler/spooler_service.h"

namespace portwise::platform {

/// What stands behind a printer's handle.
struct OpenedPrinter {
  std::string name;
  DWORD access;  ///< PRINTER_ACCESS_ bits
};

/// Handles are numbers that are never given twice. Any thread.
HANDLE AddPrinterHandle(OpenedPrinter printer);
/// Nothing, with ERROR_INVALID_HANDLE, when the handle is not open.
std::optional<OpenedPrinter> FindPrinterHandle(HANDLE handle);
bool RemovePrinterHandle(HANDLE handle);

/// The answer to an order that was carried out; otherwise nothing, and its error is the last error.
std::optional<Message> Order(const nlohmann::json& order, const std::string& body = {});

/// A text of an answer as UTF-16; empty when it is not there.
std::basic_string<WCHAR> Field(const nlohmann::json& object, const char* name);

}  // namespace portwise::platform
