#include "plugin/protocol_plugin.h"

namespace portwise {

PluginLoad ProtocolPlugin::Load(const OString& printerName, const OString& portName, Connection& connection) {
  return slot_.Load(printerName, portName, connection);
}

void ProtocolPlugin::Unload() { slot_.Unload(); }

bool ProtocolPlugin::IsLoaded() { return slot_.IsLoaded(); }

bool ProtocolPlugin::IsActive() {
  const auto call = slot_.Enter();
  return call && call->IsActive();
}

void ProtocolPlugin::Notify(ProtocolEvent event) {
  if (const auto call = slot_.Enter()) call->Notify(static_cast<DWORD>(event));
}

bool ProtocolPlugin::Write(const void* data, DWORD length, DWORD* written) {
  *written = 0;
  const auto call = slot_.Enter();
  return call && call->Write(data, length, written);
}

bool ProtocolPlugin::Read(void* buffer, DWORD size, DWORD* read) {
  *read = 0;
  const auto call = slot_.Enter();
  return call && call->Read(buffer, size, read);
}

DWORD ProtocolPlugin::SpecialOperation(const OString& reader, const OString& type, DWORD copies, const void* data,
                                       DWORD length) {
  const auto call = slot_.Enter();
  return call ? call->SpecialOperation(reader, type, copies, data, length) : PORTWISE_NO_SPECIAL_OPERATION;
}

}  // namespace portwise
