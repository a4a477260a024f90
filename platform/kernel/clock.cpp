#include <sched.h>
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>

#include "platform/test_clock.h"

namespace portwise::platform {
namespace {

using Nanoseconds = long long;
constexpr Nanoseconds kMillisecond = 1'000'000;

/// The machine's uptime.
Nanoseconds Now() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<Nanoseconds>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

template <class Number>
bool ReadVariable(const char* name, Number* number) {
  const char* text = std::getenv(name);
  return text && std::from_chars(text, text + std::strlen(text), *number).ec == std::errc();
}

/// The clock showed `start` at the real time `realStart`, and runs at `scale` since.
class Clock {
 public:
  Clock() {
    double given = 1;
    if (ReadVariable("PORTWISE_TIME_SCALE", &given)) scale_ = Clamp(given);
    if (unsigned ticks; ReadVariable("PORTWISE_TICK_START", &ticks)) SetTicks(ticks);
  }

  static double Clamp(double scale) { return scale >= 1 ? std::min(scale, 20.0) : 1; }

  void SetScale(double scale) {
    std::lock_guard lock(mutex_);
    const Nanoseconds real = Now();
    start_ = At(real);
    realStart_ = real;
    scale_ = Clamp(scale);
    char text[32] = {};
    std::to_chars(text, text + sizeof text - 1, scale_);
    setenv("PORTWISE_TIME_SCALE", text, 1);
  }

  double Scale() {
    std::lock_guard lock(mutex_);
    return scale_;
  }

  long long Milliseconds() {
    std::lock_guard lock(mutex_);
    return At(Now()) / kMillisecond;
  }

  void SetTicks(DWORD ticks) {
    std::lock_guard lock(mutex_);
    tickOffset_ = ticks - static_cast<DWORD>(At(Now()) / kMillisecond);
  }

  DWORD Ticks() {
    std::lock_guard lock(mutex_);
    return static_cast<DWORD>(At(Now()) / kMillisecond) + tickOffset_;
  }

 private:
  Nanoseconds At(Nanoseconds real) const {
    return start_ + static_cast<Nanoseconds>(static_cast<double>(real - realStart_) * scale_);
  }

  std::mutex mutex_;
  Nanoseconds realStart_ = Now();
  Nanoseconds start_ = realStart_;
  double scale_ = 1;
  DWORD tickOffset_ = 0;
};

Clock& TheClock() {
  static auto& clock = *new Clock;
  return clock;
}

SYSTEMTIME ToSystemTime(const tm& time, long nanoseconds) {
  const auto word = [](long value) { return static_cast<WORD>(value); };
  return {word(time.tm_year + 1900), word(time.tm_mon + 1), word(time.tm_wday), word(time.tm_mday),
          word(time.tm_hour),        word(time.tm_min),     word(time.tm_sec),  word(nanoseconds / kMillisecond)};
}

}  // namespace

void SetTimeScale(double scale) { TheClock().SetScale(scale); }
double TimeScale() { return TheClock().Scale(); }
void SetTickCount(unsigned ticks) { TheClock().SetTicks(ticks); }
long long ClockMilliseconds() { return TheClock().Milliseconds(); }

std::chrono::nanoseconds RealTime(long long milliseconds) {
  // Rounded up, so that whoever waits for it sees the clock go on by at least that much.
  return std::chrono::nanoseconds(
      static_cast<Nanoseconds>(std::ceil(static_cast<double>(milliseconds) * kMillisecond / TimeScale())));
}

}  // namespace portwise::platform

using namespace portwise::platform;

DWORD WINAPI GetTickCount() { return TheClock().Ticks(); }

void WINAPI Sleep(DWORD milliseconds) {
  if (milliseconds == 0) {
    sched_yield();
    return;
  }
  while (milliseconds == INFINITE) pause();
  const Nanoseconds end = Now() + RealTime(milliseconds).count();
  const timespec deadline{static_cast<time_t>(end / 1'000'000'000), static_cast<long>(end % 1'000'000'000)};
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) != 0) {
  }
}

void WINAPI GetLocalTime(SYSTEMTIME* time) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm parts{};
  localtime_r(&now.tv_sec, &parts);
  *time = ToSystemTime(parts, now.tv_nsec);
}

void WINAPI GetSystemTime(SYSTEMTIME* time) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm parts{};
  gmtime_r(&now.tv_sec, &parts);
  *time = ToSystemTime(parts, now.tv_nsec);
}
