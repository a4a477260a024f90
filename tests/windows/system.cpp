#include <map>
#include <mutex>
#include <string>

#include "platform/kernel/modules.h"
#include "platform/test_system.h"
#include "platform/text.h"
#include "tests/windows/stand_ins.h"

extern "C" NTSYSAPI LONG NTAPI LdrGetProcedureAddress(HMODULE module, const void* name, ULONG ordinal, void** address);

/// What the tests say that the system is: version, measures, language, functions of its libraries.
namespace portwise::platform {
namespace {

struct Given {
  std::recursive_mutex mutex;
  bool hasVersion = false;
  OSVERSIONINFOEXW version = {};
  std::map<int, int> metrics;
  LCID locale = 0;
  std::map<std::pair<std::wstring, std::string>, FARPROC> functions;
};
Given& TheSystem() {
  static auto* given = new Given;
  return *given;
}

FARPROC FindFunction(HMODULE module, const char* name) {
  struct {
    USHORT length, size;
    const char* text;
  } const text = {static_cast<USHORT>(strlen(name)), static_cast<USHORT>(strlen(name) + 1), name};
  void* address = nullptr;
  const LONG status = LdrGetProcedureAddress(module, &text, 0, &address);
  if (status < 0) SetLastError(ERROR_PROC_NOT_FOUND);
  return status < 0 ? nullptr : reinterpret_cast<FARPROC>(address);
}

FARPROC WINAPI GivenFunction(HMODULE module, LPCSTR name) {
  Given& given = TheSystem();
  const std::lock_guard guard(given.mutex);
  for (const auto& [key, function] : given.functions) {
    if (key.second == name && GetModuleHandleW(key.first.c_str()) == module) return function;
  }
  return FindFunction(module, name);
}

BOOL WINAPI GivenVersion(OSVERSIONINFOW* version) {
  static const auto ask = SystemFunctionAs<decltype(GetVersionExW)>(L"kernel32.dll", "GetVersionExW");
  Given& given = TheSystem();
  const std::lock_guard guard(given.mutex);
  if (!given.hasVersion) return ask(version);
  if (given.version.dwOSVersionInfoSize == 0) return FALSE;
  const DWORD size = version->dwOSVersionInfoSize;
  memcpy(version, &given.version, size);
  version->dwOSVersionInfoSize = size;
  return TRUE;
}

int WINAPI GivenMetric(int index) {
  static const auto ask = SystemFunctionAs<decltype(GetSystemMetrics)>(L"user32.dll", "GetSystemMetrics");
  Given& given = TheSystem();
  const std::lock_guard guard(given.mutex);
  const auto found = given.metrics.find(index);
  return found == given.metrics.end() ? ask(index) : found->second;
}

BOOL WINAPI GivenComputerName(LPWSTR name, LPDWORD size) {
  // The system would look it up in the registry, which is a test's own.
  const wchar_t* given = _wgetenv(L"PORTWISE_COMPUTER_NAME");
  if (given == nullptr) given = L"TESTED";
  if (wcslen(given) >= *size) return FALSE;
  wcscpy(name, given);
  *size = static_cast<DWORD>(wcslen(given));
  return TRUE;
}

LCID GivenLocale(LCID asked) {
  Given& given = TheSystem();
  const std::lock_guard guard(given.mutex);
  const bool isDefault = asked == LOCALE_USER_DEFAULT || asked == LOCALE_SYSTEM_DEFAULT;
  return isDefault && given.locale != 0 ? given.locale : asked;
}

int WINAPI GivenLocaleInfoW(LCID locale, LCTYPE type, LPWSTR text, int size) {
  static const auto ask = SystemFunctionAs<decltype(GetLocaleInfoW)>(L"kernel32.dll", "GetLocaleInfoW");
  return ask(GivenLocale(locale), type, text, size);
}

int WINAPI GivenLocaleInfoA(LCID locale, LCTYPE type, LPSTR text, int size) {
  static const auto ask = SystemFunctionAs<decltype(GetLocaleInfoA)>(L"kernel32.dll", "GetLocaleInfoA");
  return ask(GivenLocale(locale), type, text, size);
}

}  // namespace

FARPROC SystemFunction(const wchar_t* module, const char* name) { return FindFunction(LoadLibraryW(module), name); }

void SetSystemVersion(const OSVERSIONINFOEXW* version) {
  const std::lock_guard guard(TheSystem().mutex);
  TheSystem().hasVersion = version != nullptr;
  if (version != nullptr) TheSystem().version = *version;
}

void SetSystemMetric(int index, int value) {
  const std::lock_guard guard(TheSystem().mutex);
  TheSystem().metrics[index] = value;
}

void SetSystemLocale(const char* name) {
  const std::lock_guard guard(TheSystem().mutex);
  std::wstring wide = ToUtf16(name ? name : "");
  wide = wide.substr(0, wide.find_first_of(L".@"));
  for (wchar_t& unit : wide) unit = unit == L'_' ? L'-' : unit;
  TheSystem().locale = name ? LocaleNameToLCID(wide.c_str(), 0) : 0;
}

void RegisterSystemModule(std::string_view module, std::initializer_list<ModuleFunction> functions) {
  const std::lock_guard guard(TheSystem().mutex);
  for (const auto& [name, function] : functions) TheSystem().functions[{ToUtf16(module), std::string(name)}] = function;
}

std::string_view LibraryFolder() {
  static const std::string folder = [] {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::string program = ToUtf8(path);
    return program.substr(0, program.rfind('\\'));
  }();
  return folder;
}

}  // namespace portwise::platform

extern "C" {
decltype(&GetProcAddress) importedGetProcAddress PORTWISE_IMPORT(GetProcAddress, 8) = portwise::platform::GivenFunction;
decltype(&GetVersionExW) importedGetVersionExW PORTWISE_IMPORT(GetVersionExW, 4) = portwise::platform::GivenVersion;
decltype(&GetComputerNameW) importedGetComputerNameW PORTWISE_IMPORT(GetComputerNameW,
                                                                     8) = portwise::platform::GivenComputerName;
decltype(&GetSystemMetrics) importedGetSystemMetrics PORTWISE_IMPORT(GetSystemMetrics,
                                                                     4) = portwise::platform::GivenMetric;
decltype(&GetLocaleInfoW) importedGetLocaleInfoW PORTWISE_IMPORT(GetLocaleInfoW,
                                                                 16) = portwise::platform::GivenLocaleInfoW;
decltype(&GetLocaleInfoA) importedGetLocaleInfoA PORTWISE_IMPORT(GetLocaleInfoA,
                                                                 16) = portwise::platform::GivenLocaleInfoA;
}
