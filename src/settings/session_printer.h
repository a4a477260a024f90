#pragma once

#include <windows.h>

#include "core/ostring.h"

namespace portwise {

/// A printer of the computer from which a remote session is used.
struct SessionPrinter {
  OString client;   ///< that computer
  OString printer;  ///< the printer's name there
};

/// False, with `found` as it was, when the open printer is none of a remote session.
bool FindSessionPrinter(HANDLE printer, SessionPrinter* found);

}  // namespace portwise
