#pragma once

#include <string>
#include <string_view>

#include "core/ostring_array.h"

/// The pieces of the registry text format that export and import share. Its lines carry no line ends; as bytes they are
/// the layout ListLayout::Lines in code page 1208.
///
///     [HKEY_LOCAL_MACHINE\SOFTWARE\Vendor]      a key; [-...] deletes one
///     "Text"="a \"quoted\" word"                a value: "\" and quotes carry a backslash
///     "Number"=dword:0000000a
///     "Bytes"=hex:01,02,03,\                    "hex(T):" for other types than binary; "\" at the end of a line
///       04                                      goes on below
///                                               an empty line ends the key
namespace portwise {

/// The value that holds the checksum of its key's export; no export shows it.
inline constexpr char kChecksumName[] = "(CRC32)";

/// A name or text as it stands between quotes, and back. A backslash before any other character than "\" or a quote
/// stands for itself.
OString EscapeText(const OString& text);
OString UnescapeText(WideView escaped);

/// The relative path of a value of the base key, whatever characters its name has.
OString ValuePath(const OString& name);

/// Appends "01,02,..." to `line`; where the line has more than 76 characters before a byte, it is closed by "\" and
/// added to `lines`, and a new one begins with two spaces.
void AppendByteList(std::string_view bytes, WideString* line, OStringArray* lines);
/// False, with `bytes` in an unspecified state, unless the list is empty or pairs of digits with one comma between
/// them.
bool ParseByteList(WideView list, std::string* bytes);

/// The name and the data, which is a part of `text`, of a whole value line. False when it does not begin with a quoted
/// name and "=".
bool SplitValueLine(WideView text, OString* name, WideView* data);

}  // namespace portwise
