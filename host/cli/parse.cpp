#include "host/cli/parse.h"

#include <winspool.h>

#include <algorithm>
#include <cstring>

#include "core/hex.h"
#include "host/cli/flag_names.h"
#include "platform/text.h"

namespace portwise {

namespace {

constexpr char kDefaultKey[] = "PrinterDriverData";

constexpr FlagName kAttributes[] = {
    {"queued", PRINTER_ATTRIBUTE_QUEUED},
    {"direct", PRINTER_ATTRIBUTE_DIRECT},
    {"default", PRINTER_ATTRIBUTE_DEFAULT},
    {"shared", PRINTER_ATTRIBUTE_SHARED},
    {"network", PRINTER_ATTRIBUTE_NETWORK},
    {"hidden", PRINTER_ATTRIBUTE_HIDDEN},
    {"local", PRINTER_ATTRIBUTE_LOCAL},
    {"devq", PRINTER_ATTRIBUTE_ENABLE_DEVQ},
    {"keep-jobs", PRINTER_ATTRIBUTE_KEEPPRINTEDJOBS},
    {"complete-first", PRINTER_ATTRIBUTE_DO_COMPLETE_FIRST},
    {"work-offline", PRINTER_ATTRIBUTE_WORK_OFFLINE},
    {"bidi", PRINTER_ATTRIBUTE_ENABLE_BIDI},
    {"raw-only", PRINTER_ATTRIBUTE_RAW_ONLY},
    {"published", PRINTER_ATTRIBUTE_PUBLISHED},
    {"fax", PRINTER_ATTRIBUTE_FAX},
    {"ts", PRINTER_ATTRIBUTE_TS},
};

DWORD ParseAttribute(const std::string& name) {
  for (const auto& row : kAttributes) {
    if (name == row.name) return row.flag;
  }
  std::string known;
  for (const auto& row : kAttributes) known += std::string(known.empty() ? "" : ", ") + row.name;
  throw CommandError("there is no attribute " + name + "; they are " + known);
}

std::string TextBytes(const std::string& text) {
  std::u16string units = platform::ToUtf16(text);
  return {reinterpret_cast<const char*>(units.c_str()), (units.size() + 1) * sizeof(WCHAR)};
}

std::string NumberBytes(const std::string& text) {
  const auto number = ParseNumber<DWORD>(text);
  return {reinterpret_cast<const char*>(&number), sizeof number};
}

struct {
  const char* suffix;
  DWORD type;
  std::string (*toBytes)(const std::string& text);
} constexpr kTypes[] = {
    {":string", REG_SZ, TextBytes}, {":dword", REG_DWORD, NumberBytes}, {":binary", REG_BINARY, FromHex}};

}  // namespace

std::string FromHex(const std::string& hex) {
  std::string bytes;
  if (!DecodeHex(hex, &bytes)) throw CommandError("a binary value is written as pairs of hexadecimal digits");
  return bytes;
}

DWORD ParseAttributes(const std::string& text) {
  const bool hex = text.starts_with("0x");
  if (hex || (!text.empty() && text.find_first_not_of("0123456789") == text.npos)) {
    DWORD flags = 0;
    const char* end = text.data() + text.size();
    auto result = std::from_chars(text.data() + (hex ? 2 : 0), end, flags, hex ? 16 : 10);
    if (result.ec == std::errc() && result.ptr == end) return flags;
    throw CommandError(text + " is not a number of 32 bits");
  }
  DWORD flags = 0;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find(',', start), text.size());
    flags |= ParseAttribute(text.substr(start, end - start));
    start = end + 1;
  }
  return flags;
}

std::string AttributeNames(DWORD attributes) { return Joined(NamesOf(kAttributes, attributes)); }

PrinterData ParsePrinterDataName(const std::string& text) {
  const std::size_t slash = text.rfind('/');
  PrinterData data{kDefaultKey, text.substr(slash == text.npos ? 0 : slash + 1), REG_SZ, {}};
  if (slash != text.npos) data.key = text.substr(0, slash);
  std::replace(data.key.begin(), data.key.end(), '/', '\\');
  const std::string components = '\\' + data.key + '\\';
  if (components.find("\\\\") != components.npos || data.value.empty())
    throw CommandError(text + ": printer data is named [KEY/]VALUE");
  return data;
}

PrinterData ParsePrinterData(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == text.npos) throw CommandError(text + ": printer data is given as [KEY/]VALUE[:TYPE]=CONTENT");
  std::string name = text.substr(0, equals);
  auto type = std::begin(kTypes);
  for (auto row = std::begin(kTypes); row != std::end(kTypes); ++row) {
    if (!name.ends_with(row->suffix)) continue;
    type = row;
    name.resize(name.size() - std::strlen(row->suffix));
    break;
  }
  PrinterData data = ParsePrinterDataName(name);
  data.type = type->type;
  data.data = type->toBytes(text.substr(equals + 1));
  return data;
}

std::string ToReadable(const PrinterData& data) {
  if (data.type == REG_DWORD && data.data.size() == sizeof(DWORD)) {
    DWORD number = 0;
    std::memcpy(&number, data.data.data(), sizeof number);
    return std::to_string(number);
  }
  if (data.type == REG_SZ || data.type == REG_EXPAND_SZ) {
    std::u16string units(data.data.size() / sizeof(WCHAR), u'\0');
    std::memcpy(units.data(), data.data.data(), units.size() * sizeof(WCHAR));
    return platform::ToUtf8(units.substr(0, units.find(u'\0')));
  }
  constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (const char byte : data.data) {
    hex += kDigits[static_cast<BYTE>(byte) >> 4];
    hex += kDigits[static_cast<BYTE>(byte) & 15];
  }
  return hex;
}

}  // namespace portwise
