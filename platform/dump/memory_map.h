#pragma once

#include <windows.h>

#include <vector>

namespace portwise::platform {

/// Addresses from `begin` up to but not including `end`.
struct MemoryRange {
  DWORD64 begin;
  DWORD64 end;

  DWORD64 Size() const { return end - begin; }
};

struct MemoryRegion {
  MemoryRange range;
  bool privateWritable;  // of this process alone, to read and write
};

/// The regions of the process's memory in ascending order; empty when the system does not tell them.
std::vector<MemoryRegion> MemoryMap();

/// The parts of a range that hold pages, in memory or swapped out: the others were never touched. Nothing is looked
/// at past the first GiB.
std::vector<MemoryRange> PresentParts(const MemoryRange& range);

/// Takes `hole` out of ascending ranges.
std::vector<MemoryRange> Without(const std::vector<MemoryRange>& ranges, const MemoryRange& hole);

}  // namespace portwise::platform
