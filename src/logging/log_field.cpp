#include "logging/log_field.h"

#include <algorithm>
#include <ctime>
#include <iterator>
#include <string>
#include <string_view>

namespace portwise {
namespace {

constexpr DWORD kTimeFormat = 3;
constexpr DWORD kLastFormat = kTimeFormat;
constexpr size_t kLongestTime = 127;  // characters
constexpr const char* kPlainTime = "%Y-%m-%d %H:%M:%S";

/// What C89 and all of its successors know.
constexpr std::string_view kDirectives = "aAbBcdHIjmMpSUwWxXyYZ%";

/// Directives of later standards, in the words of the first; "e", the day without a zero, has none.
constexpr struct {
  char directive;
  const char* meaning;
} kLaterDirectives[] = {{'F', "%Y-%m-%d"}, {'T', "%H:%M:%S"}, {'R', "%H:%M"}, {'r', "%I:%M:%S %p"},
                        {'D', "%m/%d/%y"}, {'h', "%b"},       {'n', "\n"},    {'t', "\t"}};

/// A format without directives that a system might not know: some end the process over them.
std::string Portable(std::string_view format, unsigned day) {
  std::string portable;
  for (size_t at = 0; at < format.size(); ++at) {
    if (format[at] != '%') {
      portable += format[at];
      continue;
    }
    const char directive = at + 1 < format.size() ? format[at + 1] : '\0';
    const auto* row = std::find_if(std::begin(kLaterDirectives), std::end(kLaterDirectives),
                                   [directive](const auto& later) { return later.directive == directive; });
    if (row != std::end(kLaterDirectives)) {
      portable += row->meaning;
      ++at;
    } else if (directive == 'e') {
      portable += (day < 10 ? " " : "") + std::to_string(day);
      ++at;
    } else if (directive != '\0' && kDirectives.find(directive) != std::string_view::npos) {
      portable.append({'%', directive});
      ++at;
    } else {
      portable += "%%";
    }
  }
  return portable;
}

/// Day of week and day of year are not filled.
OString FormatTime(const SYSTEMTIME& time, const OString& format) {
  if (time.wYear == 0) return OString();
  std::tm parts = {};
  parts.tm_year = time.wYear - 1900;
  parts.tm_mon = time.wMonth - 1;
  parts.tm_mday = time.wDay;
  parts.tm_hour = time.wHour;
  parts.tm_min = time.wMinute;
  parts.tm_sec = time.wSecond;
  parts.tm_isdst = -1;
  char text[kLongestTime + 1];
  const size_t length =
      std::strftime(text, sizeof text, Portable(format.InCodePage(kCodePageAnsi), time.wDay).c_str(), &parts);
  return OString(std::string_view(text, length));
}

}  // namespace

bool FormatLogValue(const LogValue& value, const logField& field, OString* text) {
  if (field.format > kLastFormat) return false;
  if (const auto* number = std::get_if<LONG>(&value)) {
    *text = OString::FromInt(*number);
  } else if (const auto* time = std::get_if<SYSTEMTIME>(&value)) {
    *text = FormatTime(*time, field.format == kTimeFormat ? field.parameters : OString(kPlainTime));
  } else {
    *text = std::get<OString>(value);
  }
  return true;
}

}  // namespace portwise
