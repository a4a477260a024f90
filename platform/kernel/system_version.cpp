#include <windows.h>

#include <cstring>
#include <map>
#include <mutex>

#include "platform/kernel/fail.h"
#include "platform/test_system.h"

namespace portwise::platform {
namespace {

constexpr OSVERSIONINFOEXW kVersion = {sizeof(OSVERSIONINFOEXW), 10, 0, 19045, VER_PLATFORM_WIN32_NT, {}, 0, 0, 0,
                                       VER_NT_WORKSTATION,       0};

// Of a screen of 1024 by 768 in the classic style. The numbers are those of the calls of the user interface.
const std::map<int, int> kMetrics = {{0, 1024}, {1, 768}, {4, 20},  {5, 1},   {6, 1},  {7, 3},
                                     {8, 3},    {11, 32}, {12, 32}, {49, 16}, {50, 16}};

struct System {
  std::mutex mutex;
  OSVERSIONINFOEXW version = kVersion;
  std::map<int, int> metrics = kMetrics;
};
System& TheSystem() {
  static auto& system = *new System;
  return system;
}

}  // namespace

void SetSystemVersion(const OSVERSIONINFOEXW* version) {
  std::lock_guard lock(TheSystem().mutex);
  TheSystem().version = version ? *version : kVersion;
}

void SetSystemMetric(int index, int value) {
  std::lock_guard lock(TheSystem().mutex);
  TheSystem().metrics[index] = value;
}

}  // namespace portwise::platform

using namespace portwise::platform;

BOOL WINAPI GetVersionExW(LPOSVERSIONINFOW version) {
  const DWORD size = version->dwOSVersionInfoSize;
  if (size != sizeof(OSVERSIONINFOW) && size != sizeof(OSVERSIONINFOEXW)) return Fail(ERROR_INSUFFICIENT_BUFFER);
  std::lock_guard lock(TheSystem().mutex);
  if (TheSystem().version.dwOSVersionInfoSize == 0) return Fail(ERROR_CALL_NOT_IMPLEMENTED);
  std::memcpy(static_cast<void*>(version), &TheSystem().version, size);
  version->dwOSVersionInfoSize = size;
  return TRUE;
}

int WINAPI GetSystemMetrics(int index) {
  std::lock_guard lock(TheSystem().mutex);
  const auto found = TheSystem().metrics.find(index);
  return found == TheSystem().metrics.end() ? 0 : found->second;
}
