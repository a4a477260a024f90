#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace portwise::platform {

/// The text with that identifier in a message table (a resource of kMessageTableType), as it stands there, with its
/// insertions and line end. False when the table has none; a damaged table loses texts and does nothing worse.
bool FindMessage(std::string_view table, DWORD messageId, std::u16string* text);

}  // namespace portwise::platform
