#pragma once

#include <optional>

#include "plugin/monitor_interface_plugin.h"
#include "plugin/protocol_plugin.h"

namespace portwise {

/// The two plug-ins of a port. The status thread loads and unloads the monitor interface; the protocol plug-in is
/// loaded here, once for each name that the printer gets.
///
/// Any thread. Unload, or the destructor, before the connection goes.
class PortPlugins {
 public:
  PortPlugins() = default;
  PortPlugins(const PortPlugins&) = delete;
  PortPlugins& operator=(const PortPlugins&) = delete;

  MonitorInterfacePlugin& Monitor() { return monitor_; }
  ProtocolPlugin& Protocol() { return protocol_; }

  /// Loads the protocol plug-in unless this printer's was tried last, and since the printer got its name. While another
  /// thread does, it waits until that is done, at most 5000 ms; the thread that does it, when the plug-in leads back
  /// here, does not wait. The connection must stay until the plug-in is unloaded.
  void EnsureProtocolLoaded(const OString& printerName, const OString& portName, Connection& connection);

  /// The monitor interface learns the name; the protocol plug-in is loaded again when it is needed next.
  void PrinterRenamed(const OString& printerName);

  /// Unloads both. Nobody may be loading.
  void Unload();

 private:
  enum class Turn { kMine, kDone, kOthers };

  Turn TakeTurn(const OString& printerName);
  void EndTurn();

  MonitorInterfacePlugin monitor_;
  ProtocolPlugin protocol_;

  OCriticalSection lock_;         // the plug-in lock, for what follows; not held while anything is loaded
  std::optional<OString> tried_;  // the printer whose plug-in was loaded last, or could not be; none since a rename
  DWORD loadingThread_ = 0;       // 0 when nobody loads
};

}  // namespace portwise
