#pragma once

#include <windows.h>

#include "core/ostring.h"

namespace portwise {

/// The windows of a printer, of this library and of the driver, that others find by the printer's name: each is a
/// property of the desktop window, for as long as its process keeps it there.
enum class PrinterWindow { Status, Properties, Preferences, StatusMonitoring };

/// The window that is registered; null when there is none, or when it has gone without a word.
HWND FindRegisteredWindow(const OString& printer, PrinterWindow kind);
void RegisterWindow(const OString& printer, PrinterWindow kind, HWND window);
/// Takes the window's own registration away; another window's stays.
void UnregisterWindow(const OString& printer, PrinterWindow kind, HWND window);

/// Shows a window, of this process or of another one, in front of the others.
void BringForward(HWND window);

}  // namespace portwise
