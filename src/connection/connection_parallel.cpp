#include "connection/connection_parallel.h"

#include "connection/parallel_requests.h"

namespace portwise {
namespace {

// Bits of the status byte.
constexpr BYTE kPaperEmpty = 0x04;
constexpr BYTE kOffLine = 0x08;
constexpr BYTE kPoweredOff = 0x10;
constexpr BYTE kSelected = 0x80;

constexpr WORD kAllModes = 0xFFFA;
constexpr WORD kReverseMode = 0x0004;

struct StatusRow {
  DWORD asked;
  BYTE bit;
};
constexpr StatusRow kStatusRows[] = {
    {STATUS_OFF_LINE, kOffLine},
    {STATUS_PAPER_EMPTY, kPaperEmpty},
    {STATUS_SELECTED, kSelected},
};

}  // namespace

LONG Connection_Parallel::Control(DWORD code, const char* text, void* buffer, DWORD size) {
  if (code != CONTROL_DEVICE_ID) return Connection::Control(code, text, buffer, size);
  bool done;
  return static_cast<LONG>(RequestDevice(kParallelQueryDeviceId, nullptr, 0, buffer, size, &done));
}

DWORD Connection_Parallel::GetStatus(DWORD mask) {
  BYTE status = 0;
  bool done;
  RequestDevice(kParallelQueryStatus, nullptr, 0, &status, sizeof status, &done);
  if (done && (status & kPoweredOff)) return mask & STATUS_DISCONNECTED;
  DWORD result = 0;
  if ((mask & STATUS_UNIDIRECTIONAL) && LacksReverseChannel()) result |= STATUS_UNIDIRECTIONAL;
  for (const auto& [asked, bit] : kStatusRows) {
    if ((mask & asked) && (status & bit)) result |= asked;
  }
  return result;
}

bool Connection_Parallel::LacksReverseChannel() const {
  const WORD wanted = kAllModes;
  WORD modes = 0;
  bool done;
  RequestDevice(kParallelQueryModes, &wanted, sizeof wanted, &modes, sizeof modes, &done);
  return done && !(modes & kReverseMode);
}

}  // namespace portwise
