#pragma once

#include <cstddef>

#include "monitor/port_list.h"

#ifdef _WIN32
#include <windows.h>

#include <tlhelp32.h>
#else
#include <filesystem>
#include <iterator>

#include "platform/kernel/handle_table.h"
#endif

namespace portwise {

/// What the process has open.
struct Holdings {
#ifdef _WIN32
  std::size_t files = 0;  ///< are handles
  std::size_t threads = CountThreads();
  std::size_t handles = CountHandles();
#else
  std::size_t files = CountIn("/proc/self/fd");
  std::size_t threads = CountIn("/proc/self/task");
  std::size_t handles = platform::TryListHandles().size();
#endif
  int ports = Ports()->Size();
  bool operator==(const Holdings&) const = default;

 private:
#ifdef _WIN32
  static std::size_t CountThreads() {
    const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 thread = {};
    thread.dwSize = sizeof thread;
    std::size_t count = 0;
    for (BOOL more = Thread32First(all, &thread); more; more = Thread32Next(all, &thread))
      count += thread.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(all);
    return count;
  }
  static std::size_t CountHandles() {
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return count;
  }
#else
  static std::size_t CountIn(const char* folder) {
    const std::filesystem::directory_iterator entries(folder);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
  }
#endif
};

}  // namespace portwise
