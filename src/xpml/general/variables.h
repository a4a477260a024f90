#pragma once

#include <windows.h>

#include <string_view>

#include "xpml/text_buffer.h"

namespace portwise {

/// The variables of the language: environment variables of the process, shared by all documents, in bytes. Names and
/// values end at their first NUL; names are compared as the system compares them. Any thread.

/// What the system refuses, such as a name with a "=", is not stored.
void SetVariable(std::string_view name, std::string_view value);
void SetVariable(std::string_view name, ULONGLONG value);

/// Nothing for a variable that is not there, or whose value has no room.
void AppendVariable(std::string_view name, TextBuffer& text);

}  // namespace portwise
