#pragma once

#include <string>

namespace portwise {

/// Shows the status of a printer, or of all for an empty name, until it is interrupted: on a terminal as a table that
/// is redrawn in place, elsewhere, and with `json`, as a line for each change. A spooler that is not there is waited
/// for. CommandError when the spooler knows no such printer at the start.
void WatchStatus(const std::string& printer, bool json);

}  // namespace portwise
