#include <fcntl.h>
#include <unistd.h>
#include <winsplp.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include "platform/home.h"
#include "platform/kernel/unique_fd.h"
#include "platform/text.h"

/// A print monitor that misbehaves as values under HKLM\SOFTWARE\Fake Monitor say, read anew at each call. It appends
/// a line for each call to fake.log in the home, and what it takes of job N to fake.N.out.
namespace {

using portwise::platform::UniqueFd;

DWORD Setting(const char16_t* name) {
  HKEY key = nullptr;
  DWORD value = 0;
  DWORD size = sizeof(value);
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, u"SOFTWARE\\Fake Monitor", 0, KEY_READ, &key) != ERROR_SUCCESS) return 0;
  RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<LPBYTE>(&value), &size);
  RegCloseKey(key);
  return value;
}

void Append(const std::string& file, const void* data, std::size_t size) {
  std::string path = portwise::platform::Home() + "/" + file;
  UniqueFd out(open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
  if (write(out.Get(), data, size) != static_cast<ssize_t>(size)) abort();
}

void Log(const std::string& line) { Append("fake.log", (line + "\n").data(), line.size() + 1); }

struct FakePort {
  std::string name;
  std::string printer;
  DWORD job = 0;
  unsigned long long taken = 0;
  DWORD emptyWrites = 0;
  std::mt19937 random{Setting(u"Mix")};
  MONITOR2* underlying = nullptr;
  HANDLE underlyingPort = nullptr;
};

FakePort& At(HANDLE port) { return *static_cast<FakePort*>(port); }

BOOL Refuse(DWORD error) {
  SetLastError(error);
  return FALSE;
}

BOOL WINAPI OpenPort(HANDLE, HANDLE monitor, LPWSTR name, LPWSTR printer, PHANDLE port, MONITOR2* underlying) {
  Log("open " + portwise::platform::ToUtf8(name));
  if (Setting(u"Refuse Open")) return Refuse(ERROR_INVALID_PRINT_MONITOR);
  auto* opened = new FakePort{portwise::platform::ToUtf8(name), portwise::platform::ToUtf8(printer)};
  opened->underlying = underlying;
  if (!underlying->pfnOpenPort(monitor, name, &opened->underlyingPort)) abort();
  *port = opened;
  return TRUE;
}

BOOL WINAPI StartDoc(HANDLE port, LPWSTR printer, DWORD job, DWORD, LPBYTE) {
  FakePort& fake = At(port);
  if (Setting(u"Refuse Start")) return Refuse(ERROR_NOT_READY);
  fake.printer = portwise::platform::ToUtf8(printer);
  fake.job = job;
  fake.taken = 0;
  fake.emptyWrites = 0;
  Log("start " + std::to_string(job) + " " + fake.printer);
  return TRUE;
}

bool IsDeleting(const FakePort& fake) {
  std::u16string name = portwise::platform::ToUtf16(fake.printer);
  HANDLE printer = nullptr;
  if (!OpenPrinterW(name.data(), &printer, nullptr)) abort();
  BYTE buffer[4096];
  DWORD needed = 0;
  BOOL found = GetJobW(printer, fake.job, 1, buffer, sizeof(buffer), &needed);
  ClosePrinter(printer);
  return found && (reinterpret_cast<JOB_INFO_1W*>(buffer)->Status & JOB_STATUS_DELETING);
}

void Take(FakePort& fake, const BYTE* buffer, DWORD size) {
  Append("fake." + std::to_string(fake.job) + ".out", buffer, size);
  fake.taken += size;
}

BOOL WINAPI Write(HANDLE port, LPBYTE buffer, DWORD size, LPDWORD written) {
  FakePort& fake = At(port);
  if (DWORD delay = Setting(u"Delay")) Sleep(delay);
  if (DWORD stubborn = Setting(u"Stubborn")) {
    // Takes everything at once, and is content only after so many empty writes.
    Take(fake, buffer, *written = size);
    fake.emptyWrites += size == 0;
    if (size == 0) Log("empty");
    return fake.emptyWrites >= stubborn ? TRUE : Refuse(ERROR_IO_DEVICE);
  }
  if (!Setting(u"Mix")) {
    if (DWORD stop = Setting(u"Stop At"); stop && fake.taken + size > stop) {
      Log(IsDeleting(fake) ? "deleting" : "stopped");
      *written = 0;
      return Refuse(ERROR_OUT_OF_PAPER);
    }
    Take(fake, buffer, *written = size);
    return TRUE;
  }
  DWORD choice = fake.random() % 8;
  *written = choice < 2 ? 0 : choice < 5 ? fake.random() % (size + 1) : size;
  Take(fake, buffer, *written);
  return fake.random() % 2 ? TRUE : Refuse(ERROR_IO_DEVICE);
}

BOOL WINAPI EndDoc(HANDLE port) {
  FakePort& fake = At(port);
  Log("end " + std::to_string(fake.job) + " " + std::to_string(fake.taken));
  std::u16string name = portwise::platform::ToUtf16(fake.printer);
  HANDLE printer = nullptr;
  if (!OpenPrinterW(name.data(), &printer, nullptr)) return FALSE;
  SetJobW(printer, fake.job, 0, nullptr, JOB_CONTROL_DELETE);
  ClosePrinter(printer);
  return TRUE;
}

BOOL WINAPI ClosePort(HANDLE port) {
  FakePort& fake = At(port);
  Log("close " + fake.name);
  fake.underlying->pfnClosePort(fake.underlyingPort);
  delete &fake;
  return TRUE;
}

/// Knows one value, and gives it after "Delay".
BOOL WINAPI GetData(HANDLE port, DWORD, LPWSTR name, LPWSTR, DWORD, LPWSTR out, DWORD size, LPDWORD returned) {
  if (std::u16string_view(name) != u"Slow" || size < 4) return Refuse(ERROR_INVALID_PARAMETER);
  Log("data begins");
  Sleep(Setting(u"Delay"));
  Log("data of " + At(port).name);
  std::memcpy(out, "slow", *returned = 4);
  return TRUE;
}

}  // namespace

extern "C" LPMONITOR2 WINAPI InitializePrintMonitor2(PMONITORINIT, PHANDLE monitor) {
  static MONITOR2 table;
  table = {};
  table.cbSize = offsetof(MONITOR2, pfnSendRecvBidiDataFromPort);
  table.pfnOpenPortEx = OpenPort;
  table.pfnStartDocPort = StartDoc;
  table.pfnWritePort = Write;
  table.pfnEndDocPort = EndDoc;
  table.pfnClosePort = ClosePort;
  table.pfnGetPrinterDataFromPort = GetData;
  *monitor = &table;
  return &table;
}
