#include "plugin/monitor_interface_plugin.h"

namespace portwise {
namespace {

struct {
  ConnectionKind kind;
  DWORD status;
  DWORD noVerify;
} constexpr kConnections[] = {
    {ConnectionKind::Com, PORTWISE_STATUS_ON_SERIAL, PORTWISE_NO_VERIFY_ON_SERIAL},
    {ConnectionKind::Parallel, PORTWISE_STATUS_ON_PARALLEL, PORTWISE_NO_VERIFY_ON_PARALLEL},
    {ConnectionKind::Usb, PORTWISE_STATUS_ON_USB, PORTWISE_NO_VERIFY_ON_USB},
    {ConnectionKind::Tcp, PORTWISE_STATUS_ON_TCP, PORTWISE_NO_VERIFY_ON_TCP},
};

}  // namespace

PluginLoad MonitorInterfacePlugin::Load(const OString& printerName, const OString& portName, Connection& connection) {
  return slot_.Load(printerName, portName, connection);
}

void MonitorInterfacePlugin::Unload() { slot_.Unload(); }

bool MonitorInterfacePlugin::IsLoaded() { return slot_.IsLoaded(); }

void MonitorInterfacePlugin::SetPrinterName(const OString& printerName) {
  if (const auto call = slot_.Enter()) call->Context().SetPrinterName(printerName);
}

bool MonitorInterfacePlugin::SupportsStatus(ConnectionKind kind) {
  for (const auto& row : kConnections) {
    if (row.kind == kind) return (Capabilities().connections & row.status) != 0;
  }
  return false;
}

bool MonitorInterfacePlugin::VetoesVerification(ConnectionKind kind) {
  for (const auto& row : kConnections) {
    if (row.kind == kind) return (Capabilities().connections & row.noVerify) != 0;
  }
  return false;
}

bool MonitorInterfacePlugin::SupportsBufferSpace() { return (Capabilities().flags & PORTWISE_CAN_BUFFER_SPACE) != 0; }

bool MonitorInterfacePlugin::HasStatusChannel() { return (Capabilities().flags & PORTWISE_CAN_STATUS_CHANNEL) != 0; }

void MonitorInterfacePlugin::Notify(PluginEvent event) {
  if (const auto call = slot_.Enter()) call->Notify(event);
}

LONG MonitorInterfacePlugin::BuildRequest(void* buffer, DWORD size) {
  const auto call = slot_.Enter();
  return call ? call->BuildRequest(buffer, size) : 0;
}

LONG MonitorInterfacePlugin::ParseResponse(const void* data, DWORD length, PluginStatus* status) {
  const auto call = slot_.Enter();
  return call ? call->ParseResponse(data, length, status) : 0;
}

bool MonitorInterfacePlugin::StatusWithoutRequest(PluginStatus* status) {
  const auto call = slot_.Enter();
  return call && call->StatusWithoutRequest(status);
}

PluginVerdict MonitorInterfacePlugin::PassData(const void* data, DWORD length) {
  const auto call = slot_.Enter();
  const DWORD answer = call ? call->PassData(data, length) : 0;
  return answer <= static_cast<DWORD>(PluginVerdict::Failed) ? static_cast<PluginVerdict>(answer) : PluginVerdict::None;
}

DWORD MonitorInterfacePlugin::SpecialOperation(const OString& reader, const OString& type, DWORD copies,
                                               const void* data, DWORD length) {
  const auto call = slot_.Enter();
  return call ? call->SpecialOperation(reader, type, copies, data, length) : kNoSpecialOperation;
}

void MonitorInterfacePlugin::RememberRequest(std::string_view bytes, const char* parameters) {
  if (const auto call = slot_.Enter()) call->Context().SetRequest(bytes, parameters);
}

void MonitorInterfacePlugin::ForgetRequest() {
  if (const auto call = slot_.Enter()) call->Context().ClearRequest();
}

PortwiseCapabilities MonitorInterfacePlugin::Capabilities() {
  const auto call = slot_.Enter();
  return call ? call->Capabilities() : PortwiseCapabilities{};
}

}  // namespace portwise
