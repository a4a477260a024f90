#pragma once

#include "core/property_set.h"

namespace portwise {

/// One record of a log: field key to text, for the fields that the log has.
class LogData : public OPropertySet {};

}  // namespace portwise
