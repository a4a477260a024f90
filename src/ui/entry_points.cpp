#include "ui/entry_points.h"

#include "core/fault/exception_handler.h"
#include "core/ostring.h"
#include "ui/port_entry_points.h"
#include "ui/query_dialog.h"
#include "ui/status_monitor_command.h"

namespace portwise {
namespace {

/// Runs one entry point under its guard.
template <class Char>
void Run(const char* name, const Char* commandLine, void (*run)(const OString& commandLine)) {
  OExceptionHandler guard(name, OExceptionHandler::kReportMessageBox);
  RunGuarded(guard, [&] {
    run(OString(commandLine));
    return TRUE;
  });
}

}  // namespace
}  // namespace portwise

using namespace portwise;

void CALLBACK StatusMonitorW(HWND, HINSTANCE, LPWSTR commandLine, int) {
  Run("StatusMonitorW", commandLine, RunStatusMonitor);
}

void CALLBACK StatusMonitor(HWND, HINSTANCE, LPSTR commandLine, int) {
  Run("StatusMonitor", commandLine, RunStatusMonitor);
}

int CALLBACK Query(HWND owner, LPCWSTR commandLine) {
  OExceptionHandler guard("Query", OExceptionHandler::kReportMessageBox);
  int result = QueryDlg::kNotShown;
  RunGuarded(guard, [&] {
    result = RunQueryDialog(owner, OString(commandLine));
    return TRUE;
  });
  return result;
}

void CALLBACK QueryW(HWND window, HINSTANCE, LPWSTR commandLine, int) { Query(window, commandLine); }

void CALLBACK CallAddPortW(HWND, HINSTANCE, LPWSTR commandLine, int) { Run("CallAddPortW", commandLine, AddPortFor); }

void CALLBACK CallConfigurePortW(HWND, HINSTANCE, LPWSTR commandLine, int) {
  Run("CallConfigurePortW", commandLine, ConfigurePortFor);
}
