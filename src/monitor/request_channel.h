#pragma once

#include <windows.h>

#include <string_view>

namespace portwise {

class PortContext;

/// Answers what a driver asks through the spooler's printer-data call, where the name of the value is the request: an
/// XPML document, or "XPML:printer,name" for one that is stored in the registry and is replaced by its reply, or
/// "Monitoring Enabled". False for anything else and when it fails. When `outSize` is too small, nothing is written and
/// `returned`, which may be null, says what is needed; for the latter two that is found before anything runs. Any
/// thread.
bool AnswerRequest(PortContext& port, std::string_view valueName, void* out, DWORD outSize, DWORD* returned);

}  // namespace portwise
