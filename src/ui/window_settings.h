#pragma once

#include <windows.h>

#include <optional>

#include "settings/printer_registry.h"

namespace portwise {

/// How one user wants the status window of one printer. Shows what the registry holds when the object is made; whoever
/// wants to follow it makes a new one.
class WindowSettings {
 public:
  explicit WindowSettings(const OString& printer);

  bool HideTitlebar() const { return hideTitlebar_; }
  bool AlwaysOnTop() const { return alwaysOnTop_; }
  bool ShowOnError() const { return showOnError_; }
  bool ShowIcon() const { return showIcon_; }
  /// Whether the window is there while nobody looks at it.
  bool StaysInBackground() const { return showOnError_ || showIcon_; }

  /// Where the window was left; nothing when that is not stored.
  std::optional<POINT> Position() const;
  /// The code of the language that the windows speak; empty is the system's.
  OString Language() const;

  void SavePosition(POINT corner) const;
  void SwitchIconOff();
  /// Back to what the driver has set.
  void Forget() const;

 private:
  PrinterRegistry registry_;
  bool hideTitlebar_;
  bool alwaysOnTop_;
  bool showOnError_;
  bool showIcon_;
};

}  // namespace portwise
