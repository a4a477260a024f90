// A plug-in with a fault, which the last word of the printer's name chooses. It comes with a job's first write, and
// with "poll" when the monitor's own thread asks for the status.

#include <portwise/plugin.h>

#include <cwchar>
#include <stdexcept>
#include <string>

namespace {

void ReadNull() { (void)*static_cast<volatile int*>(nullptr); }

[[gnu::noinline]] void Grow(std::string& text) { text.append(5, 'x'); }

/// The compiler's tables have no entry for the write, behind the last call that can throw.
void WriteNullWithStringInHand() {
  std::string text("label");
  Grow(text);
  *static_cast<volatile int*>(nullptr) = static_cast<int>(text.size());
}

constexpr struct {
  const wchar_t* name;
  void (*fail)();
} kFaults[] = {
    {L"null", WriteNullWithStringInHand},
    {L"throw", [] { throw std::runtime_error("thrown by a plug-in"); }},
};

bool IsMeant(PortwiseBlock* block, const wchar_t* name) {
  const wchar_t* blank = std::wcsrchr(block->printerName, L' ');
  return blank && std::wcscmp(blank + 1, name) == 0;
}

void WINAPI GetCapabilities(PortwiseBlock*, PortwiseCapabilities* capabilities) {
  capabilities->connections = PORTWISE_STATUS_ON_TCP;
}

LONG WINAPI BuildRequest(PortwiseBlock* block, void* buffer, DWORD size) {
  if (IsMeant(block, L"poll")) ReadNull();
  if (buffer && size > 0) *static_cast<char*>(buffer) = '?';
  return 1;
}

LONG WINAPI ParseResponse(PortwiseBlock*, const void*, DWORD, PortwiseStatus2*) { return 0; }

void WINAPI Notify(PortwiseBlock* block, DWORD code) {
  if (code != PORTWISE_NOTIFY_FIRST_WRITE) return;
  for (const auto& fault : kFaults) {
    if (IsMeant(block, fault.name)) fault.fail();
  }
}

void WINAPI GetProtocolCapabilities(PortwiseBlock*, PortwiseCapabilities* capabilities) {
  capabilities->flags = PORTWISE_PROTOCOL_ACTIVE;
}

BYTE WINAPI Write(PortwiseBlock* block, const void* data, DWORD length, DWORD* written) {
  return block->write(block, data, length, written) != 0;
}

}  // namespace

extern "C" BOOL WINAPI MonitorInterface(DWORD version, void* table) {
  if (version != PORTWISE_MONITOR_INTERFACE_2) return FALSE;
  auto* functions = static_cast<PortwiseMonitorTable2*>(table);
  functions->version = PORTWISE_MONITOR_INTERFACE_2;
  functions->getCapabilities = GetCapabilities;
  functions->buildRequest = BuildRequest;
  functions->parseResponse = ParseResponse;
  return TRUE;
}

/// It hears of the first write whether the printer is monitored or not.
extern "C" BOOL WINAPI InitializeProtocolInterface(DWORD version, PortwiseProtocolTable* table) {
  if (version != PORTWISE_PROTOCOL_INTERFACE_1) return FALSE;
  table->version = PORTWISE_PROTOCOL_INTERFACE_1;
  table->getCapabilities = GetProtocolCapabilities;
  table->notify = Notify;
  table->write = Write;
  return TRUE;
}
