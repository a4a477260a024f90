#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

#include "monitor/port_list.h"
#include "platform/kernel/handle_table.h"

namespace portwise {

/// What the process has open.
struct Holdings {
  std::size_t files = CountIn("/proc/self/fd");
  std::size_t threads = CountIn("/proc/self/task");
  std::size_t handles = platform::TryListHandles().size();
  int ports = Ports()->Size();
  bool operator==(const Holdings&) const = default;

 private:
  static std::size_t CountIn(const char* folder) {
    const std::filesystem::directory_iterator entries(folder);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
  }
};

}  // namespace portwise
