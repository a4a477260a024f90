#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "core/synchronizer.h"

namespace portwise {

/// What was last read back from the printer, for the commands that look at it: at most 16384 bytes, the oldest are
/// dropped for newer ones. Any thread.
class ResponseBuffer {
 public:
  void Append(std::string_view bytes);
  DWORD Size() const;
  std::string Copy() const;
  /// The bytes, which are then no longer kept.
  std::string Take();

 private:
  static constexpr size_t kCapacity = 16384;

  mutable OCriticalSection lock_;
  std::string bytes_;
};

}  // namespace portwise
