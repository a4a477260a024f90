#pragma once

#include <windows.h>

#include <string>

namespace portwise::platform {

/// What a last-error value or a WSA error code means, in English, as a sentence without a line end; "error N" for a
/// code that has no text. Any thread.
std::string ErrorText(DWORD code);

/// True, and the text, when the code has one.
bool FindErrorText(DWORD code, std::string* text);

}  // namespace portwise::platform
