#pragma once

#include <windows.h>

#include "core/ostring.h"
#include "logging/job_log_values.h"

namespace portwise {

/// One field that a log is configured to have.
struct logField {
  OString key;   ///< one of those that are known, or one that stays empty
  OString name;  ///< the caption
  DWORD format = 0;
  LONG order = 0;
  OString parameters;  ///< of a time, its strftime format
};

/// The text of a value in a field's format: 0 text, 1 number, 2 boolean, 3 time. A value of another kind than its
/// format is for is converted by its own kind. False for any other format: the field is left out.
bool FormatLogValue(const LogValue& value, const logField& field, OString* text);

}  // namespace portwise
