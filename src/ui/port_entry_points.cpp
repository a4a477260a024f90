#include "ui/port_entry_points.h"

#include <winspool.h>

#include "core/hex.h"

namespace portwise {
namespace {

using PortCall = BOOL(WINAPI*)(LPWSTR server, HWND window, LPWSTR name);

void CallFor(const OString& commandLine, PortCall call, UINT message) {
  const std::optional<PortCommandLine> line = ReadPortCommandLine(commandLine);
  if (!line) return;
  WideString name(line->name.View());
  const BOOL done = call(nullptr, line->window, name.data());
  PostMessageW(line->window, message, done ? TRUE : FALSE, done ? 0 : static_cast<LPARAM>(GetLastError()));
}

}  // namespace

std::optional<PortCommandLine> ReadPortCommandLine(const OString& commandLine) {
  constexpr int kDigits = 8;
  DWORD number = 0;
  if (commandLine.Find(WCHAR(' ')) != kDigits || !DecodeHexNumber(commandLine.View().substr(0, kDigits), &number))
    return std::nullopt;
  OString name = commandLine.Mid(kDigits + 1);
  name.Trim("\"");
  // 32 bits tell windows apart in programs of any size.
  return PortCommandLine{reinterpret_cast<HWND>(static_cast<ULONG_PTR>(number)), name};
}

void AddPortFor(const OString& commandLine) { CallFor(commandLine, AddPortW, kPortAddedMessage); }

void ConfigurePortFor(const OString& commandLine) { CallFor(commandLine, ConfigurePortW, kPortConfiguredMessage); }

}  // namespace portwise
