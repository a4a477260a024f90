#pragma once

#include <windows.h>

#include <charconv>
#include <string>
#include <vector>

#include "host/cli/client.h"

/// What values look like on the command line; text that is something else is a CommandError.
namespace portwise {

/// A number of 32 bits, in decimal.
template <class Number>
Number ParseNumber(const std::string& text) {
  Number number = 0;
  const char* end = text.data() + text.size();
  auto result = std::from_chars(text.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end) throw CommandError(text + " is not a number of 32 bits");
  return number;
}

/// Bytes, as pairs of hexadecimal digits.
std::string FromHex(const std::string& hex);

/// PRINTER_ATTRIBUTE_ flags: their names with commas between them, or a number in decimal or, after 0x, hexadecimal.
DWORD ParseAttributes(const std::string& text);
/// The names of flags, with commas between them, and what has no name as a number.
std::string AttributeNames(DWORD attributes);

/// One value of printer data: "[KEY/]VALUE[:TYPE]=CONTENT", where the key is PrinterDriverData unless it is named, and
/// the type is string, dword or binary; string when it is left out.
struct PrinterData {
  std::string key;
  std::string value;
  DWORD type;
  std::string data;  ///< the bytes to store
};
PrinterData ParsePrinterData(const std::string& text);
/// "[KEY/]VALUE" alone.
PrinterData ParsePrinterDataName(const std::string& text);
/// The content, as people read it.
std::string ToReadable(const PrinterData& data);

}  // namespace portwise
