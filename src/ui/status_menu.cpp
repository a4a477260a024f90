#include "ui/status_menu.h"

#include <optional>

#include "locale/ulocale.h"
#include "ui/driver_settings_page.h"
#include "ui/started_commands.h"
#include "ui/window_registry.h"

namespace portwise {
namespace {

/// The places of the menus in their resource.
enum Submenu { kTray32 = 1, kWindow32 = 3 };

constexpr char kPrinterPages[] = "rundll32.exe printui.dll,PrintUIEntry ";

struct PrinterCommand {
  WORD command;
  const char* program;
  const char* option;  ///< with the printer's name behind it; null for a program that needs none
  std::optional<PrinterWindow> window;
};

constexpr PrinterCommand kPrinterCommands[] = {
    {kPrinterProperties, kPrinterPages, "/p /n ", PrinterWindow::Properties},
    {kPrintingPreferences, kPrinterPages, "/e /n ", PrinterWindow::Preferences},
    {kPrinterQueue, kPrinterPages, "/o /n ", std::nullopt},
    {kPrintersFolder, "rundll32.exe shell32.dll,SHHelpShortcuts_RunDLL PrintersFolder", nullptr, std::nullopt},
};

void Show(HMENU menu, HWND window, POINT place, const OString& printer) {
  const bool known = HasStatusSettings(printer) || FindRegisteredWindow(printer, PrinterWindow::StatusMonitoring);
  EnableMenuItem(menu, kStatusMonitoring, MF_BYCOMMAND | (known ? MF_ENABLED : MF_GRAYED));
  // The menu of a window that is not in front would not close when the user clicks elsewhere.
  SetForegroundWindow(window);
  TrackPopupMenu(menu, TPM_RIGHTBUTTON, place.x, place.y, 0, window, nullptr);
  PostMessageW(window, WM_NULL, 0, 0);
}

}  // namespace

StatusMenu::StatusMenu(ULocale& locale) : menu_(locale.LoadMenu(TEXT("MENU_STATUSPOPUP"))) {
  if (menu_) SetMenuDefaultItem(GetSubMenu(menu_.Get(), kTray32), kShowStatusWindow, FALSE);
}

void StatusMenu::ShowForIcon(HWND window, POINT place, const OString& printer) const {
  Show(GetSubMenu(menu_.Get(), kTray32), window, place, printer);
}

void StatusMenu::ShowForWindow(HWND window, POINT place, const OString& printer) const {
  Show(GetSubMenu(menu_.Get(), kWindow32), window, place, printer);
}

bool StartPrinterCommand(WORD command, const OString& printer) {
  for (const PrinterCommand& row : kPrinterCommands) {
    if (row.command != command) continue;
    const HWND open = row.window ? FindRegisteredWindow(printer, *row.window) : nullptr;
    if (open) {
      BringForward(open);
    } else {
      OString line = row.program;
      if (row.option) line += OString(row.option) + "\"" + printer + "\"";
      StartCommand(line, SW_SHOWNORMAL);
    }
    return true;
  }
  return false;
}

}  // namespace portwise
