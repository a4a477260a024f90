#include <winsock2.h>

#include <algorithm>
#include <mutex>

#include "platform/test_clock.h"
#include "tests/windows/stand_ins.h"

/// The one clock behind what the product waits with: the system's, made to run faster.
namespace portwise::platform {
namespace {

LONGLONG RealMicroseconds() {
  LARGE_INTEGER count, frequency;
  QueryPerformanceCounter(&count);
  QueryPerformanceFrequency(&frequency);
  return static_cast<LONGLONG>(static_cast<double>(count.QuadPart) * 1e6 / static_cast<double>(frequency.QuadPart));
}

constexpr double kMostScale = 20;

std::mutex lock;
double scale = 1;
LONGLONG since = 0;   // in real microseconds
double before = 0;    // milliseconds of the clock at that moment
DWORD tickStart = 0;  // the tick count where the clock is 0

double Now() { return before + static_cast<double>(RealMicroseconds() - since) / 1000 * scale; }

DWORD Shorter(DWORD milliseconds) {
  if (milliseconds == 0 || milliseconds == INFINITE) return milliseconds;
  return static_cast<DWORD>(milliseconds / TimeScale()) + 1;
}

template <class Function>
Function* Kernel(const char* name) {
  return SystemFunctionAs<Function>(L"kernel32.dll", name);
}

DWORD WINAPI ScaledTickCount() { return tickStart + static_cast<DWORD>(ClockMilliseconds()); }

void WINAPI ScaledSleep(DWORD milliseconds) {
  static const auto sleep = Kernel<decltype(Sleep)>("Sleep");
  sleep(Shorter(milliseconds));
}

DWORD WINAPI ScaledWaitForOne(HANDLE handle, DWORD milliseconds) {
  static const auto wait = Kernel<decltype(WaitForSingleObject)>("WaitForSingleObject");
  return wait(handle, Shorter(milliseconds));
}

DWORD WINAPI ScaledWaitForMany(DWORD count, const HANDLE* handles, BOOL all, DWORD milliseconds) {
  static const auto wait = Kernel<decltype(WaitForMultipleObjects)>("WaitForMultipleObjects");
  return wait(count, handles, all, Shorter(milliseconds));
}

DWORD WINAPI ScaledWaitForSockets(DWORD count, const WSAEVENT* events, BOOL all, DWORD milliseconds, BOOL alertable) {
  static const auto wait =
      SystemFunctionAs<decltype(WSAWaitForMultipleEvents)>(L"ws2_32.dll", "WSAWaitForMultipleEvents");
  return wait(count, events, all, Shorter(milliseconds), alertable);
}

int ScaledPoll(LPWSAPOLLFD sockets, ULONG count, INT milliseconds) {
  static const auto poll = SystemFunctionAs<decltype(WSAPoll)>(L"ws2_32.dll", "WSAPoll");
  return poll(sockets, count, milliseconds < 0 ? milliseconds : static_cast<INT>(Shorter(milliseconds)));
}

}  // namespace

void SetTimeScale(double wanted) {
  const std::lock_guard guard(lock);
  before = Now();
  since = RealMicroseconds();
  scale = std::clamp(wanted, 1.0, kMostScale);
}

double TimeScale() {
  const std::lock_guard guard(lock);
  return scale;
}

long long ClockMilliseconds() {
  const std::lock_guard guard(lock);
  return static_cast<long long>(Now());
}

void SetTickCount(unsigned ticks) { tickStart = ticks - static_cast<DWORD>(ClockMilliseconds()); }

std::chrono::nanoseconds RealTime(long long milliseconds) {
  return std::chrono::nanoseconds(static_cast<long long>(static_cast<double>(milliseconds) * 1e6 / TimeScale()));
}

}  // namespace portwise::platform

extern "C" {
decltype(&GetTickCount) importedGetTickCount PORTWISE_IMPORT(GetTickCount, 0) = portwise::platform::ScaledTickCount;
decltype(&Sleep) importedSleep PORTWISE_IMPORT(Sleep, 4) = portwise::platform::ScaledSleep;
decltype(&WaitForSingleObject) importedWaitForSingleObject PORTWISE_IMPORT(WaitForSingleObject,
                                                                           8) = portwise::platform::ScaledWaitForOne;
decltype(&WaitForMultipleObjects) importedWaitForMultipleObjects PORTWISE_IMPORT(WaitForMultipleObjects, 16) =
    portwise::platform::ScaledWaitForMany;
decltype(&WSAWaitForMultipleEvents) importedWaitForSockets PORTWISE_IMPORT(WSAWaitForMultipleEvents, 20) =
    portwise::platform::ScaledWaitForSockets;
// The headers do not declare this one as imported.
int WSAAPI WSAPoll(LPWSAPOLLFD sockets, ULONG count, INT milliseconds) {
  return portwise::platform::ScaledPoll(sockets, count, milliseconds);
}
}
