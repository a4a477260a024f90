#pragma once

#include <portwise/plugin.h>

#include <functional>
#include <mutex>
#include <string>
#include <utility>

namespace portwise {

/// How the test plug-in behaves, and what was asked of it. The library is built with tables of version 1 and of version
/// 2, and without entry points; it exports `TestPlugin* TestPluginState()`.
struct TestPlugin {
  DWORD entries = ~0u;     ///< bit N clear leaves word N of the table null
  DWORD wrongVersion = 0;  ///< written into the tables unless 0
  BOOL result = TRUE;      ///< of an entry point that accepts
  PortwiseCapabilities capabilities{};
  PortwiseCapabilities protocolCapabilities{};
  DWORD status[10] = {};
  LONG length = 0;   ///< of a request, and used of an answer
  DWORD answer = 0;  ///< of everything else that returns something
  DWORD moved = 0;   ///< what writing and reading claim
  /// Runs inside each function, with its name.
  std::function<void(const std::string& function, PortwiseBlock* block)> onCall;

  /// The functions called since the last time, each with a space behind it.
  std::string TakeLog() {
    const std::lock_guard lock(mutex);
    return std::exchange(log, {});
  }

  std::mutex mutex;
  std::string log;
};

}  // namespace portwise
