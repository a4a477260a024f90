#pragma once

#include <windows.h>
#include <winspool.h>

#include <winsplp.h>

#include <atomic>
#include <memory>

#include "connection/connection.h"
#include "connection/port_link.h"
#include "core/ostring.h"
#include "core/synchronizer.h"
#include "logging/event_log_report.h"
#include "logging/printer_port_event_log.h"
#include "monitor/diagnostics.h"
#include "monitor/document_control.h"
#include "monitor/job_records.h"
#include "monitor/port_settings.h"
#include "monitor/print_path.h"

namespace portwise {

/// One open port, from the spooler's open to its close: the handle that the spooler holds.
///
/// It owns the port's connection, its documents and the road of its print data, and is what they ask about the port.
/// The spooler calls the operations of one port from one thread at a time, but for reads and requests for printer
/// data, which may come while a write runs.
class PortContext final : public PortLink {
 public:
  explicit PortContext(const OString& portName);
  ~PortContext() override;
  PortContext(const PortContext&) = delete;
  PortContext& operator=(const PortContext&) = delete;

  /// Chooses the connection, then opens the port at the monitor below. False when that refused, unless the printer is
  /// reached over TCP: then the port goes on without it.
  bool Open(HANDLE monitorPort, const MONITOR2& underlying);
  /// Ends what is open at the monitor below, but for a port reached over TCP, and closes the port there. The context
  /// itself lives on.
  void Close();

  bool StartDocument(const OString& printer, DWORD job, DWORD level, BYTE* info);
  BOOL Write(const BYTE* buffer, DWORD size, DWORD* written);
  bool Read(BYTE* buffer, DWORD size, DWORD* read);
  void EndDocument() { documents_.End(); }
  /// Passes a device request on to the monitor below; FALSE when the port is not open there.
  BOOL GetDeviceData(DWORD control, LPWSTR valueName, LPWSTR in, DWORD inSize, LPWSTR out, DWORD outSize,
                     DWORD* returned);

  OString PortName() const override { return portName_; }
  OString PrinterName() const override;
  void SetPrinterName(const OString& printer);
  HANDLE PortHandle() const override { return portHandle_; }
  const PortMonitorFunctions& PortFunctions() const override { return functions_; }
  void ExecuteRequest(std::string_view request, TextBuffer& reply) override;
  DWORD SendTimeout() override { return settings_.Values().GetSendTimeout(); }
  DWORD ResponseTimeout() override { return settings_.Values().GetResponseTimeout(); }
  FaultReport* Faults() override { return &faults_; }
  void Warn(const OString& text) override { eventLog_.Warning(text, 0); }

  bool IsOpen() const { return portHandle_ != nullptr; }
  bool IsTcp() const { return connection_ && connection_->IsTcp(); }
  Connection& PrinterConnection() { return *connection_; }
  const COMMTIMEOUTS& Timeouts() const { return timeouts_; }
  PrintPath& Path() { return path_; }
  JobRecords& Jobs() { return jobs_; }
  PortSettings& Settings() { return settings_; }
  MonitorDiagnostics& Diagnostics() { return diagnostics_; }
  /// Messages about the port and its printer.
  PrinterPortEventLog& EventLog() { return eventLog_; }
  /// Whether the spooler is deleting the job in progress, or has deleted it.
  bool JobIsDeleted() const;
  /// False until the port is open and once it is being closed: nobody but the spooler may use it then. Any thread.
  bool IsReady() const { return ready_; }
  const DocumentControl& Documents() const { return documents_; }
  /// The spooler's id of the job in progress, or of the last one when it was refused or its end failed; else 0. Any
  /// thread.
  DWORD JobId() const { return documents_.Job(); }

 private:
  void ConnectTo();
  void ClosePort();

  HANDLE portHandle_ = nullptr;
  const OString portName_;
  OString printerName_;  // under nameLock_
  mutable OCriticalSection nameLock_;
  PrinterPortEventLog eventLog_;
  EventLogReport faults_{&eventLog_};
  PortSettings settings_;
  std::unique_ptr<Connection> connection_;
  PortMonitorFunctions functions_;
  COMMTIMEOUTS timeouts_ = {};
  DocumentControl documents_;
  PrintPath path_;
  JobRecords jobs_;
  MonitorDiagnostics diagnostics_;
  std::atomic<bool> ready_{false};
};

}  // namespace portwise
