#pragma once

#include <string>

namespace portwise {

/// Text with the control characters, which a terminal would obey, replaced by "?". That is for one line: line ends are
/// control characters, too.
std::string Harmless(const std::string& text);

/// The same for text of several lines: those after the first are indented, blank ones at the end left out, and
/// tabulators stay.
std::string HarmlessLines(const std::string& text);

}  // namespace portwise
