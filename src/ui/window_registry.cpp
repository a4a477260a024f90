#include "ui/window_registry.h"

#include "core/hash_map.h"

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

constexpr int kLongestName = 255;  // in UTF-16 units, of a property

/// Two printers whose names are too long for the difference to show have different numbers in its place.
OString PropertyName(const OString& printer, PrinterWindow kind) {
  const OString prefix("Corvane:Drivers:Window:");
  OString suffix;
  for (const auto& row : kSuffixes) {
    if (row.kind == kind) suffix = row.suffix;
  }
  const int room = kLongestName - prefix.Length() - suffix.Length();
  if (printer.Length() <= room) return prefix + printer + suffix;
  // The case of a property's name does not matter.
  const OString number = OString::FromUnsigned(OHashMap::Hash(printer.ToLower()));
  return prefix + printer.Left(room - number.Length()) + number + suffix;
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
