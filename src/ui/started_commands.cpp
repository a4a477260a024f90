#include "ui/started_commands.h"

#include "core/handles.h"
#include "core/module_instance.h"

namespace portwise {
namespace {

/// The library's file, in double quotes when its name would be taken for two words.
OString LibraryPath() {
  WideString path(MAX_PATH, 0);
  DWORD length = 0;
  // A path that does not fit is cut.
  while ((length = GetModuleFileNameW(ModuleInstance(), path.data(), static_cast<DWORD>(path.size()))) == path.size())
    path.resize(path.size() * 2);
  const OString name(WideView(path.data(), length));
  return name.Find(WCHAR(' ')) < 0 ? name : OString("\"") + name + "\"";
}

}  // namespace

bool StartCommand(const OString& commandLine, WORD show) {
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = show;
  WideString line(commandLine.View());  // which the call may write to
  PROCESS_INFORMATION process = {};
  if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
    return false;
  unique_handle(process.hThread).Reset();
  unique_handle(process.hProcess).Reset();
  return true;
}

bool RelayCommandLine(const OString& commandLine) {
  if (commandLine[0] != '@') return false;
  StartCommand(OString("rundll32 ") + LibraryPath() + ",StatusMonitor " + commandLine.Mid(1), SW_HIDE);
  return true;
}

}  // namespace portwise
