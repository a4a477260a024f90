#pragma once

#include <windows.h>

#include <memory>

#include "connection/connection.h"
#include "core/fault/exception_handler.h"
#include "core/ostring.h"
#include "core/synchronizer.h"
#include "plugin/monitor_interface.h"
#include "plugin/protocol_interface.h"
#include "query/printer_status.h"
#include "query/status_events.h"
#include "settings/driver_settings.h"

namespace portwise {

/// What the status monitor needs of its port. Called by the status thread, the publication also by the thread of the
/// print data.
class StatusHost {
 public:
  virtual ~StatusHost() = default;

  /// The printer of the job in progress, between jobs the one that the port prints to.
  virtual OString JobPrinter() const = 0;
  virtual DriverSettings& SettingValues() = 0;
  virtual Connection& PrinterConnection() = 0;
  virtual StatusEvents& Events() = 0;
  virtual MonitorInterface& Plugin() = 0;
  virtual ProtocolInterface& Protocol() = 0;

  /// A guard for the thread, under this name.
  virtual std::unique_ptr<OExceptionHandler> MakeGuard(const char* name) = 0;
  virtual void Warn(const OString& text) = 0;

  /// Loads the monitor-interface plug-in for the printer; false when the printer could not be opened.
  virtual bool LoadPlugin() = 0;
  virtual void UnloadPlugin() = 0;
  virtual void EnsureProtocolLoaded() = 0;

  /// Reads again what the spooler and the registry say of the printer, not more often than makes sense. The settings of
  /// a job that is running stay.
  virtual void RefreshPrinter() = 0;

  /// Held while a document is begun, used and ended, so that no job starts or ends meanwhile.
  virtual OCriticalSection& DocumentLock() = 0;
  /// Begins a document of the monitor's own at the connection. False when the connection refused.
  virtual bool BeginStatusDocument() = 0;
  virtual void EndStatusDocument() = 0;
  /// One is open at the connection, of the monitor or of others; stays so under the document lock.
  virtual bool HasDocument() const = 0;

  virtual void Publish(const PrinterStatus& status) = 0;
  /// The printer has answered that it is ready, and does not answer or cannot be reached. The connection is held.
  virtual void NoteReady() = 0;
  virtual void NoteSilence() = 0;
  /// How much the printer has room for.
  virtual void TakeRoom(const PluginStatus& status) = 0;
  /// The job has not sent its first byte.
  virtual bool IsFirstWritePending() = 0;
  /// The job has more to send.
  virtual bool IsJobOpen() = 0;
  /// Print data of a job is on its way: whatever else the printer got would stand in the midst of a label.
  virtual bool IsInJobData() = 0;
};

}  // namespace portwise
