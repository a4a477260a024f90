#include "ui/status_monitor_command.h"

#include <windows.h>
#include <winspool.h>

#include <objbase.h>

#include "core/open_printer.h"
#include "settings/driver_settings.h"
#include "ui/monitor_command_line.h"
#include "ui/started_commands.h"
#include "ui/status_window.h"
#include "ui/window_registry.h"
#include "ui/window_settings.h"

namespace portwise {
namespace {

/// The calling thread's COM.
class ComApartment {
 public:
  ComApartment() : made_(SUCCEEDED(CoInitialize(nullptr))) {}
  ~ComApartment() {
    if (made_) CoUninitialize();
  }
  ComApartment(const ComApartment&) = delete;
  ComApartment& operator=(const ComApartment&) = delete;

 private:
  const bool made_;
};

void RunWindow(const OString& printer, bool hidden) {
  if (!OpenPrinterByName(printer, PRINTER_ACCESS_USE)) return;
  StatusWindow window(printer);
  if (window.Create(hidden)) window.RunUntilClosed();
}

bool IsWantedAtLogon(const OString& printer) {
  DriverSettings settings;
  settings.Init(PrinterRegistry(printer));
  return settings.IsStatusMonitoringEnabled() && WindowSettings(printer).StaysInBackground();
}

void CloseForGood(HWND window) {
  if (window) PostMessageW(window, StatusWindow::kCloseMessage, 0, 0);
}

/// As it closes a window stores where it was, so what it stores is deleted only then. One that does not answer is
/// waited for a while.
void CleanUp(HWND window, const OString& printer) {
  constexpr DWORD kLongestWait = 5000;
  constexpr DWORD kPause = 50;
  CloseForGood(window);
  for (DWORD waited = 0; window && IsWindow(window) && waited < kLongestWait; waited += kPause) Sleep(kPause);
  WindowSettings(printer).Forget();
}

}  // namespace

void RunStatusMonitor(const OString& commandLine) {
  if (RelayCommandLine(commandLine)) return;
  const ComApartment com;
  const MonitorCommandLine line(commandLine);
  // The empty name is that of the spooler itself.
  if (line.printer.IsEmpty()) return;
  const HWND running = FindRegisteredWindow(line.printer, PrinterWindow::Status);
  switch (line.verb) {
    case MonitorVerb::Open:
      if (running && !line.newWindow) return BringForward(running);
      return RunWindow(line.printer, line.hidden);
    case MonitorVerb::Init:
      if (running && !line.newWindow) return;
      if (IsWantedAtLogon(line.printer)) RunWindow(line.printer, false);
      return;
    case MonitorVerb::Show:
      if (running) BringForward(running);
      return;
    case MonitorVerb::Hide:
      if (running) ShowWindow(running, SW_HIDE);
      return;
    case MonitorVerb::Close:
      return CloseForGood(running);
    case MonitorVerb::Cleanup:
      return CleanUp(running, line.printer);
    case MonitorVerb::None:
      return;
  }
}

}  // namespace portwise
