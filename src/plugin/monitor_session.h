#pragma once

#include <memory>

#include "plugin/monitor_interface.h"
#include "plugin/plugin_session.h"

namespace portwise {

/// A loaded monitor-interface plug-in, of either version of its table. What the plug-in returns is brought into bounds
/// here.
class MonitorSession : public PluginSession {
 public:
  /// Asks the entry point for version 2, then for version 1. The version that the plug-in wrote into the table decides
  /// how it is used. Null, with `library` untouched, when the library is none, or lacks the entry point, or accepts
  /// neither, or wrote another version.
  static std::shared_ptr<MonitorSession> Accept(unique_module& library, const OString& printerName,
                                                const OString& portName, Connection& connection);

  virtual PortwiseCapabilities Capabilities() = 0;
  virtual LONG BuildRequest(void* buffer, DWORD size) = 0;
  virtual LONG ParseResponse(const void* data, DWORD length, PluginStatus* status) = 0;
  // What version 1 does not have.
  virtual void Notify(PluginEvent /*event*/) {}
  virtual bool StatusWithoutRequest(PluginStatus* /*status*/) { return false; }
  virtual DWORD PassData(const void* /*data*/, DWORD /*length*/) { return 0; }
  virtual DWORD SpecialOperation(const OString& /*reader*/, const OString& /*type*/, DWORD /*copies*/,
                                 const void* /*data*/, DWORD /*length*/) {
    return kNoSpecialOperation;
  }

 protected:
  using PluginSession::PluginSession;
};

}  // namespace portwise
