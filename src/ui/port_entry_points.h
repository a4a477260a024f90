#pragma once

#include <windows.h>

#include <optional>

#include "core/ostring.h"

namespace portwise {

/// What tells a window how its call ended: wParam is 1 for a success; for a failure it is 0, and lParam the error.
inline constexpr UINT kPortAddedMessage = 0xBE01;
inline constexpr UINT kPortConfiguredMessage = 0xBE02;

/// A port command line: the window as eight hexadecimal digits, a blank, and a name.
struct PortCommandLine {
  HWND window;
  OString name;
};
/// Nothing for a command line of another form.
std::optional<PortCommandLine> ReadPortCommandLine(const OString& commandLine);

/// Lets the spooler of this computer add a port of a port monitor, or configure a port, in front of the window, and
/// tells the window how that ended. Nothing happens without a sound command line.
void AddPortFor(const OString& commandLine);
void ConfigurePortFor(const OString& commandLine);

}  // namespace portwise
