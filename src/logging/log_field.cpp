#include "logging/log_field.h"

#include <ctime>

namespace portwise {
namespace {

constexpr DWORD kTimeFormat = 3;
constexpr DWORD kLastFormat = kTimeFormat;
constexpr size_t kLongestTime = 127;  // characters
constexpr const char* kPlainTime = "%Y-%m-%d %H:%M:%S";

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
  const size_t length = std::strftime(text, sizeof text, format.InCodePage(kCodePageAnsi).c_str(), &parts);
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
