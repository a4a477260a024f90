#pragma once

#include "plugin/plugin_slot.h"
#include "plugin/protocol_interface.h"
#include "plugin/protocol_session.h"

namespace portwise {

/// The protocol plug-in of a port's printer. Threads, loading and unloading are as with MonitorInterfacePlugin.
class ProtocolPlugin final : public ProtocolInterface {
 public:
  PluginLoad Load(const OString& printerName, const OString& portName, Connection& connection);
  void Unload();
  bool IsLoaded();

  bool IsActive() override;
  void Notify(ProtocolEvent event) override;
  bool Write(const void* data, DWORD length, DWORD* written) override;
  bool Read(void* buffer, DWORD size, DWORD* read) override;
  DWORD SpecialOperation(const OString& reader, const OString& type, DWORD copies, const void* data,
                         DWORD length) override;

 private:
  PluginSlot<ProtocolSession> slot_;
};

}  // namespace portwise
