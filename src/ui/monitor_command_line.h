#pragma once

#include <windows.h>

#include "core/ostring.h"

namespace portwise {

/// What the status window is started for.
enum class MonitorVerb { None, Open, Init, Close, Cleanup, Show, Hide };

/// The command line of the status window and of the query dialog: verbs, each with a printer's name behind it, and
/// switches. Case does not matter, nor does the order; of two verbs the last counts. A word ends at the next blank, one
/// that begins with a double quote at the next double quote. What is not known is passed over.
struct MonitorCommandLine {
  explicit MonitorCommandLine(const OString& text);

  MonitorVerb verb = MonitorVerb::None;
  OString printer;         ///< empty when the verb was the last word
  bool hidden = false;     ///< "-i" of `open`: the window starts as its icon only
  bool newWindow = false;  ///< "-f": even when one runs
  LONG job = 0;            ///< "-ji"
  OString jobName;         ///< "-jn"
};

}  // namespace portwise
