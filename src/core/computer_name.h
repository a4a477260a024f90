#pragma once

#include "core/ostring.h"

namespace portwise {

/// The name of this computer; empty when the system does not tell it. Any thread.
OString ComputerName();

}  // namespace portwise
