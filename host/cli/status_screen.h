#pragma once

#include <string>
#include <vector>

namespace portwise {

/// A terminal on standard output that shows one picture after the other in the same place. What was there before comes
/// back when it is destroyed.
class StatusScreen {
 public:
  /// What gives the terminal back; for those who end without destroying the object.
  static constexpr char kFarewell[] = "\x1b[?25h\x1b[?1049l";

  /// Whether standard output is a terminal that can do so.
  static bool IsPossible();

  StatusScreen();
  ~StatusScreen();
  StatusScreen(const StatusScreen&) = delete;
  StatusScreen& operator=(const StatusScreen&) = delete;

  /// What does not fit is cut off; the last line says how many lines are missing.
  void Show(const std::vector<std::string>& lines);
};

}  // namespace portwise
