#pragma once

#include <windows.h>

#include "core/ostring.h"
#include "core/unique_resource.h"

namespace portwise {

class ULocale;

struct MenuTraits {
  using Value = HMENU;
  static Value None() { return nullptr; }
  static bool IsNone(Value value) { return value == nullptr; }
  static void Release(Value value) { DestroyMenu(value); }
};
using unique_menu = UniqueResource<MenuTraits>;

/// The commands of the status window's menus.
enum StatusCommand : WORD {
  kShowStatusWindow = 108,
  kHideIcon = 109,
  kHideStatusWindow = 110,
  kStatusMonitoring = 111,
  kPrinterProperties = 112,
  kPrintingPreferences = 113,
  kPrinterQueue = 114,
  kPrintersFolder = 115,
};

/// The menus of the status window: that of its icon in the notification area, and its own.
class StatusMenu {
 public:
  explicit StatusMenu(ULocale& locale);
  /// Whether the resources have the menus.
  bool IsLoaded() const { return static_cast<bool>(menu_); }

  /// Lets the user choose; the choice arrives at the window as WM_COMMAND. `place` is on the screen.
  void ShowForIcon(HWND window, POINT place, const OString& printer) const;
  void ShowForWindow(HWND window, POINT place, const OString& printer) const;

 private:
  unique_menu menu_;
};

/// Carries out a command that others' programs do: unless the window that it would show is open, which then comes
/// forward. False for a command of another kind.
bool StartPrinterCommand(WORD command, const OString& printer);

}  // namespace portwise
