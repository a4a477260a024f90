#include "plugin/protocol_session.h"

#include <algorithm>

#include "plugin/plugin_loader.h"

namespace portwise {

std::shared_ptr<ProtocolSession> ProtocolSession::Accept(unique_module& library, const OString& printerName,
                                                         const OString& portName, Connection& connection) {
  const auto entry = PluginEntry<PortwiseInitializeProtocolInterface>(library, PORTWISE_PROTOCOL_INTERFACE_ENTRY);
  PortwiseProtocolTable table{};
  if (entry == nullptr || !PluginAccepted(entry(PORTWISE_PROTOCOL_INTERFACE_1, &table))) return nullptr;
  if (table.version != PORTWISE_PROTOCOL_INTERFACE_1) return nullptr;
  return std::make_shared<ProtocolSession>(std::move(library), table, printerName, portName, connection);
}

ProtocolSession::ProtocolSession(unique_module library, const PortwiseProtocolTable& table, const OString& printerName,
                                 const OString& portName, Connection& connection)
    : PluginSession(std::move(library), printerName, portName, connection), table_(table) {}

void ProtocolSession::Begin() {
  Notify(PORTWISE_NOTIFY_LOADED);
  PortwiseCapabilities capabilities{};
  if (table_.getCapabilities != nullptr) table_.getCapabilities(Block(), &capabilities);
  // A plug-in that took over writing but cannot write would stop every job.
  active_ = (capabilities.flags & PORTWISE_PROTOCOL_ACTIVE) != 0 && table_.write != nullptr;
}

void ProtocolSession::Notify(DWORD code) {
  if (table_.notify != nullptr) table_.notify(Block(), code);
}

bool ProtocolSession::Write(const void* data, DWORD length, DWORD* written) {
  *written = 0;
  if (table_.write == nullptr) return false;
  const bool done = table_.write(Block(), data, length, written) != 0;
  *written = std::min(*written, length);
  return done;
}

bool ProtocolSession::Read(void* buffer, DWORD size, DWORD* read) {
  *read = 0;
  if (table_.read == nullptr) return false;
  const bool done = table_.read(Block(), buffer, size, read) != 0;
  *read = std::min(*read, size);
  return done;
}

DWORD ProtocolSession::SpecialOperation(const OString& reader, const OString& type, DWORD copies, const void* data,
                                        DWORD length) {
  if (table_.specialOperation == nullptr) return PORTWISE_NO_SPECIAL_OPERATION;
  return table_.specialOperation(Block(), reader.Wide(), type.Wide(), copies, data, length);
}

}  // namespace portwise
