#pragma once

#include "plugin/monitor_interface.h"
#include "plugin/monitor_session.h"
#include "plugin/plugin_slot.h"

namespace portwise {

/// The monitor-interface plug-in of a port's printer.
///
/// Load and Unload are for one thread at a time, everything else for any thread at any moment: a call that meets an
/// unloading finds the plug-in or nothing. No lock is held while the plug-in runs, so it may lead back to any function
/// here.
class MonitorInterfacePlugin final : public MonitorInterface {
 public:
  /// Loads the plug-in of the printer's driver. One that is loaded stays when it was loaded for the same name, and is
  /// unloaded first otherwise. A plug-in that is missing, lacks the entry point or does not accept is told by IsLoaded
  /// only. The connection must stay until the plug-in is unloaded.
  PluginLoad Load(const OString& printerName, const OString& portName, Connection& connection);
  /// Waits for calls that are under way, for 5000 ms; those that take longer go on, and find their callbacks failing.
  /// The destructor unloads too.
  void Unload();
  bool IsLoaded();

  /// What the plug-in is told to be the printer's name from now on. Nothing is loaded for it.
  void SetPrinterName(const OString& printerName);

  bool SupportsStatus(ConnectionKind kind) override;
  bool VetoesVerification(ConnectionKind kind) override;
  bool SupportsBufferSpace() override;
  bool HasStatusChannel() override;
  void Notify(PluginEvent event) override;
  LONG BuildRequest(void* buffer, DWORD size) override;
  LONG ParseResponse(const void* data, DWORD length, PluginStatus* status) override;
  bool StatusWithoutRequest(PluginStatus* status) override;
  PluginVerdict PassData(const void* data, DWORD length) override;
  DWORD SpecialOperation(const OString& reader, const OString& type, DWORD copies, const void* data,
                         DWORD length) override;
  void RememberRequest(std::string_view bytes, const char* parameters) override;
  void ForgetRequest() override;

 private:
  PortwiseCapabilities Capabilities();

  PluginSlot<MonitorSession> slot_;
};

}  // namespace portwise
