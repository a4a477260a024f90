#pragma once

#include <windows.h>

#include "core/synchronizer.h"
#include "monitor/printer_writer.h"
#include "plugin/monitor_interface.h"

namespace portwise {

/// How many bytes the printer has room for, as it said last, less what was sent since. Any thread.
class FlowControl {
 public:
  explicit FlowControl(PortContext& port) : port_(port) {}

  /// What the printer said. Writes of at least `threshold` bytes need not wait for room; 0 is no threshold.
  void Set(DWORD available, DWORD threshold);
  /// The same, as a plug-in tells it, when it does.
  void Take(const PluginStatus& status);

  /// Whether a write of that many bytes may begin. Applies only to monitored jobs whose pages are tracked, on printers
  /// that tell their room; asks the printer when there is too little, and pauses shortly when there still is.
  bool Admits(size_t length, WriteOutcome* outcome);

 private:
  static constexpr DWORD kNoThreshold = 0xFFFFFFFF;

  bool Applies();
  /// Takes the room for a write; false when there is too little.
  bool Reserve(size_t length);
  // Both under the lock.
  void SetAvailable(DWORD available);
  void SetThreshold(DWORD threshold);

  PortContext& port_;
  OCriticalSection lock_;
  LONG available_ = 0;  // under lock_, as is the next
  DWORD threshold_ = kNoThreshold;
};

}  // namespace portwise
