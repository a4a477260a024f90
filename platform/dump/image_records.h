#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "platform/dump/memory_map.h"

namespace portwise::platform {

/// What a minidump tells of a loaded program or library.
struct ImageRecord {
  MemoryRange range;
  std::string path;
  std::vector<BYTE> buildId;  // empty when it has none
};

/// All of them, the program first.
std::vector<ImageRecord> ImageRecords();

}  // namespace portwise::platform
