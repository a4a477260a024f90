#include "ui/window_registry.h"

namespace portwise {
namespace {

constexpr struct {
  PrinterWindow kind;
  const char* suffix;
} kSuffixes[] = {
    {PrinterWindow::Status, ":Status"},
    {PrinterWindow::Properties, ":Properties"},
    {PrinterWindow::Preferences, ":Preferences"},
    {PrinterWindow::StatusMonitoring, ":StatusMonitoring"},
};

OString PropertyName(const OString& printer, PrinterWindow kind) {
  OString name = OString("Corvane:Drivers:Window:") + printer;
  for (const auto& row : kSuffixes) {
    if (row.kind == kind) name += row.suffix;
  }
  return name;
}

}  // namespace

HWND FindRegisteredWindow(const OString& printer, PrinterWindow kind) {
  // The property of a process that was killed is still there.
  const auto window = static_cast<HWND>(GetPropW(GetDesktopWindow(), PropertyName(printer, kind).Wide()));
  return window && IsWindow(window) ? window : nullptr;
}

void RegisterWindow(const OString& printer, PrinterWindow kind, HWND window) {
  SetPropW(GetDesktopWindow(), PropertyName(printer, kind).Wide(), window);
}

void UnregisterWindow(const OString& printer, PrinterWindow kind, HWND window) {
  const OString name = PropertyName(printer, kind);
  if (GetPropW(GetDesktopWindow(), name.Wide()) == window) RemovePropW(GetDesktopWindow(), name.Wide());
}

void BringForward(HWND window) {
  ShowWindow(window, SW_RESTORE);
  SetForegroundWindow(window);
}

}  // namespace portwise
