#include "tests/support/test_plugin.h"

#include <algorithm>

#if TEST_PLUGIN_VERSION == 1
using Table = PortwiseMonitorTable1;
using Status = PortwiseStatus1;
#define CONTEXT HANDLE handle
#define CALL(name) Called(handle == &Plugin() ? (name) : "wrong-handle", nullptr)
#define ZERO DWORD,
#else
using Table = PortwiseMonitorTable2;
using Status = PortwiseStatus2;
#define CONTEXT PortwiseBlock* block
#define CALL(name) Called(name, block)
#define ZERO
#endif

extern "C" portwise::TestPlugin* TestPluginState() {
  static portwise::TestPlugin plugin;
  return &plugin;
}

#if TEST_PLUGIN_VERSION > 0
namespace {

portwise::TestPlugin& Plugin() { return *TestPluginState(); }

void Called(const std::string& function, PortwiseBlock* block) {
  {
    const std::lock_guard lock(Plugin().mutex);
    Plugin().log += function + " ";
  }
  if (Plugin().onCall) Plugin().onCall(function, block);
}

void WINAPI GetCapabilities(CONTEXT, PortwiseCapabilities* capabilities) {
  CALL("capabilities");
  *capabilities = Plugin().capabilities;
}

LONG WINAPI BuildRequest(CONTEXT, ZERO void* buffer, DWORD size) {
  CALL(buffer != nullptr ? "build" : "measure");
  if (buffer != nullptr) std::fill_n(static_cast<char*>(buffer), size, '?');
  return Plugin().length;
}

LONG WINAPI ParseResponse(CONTEXT, ZERO const void*, DWORD, Status* status) {
  CALL(status->flags == 0 ? "parse" : "parse-with-flags");
  std::copy_n(Plugin().status, sizeof *status / sizeof(DWORD), reinterpret_cast<DWORD*>(status));
  return Plugin().length;
}

void WINAPI Notify(PortwiseBlock* block, DWORD code) { Called(std::to_string(code), block); }

DWORD WINAPI SpecialOperation(PortwiseBlock* block, LPCWSTR reader, LPCWSTR type, DWORD copies, const void* data,
                              DWORD length) {
  Called("special-" + std::string(static_cast<const char*>(data), length) + std::to_string(copies) +
             static_cast<char>(reader[0]) + static_cast<char>(type[0]),
         block);
  return Plugin().answer;
}

#if TEST_PLUGIN_VERSION == 1
HANDLE WINAPI Open(LPCWSTR printerName) {
  Called("open-" + std::string(printerName, std::find(printerName, printerName + 64, 0)), nullptr);
  return &Plugin();
}

void WINAPI Close(HANDLE handle) { Called(handle == &Plugin() ? "close" : "close-wrong", nullptr); }

void Fill(Table* table) {
  table->open = Open;
  table->close = Close;
  table->getCapabilities = GetCapabilities;
  table->buildRequest = BuildRequest;
  table->parseResponse = ParseResponse;
}
#else
DWORD WINAPI PassData(PortwiseBlock* block, const void*, DWORD) {
  Called("pass", block);
  return Plugin().answer;
}

DWORD WINAPI StatusWithoutRequest(PortwiseBlock* block, PortwiseStatus2* status) {
  Called("status", block);
  std::copy_n(Plugin().status, 10, reinterpret_cast<DWORD*>(status));
  return Plugin().answer;
}

void Fill(Table* table) {
  table->notify = Notify;
  table->getCapabilities = GetCapabilities;
  table->buildRequest = BuildRequest;
  table->parseResponse = ParseResponse;
  table->passData = PassData;
  table->statusWithoutRequest = StatusWithoutRequest;
  table->specialOperation = SpecialOperation;
}
#endif

void WINAPI GetProtocolCapabilities(PortwiseBlock* block, PortwiseCapabilities* capabilities) {
  Called("capabilities", block);
  *capabilities = Plugin().protocolCapabilities;
}

BYTE WINAPI Write(PortwiseBlock* block, const void*, DWORD, DWORD* written) {
  Called("write", block);
  *written = Plugin().moved;
  return static_cast<BYTE>(Plugin().answer);
}

BYTE WINAPI Read(PortwiseBlock* block, void*, DWORD, DWORD* read) {
  Called("read", block);
  *read = Plugin().moved;
  return static_cast<BYTE>(Plugin().answer);
}

/// Writes the version and takes entries away.
template <class AnyTable>
void Finish(AnyTable* table, DWORD version) {
  table->version = Plugin().wrongVersion != 0 ? Plugin().wrongVersion : version;
  for (size_t word = 1; word < sizeof *table / sizeof(void*); ++word) {
    if ((Plugin().entries >> word & 1) == 0) reinterpret_cast<void**>(table)[word] = nullptr;
  }
}

}  // namespace

extern "C" BOOL WINAPI MonitorInterface(DWORD version, void* table) {
  Called("entry-" + std::to_string(version), nullptr);
  if (version != TEST_PLUGIN_VERSION) {
    // What a plug-in leaves behind that finds out late.
    std::fill_n(static_cast<BYTE*>(table), version == 2 ? sizeof(PortwiseMonitorTable2) : 0, BYTE{0xEE});
    return 0x100;
  }
  Fill(static_cast<Table*>(table));
  Finish(static_cast<Table*>(table), version);
  return Plugin().result;
}

extern "C" BOOL WINAPI InitializeProtocolInterface(DWORD version, PortwiseProtocolTable* table) {
  Called("protocol-" + std::to_string(version), nullptr);
  table->getCapabilities = GetProtocolCapabilities;
  table->notify = Notify;
  table->write = Write;
  table->read = Read;
  table->specialOperation = SpecialOperation;
  Finish(table, version);
  return Plugin().result;
}
#endif
