// The plug-in of the simulated printer: both entry points, version 2 of the monitor interface.

#include <portwise/plugin.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <string_view>

#include "plugins/reference/block_writer.h"
#include "plugins/reference/frames.h"

namespace reference {
namespace {

constexpr std::string_view kStatusRequest = "\x1b?ST\r\n";

// The monitor's status codes.
constexpr DWORD kReady = 1;
constexpr DWORD kPrinting = 3;
struct {
  unsigned condition;
  DWORD code;
} constexpr kErrors[] = {{kOffline, 5}, {kHeadOpen, 0x10012}, {kPaperOut, 0x10001}};
constexpr DWORD kRibbonLowCode = 0x20001;

std::string_view View(const void* data, DWORD length) { return {static_cast<const char*>(data), length}; }

/// Errors come first; without one the printer is ready or prints, and warnings follow.
void Fill(const PrinterState& state, PortwiseStatus2* status) {
  DWORD codes[6];
  int count = 0;
  for (const auto& error : kErrors) {
    if ((state.conditions & error.condition) != 0) codes[count++] = error.code;
  }
  if (count == 0) codes[count++] = state.state == 'R' ? kReady : kPrinting;
  if ((state.conditions & kRibbonLow) != 0) codes[count++] = kRibbonLowCode;
  status->flags = PORTWISE_HAS_CODE | PORTWISE_HAS_AVAILABLE | PORTWISE_HAS_THRESHOLD;
  status->code = codes[0];
  for (int index = 1; index < count; ++index) {
    status->flags |= PORTWISE_HAS_EXTRA_CODE(index - 1);
    status->extraCodes[index - 1] = codes[index];
  }
  status->available = state.room;
  status->threshold = state.buffer;  // more would never have room
}

void WINAPI GetCapabilities(PortwiseBlock*, PortwiseCapabilities* capabilities) {
  capabilities->flags = PORTWISE_CAN_BUFFER_SPACE | PORTWISE_CAN_STATUS_CHANNEL;
  capabilities->connections =
      PORTWISE_STATUS_ON_SERIAL | PORTWISE_STATUS_ON_PARALLEL | PORTWISE_STATUS_ON_USB | PORTWISE_STATUS_ON_TCP;
}

LONG WINAPI BuildRequest(PortwiseBlock*, void* buffer, DWORD size) {
  if (buffer != nullptr) kStatusRequest.copy(static_cast<char*>(buffer), size);
  return static_cast<LONG>(kStatusRequest.size());
}

/// Damaged answers, and those to other questions, are passed over.
LONG WINAPI ParseResponse(PortwiseBlock*, const void* data, DWORD length, PortwiseStatus2* status) {
  const std::string_view bytes = View(data, length);
  for (std::size_t used = 0;;) {
    const Frame frame = FirstFrame(bytes.substr(used));
    if (frame.state == FrameState::kIncomplete) return 0;
    used += frame.used;
    const auto state = ReadState(frame.text);
    if (!state) continue;
    Fill(*state, status);
    return static_cast<LONG>(used);
  }
}

DWORD WINAPI PassData(PortwiseBlock*, const void* data, DWORD length) {
  switch (FirstFrame(View(data, length)).state) {
    case FrameState::kGood:
      return PORTWISE_ANSWER_COMPLETE;
    case FrameState::kBad:
      return PORTWISE_ANSWER_FAILED;
    default:
      return PORTWISE_ANSWER_INCOMPLETE;
  }
}

/// The writers of the ports, by their blocks. Nobody tells when a block goes, so a writer stays and begins anew when
/// its block's address comes again. The reference stays good.
BlockWriter& WriterOf(PortwiseBlock* block) {
  static std::mutex mutex;
  static std::map<PortwiseBlock*, BlockWriter> writers;
  const std::lock_guard lock(mutex);
  return writers[block];
}

void WINAPI GetProtocolCapabilities(PortwiseBlock*, PortwiseCapabilities* capabilities) {
#ifdef REFERENCE_BLOCKS
  capabilities->flags = PORTWISE_PROTOCOL_ACTIVE;
#else
  capabilities->flags = 0;
#endif
}

/// Queries are for the printer itself, so they go as they are. Of one that fails no end is told, but the thread that
/// asks never writes print data.
void WINAPI NotifyProtocol(PortwiseBlock* block, DWORD code) {
  BlockWriter& writer = WriterOf(block);
  if (code == PORTWISE_NOTIFY_LOADED || code == PORTWISE_NOTIFY_FIRST_WRITE || code == PORTWISE_NOTIFY_JOB_END) {
    writer.Begin();
  }
  if (code == PORTWISE_NOTIFY_PROTOCOL_QUERY) writer.BeginPlain();
  if (code == PORTWISE_NOTIFY_PROTOCOL_QUERY_SENT || code == PORTWISE_NOTIFY_PROTOCOL_QUERY_ANSWERED) writer.EndPlain();
}

BYTE WINAPI Write(PortwiseBlock* block, const void* data, DWORD length, DWORD* written) {
  return WriterOf(block).Write(block, static_cast<const char*>(data), length, written) ? 1 : 0;
}

BYTE WINAPI Read(PortwiseBlock* block, void* buffer, DWORD size, DWORD* read) {
  return block->read(block, buffer, size, read) != 0 ? 1 : 0;
}

}  // namespace
}  // namespace reference

extern "C" BOOL WINAPI MonitorInterface(DWORD version, void* table) {
  if (version != PORTWISE_MONITOR_INTERFACE_2) return FALSE;
  auto* functions = static_cast<PortwiseMonitorTable2*>(table);
  functions->version = PORTWISE_MONITOR_INTERFACE_2;
  functions->getCapabilities = reference::GetCapabilities;
  functions->buildRequest = reference::BuildRequest;
  functions->parseResponse = reference::ParseResponse;
  functions->passData = reference::PassData;
  return TRUE;
}

extern "C" BOOL WINAPI InitializeProtocolInterface(DWORD version, PortwiseProtocolTable* table) {
  if (version != PORTWISE_PROTOCOL_INTERFACE_1) return FALSE;
  table->version = PORTWISE_PROTOCOL_INTERFACE_1;
  table->getCapabilities = reference::GetProtocolCapabilities;
  table->notify = reference::NotifyProtocol;
  table->write = reference::Write;
  table->read = reference::Read;
  return TRUE;
}
