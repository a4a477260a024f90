#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "settings/printer_registry.h"

/// How computers that share a printer bring their settings of it into line: the one tells what it has, the other
/// answers with registry text (settings/registry_text.h) that makes up the difference. The text is UTF-8 with CR LF
/// after each line; keys of the printer's own data have the logical prefix "DATA:" in their headers, so that the text
/// fits a printer whose data lie elsewhere.
namespace portwise {

/// What somebody lacks who has the keys of `request`: items "[key],checksum" with ";" between them, the key a logical
/// path and the checksum eight hexadecimal digits, any other counting as 0. Of the keys that make up the settings, one
/// that the request names is exported, and its checksum stored, when the stored checksum is another; one that it does
/// not name always is. A key of the request that is none of them is to be deleted. An item without brackets counts for
/// nothing, and the separator may stand inside them. Of a text with a line end the first line is told: the rest would
/// be lines of their own to the reader.
///
/// Nothing when that is longer than `limit`.
std::string SettingsDifferences(PrinterRegistry& registry, std::string_view request, size_t limit);

/// Applies what SettingsDifferences of another computer gave: each key of the text is emptied first.
void ApplySettings(PrinterRegistry& registry, std::string_view text);

/// Lets everyone change the settings. False when the rules of the printer's data could not be changed.
bool UnrestrictSettings(const PrinterRegistry& registry);

}  // namespace portwise
