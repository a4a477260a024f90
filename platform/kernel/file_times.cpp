#include "platform/kernel/file_times.h"

#include <algorithm>

#include "platform/kernel/fail.h"

namespace portwise::platform {
namespace {

constexpr LONGLONG kTicksPerSecond = 10'000'000;
constexpr LONGLONG kSecondsTo1970 = 11'644'473'600;

}  // namespace

LONGLONG TicksOf(const FILETIME& time) {
  return static_cast<LONGLONG>(ULONGLONG{time.dwHighDateTime} << 32 | time.dwLowDateTime);
}

FILETIME FileTimeOf(LONGLONG ticks) {
  ticks = std::max<LONGLONG>(ticks, 0);
  return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

FILETIME FileTimeOf(const timespec& time) {
  const LONGLONG seconds = std::clamp<LONGLONG>(time.tv_sec, -kSecondsTo1970, INT64_MAX / kTicksPerSecond / 2);
  return FileTimeOf((seconds + kSecondsTo1970) * kTicksPerSecond + time.tv_nsec / 100);
}

timespec TimespecOf(const FILETIME& time) {
  const LONGLONG ticks = std::max<LONGLONG>(TicksOf(time), 0);
  return {static_cast<time_t>(ticks / kTicksPerSecond - kSecondsTo1970),
          static_cast<long>(ticks % kTicksPerSecond * 100)};
}

}  // namespace portwise::platform

using namespace portwise::platform;

LONG WINAPI CompareFileTime(const FILETIME* left, const FILETIME* right) {
  const auto number = [](const FILETIME& time) { return static_cast<ULONGLONG>(TicksOf(time)); };
  return number(*left) < number(*right) ? -1 : number(*left) > number(*right);
}

BOOL WINAPI LocalFileTimeToFileTime(const FILETIME* local, LPFILETIME utc) {
  const time_t now = time(nullptr);
  tm parts{};
  localtime_r(&now, &parts);
  *utc = FileTimeOf(TicksOf(*local) - parts.tm_gmtoff * kTicksPerSecond);
  return TRUE;
}

BOOL WINAPI FileTimeToLocalFileTime(const FILETIME* utc, LPFILETIME local) {
  const time_t now = time(nullptr);
  tm parts{};
  localtime_r(&now, &parts);
  *local = FileTimeOf(TicksOf(*utc) + parts.tm_gmtoff * kTicksPerSecond);
  return TRUE;
}

BOOL WINAPI SystemTimeToFileTime(const SYSTEMTIME* time, LPFILETIME fileTime) {
  tm parts{};
  parts.tm_year = time->wYear - 1900;
  parts.tm_mon = time->wMonth - 1;
  parts.tm_mday = time->wDay;
  parts.tm_hour = time->wHour;
  parts.tm_min = time->wMinute;
  parts.tm_sec = time->wSecond;
  const tm given = parts;
  const time_t seconds = timegm(&parts);
  if (time->wYear < 1601 || time->wMilliseconds > 999 || given.tm_mon != parts.tm_mon ||
      given.tm_mday != parts.tm_mday || given.tm_hour != parts.tm_hour || given.tm_min != parts.tm_min ||
      given.tm_sec != parts.tm_sec) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  *fileTime = FileTimeOf(timespec{seconds, time->wMilliseconds * 1'000'000L});
  return TRUE;
}

BOOL WINAPI FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* time) {
  if (TicksOf(*fileTime) < 0) return Fail(ERROR_INVALID_PARAMETER);
  const timespec moment = TimespecOf(*fileTime);
  tm parts{};
  gmtime_r(&moment.tv_sec, &parts);
  *time = {static_cast<WORD>(parts.tm_year + 1900), static_cast<WORD>(parts.tm_mon + 1),
           static_cast<WORD>(parts.tm_wday),        static_cast<WORD>(parts.tm_mday),
           static_cast<WORD>(parts.tm_hour),        static_cast<WORD>(parts.tm_min),
           static_cast<WORD>(parts.tm_sec),         static_cast<WORD>(moment.tv_nsec / 1'000'000)};
  return TRUE;
}

BOOL WINAPI DosDateTimeToFileTime(WORD date, WORD time, LPFILETIME fileTime) {
  tm parts{};
  parts.tm_year = (date >> 9) + 80;
  parts.tm_mon = (date >> 5 & 15) - 1;
  parts.tm_mday = date & 31;
  parts.tm_hour = time >> 11;
  parts.tm_min = time >> 5 & 63;
  parts.tm_sec = (time & 31) * 2;
  const tm given = parts;
  const time_t seconds = timegm(&parts);
  // What the conversion has moved into range is no time.
  if (given.tm_mon != parts.tm_mon || given.tm_mday != parts.tm_mday || given.tm_hour != parts.tm_hour ||
      given.tm_min != parts.tm_min || given.tm_sec != parts.tm_sec) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  *fileTime = FileTimeOf(timespec{seconds, 0});
  return TRUE;
}
