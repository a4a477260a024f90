#pragma once

#include "core/ostring.h"

namespace portwise {

/// What the spooler knows about a printer, a line each for people to read. Of one that it does not know the name and
/// this computer's are all.
OString PrinterInfoPage(const OString& printer);

}  // namespace portwise
