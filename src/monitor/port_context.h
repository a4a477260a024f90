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
#include "logging/job_logger.h"
#include "logging/printer_port_event_log.h"
#include "monitor/diagnostics.h"
#include "monitor/document_control.h"
#include "monitor/flow_control.h"
#include "monitor/job_monitoring.h"
#include "monitor/job_records.h"
#include "monitor/job_session.h"
#include "monitor/page_tracker.h"
#include "monitor/port_fault_report.h"
#include "monitor/port_settings.h"
#include "monitor/print_code_recorder.h"
#include "monitor/print_path.h"
#include "monitor/printed_bytes.h"
#include "monitor/printer_writer.h"
#include "monitor/response_buffer.h"
#include "monitor/status_publisher.h"
#include "monitor/status_text.h"
#include "plugin/port_plugins.h"
#include "query/query_command_port.h"
#include "query/status_events.h"
#include "query/status_host.h"
#include "query/status_monitor.h"

namespace portwise {

/// One open port, from the spooler's open to its close: the handle that the spooler holds.
///
/// It owns everything of the port and brings it together: the connection, the road of the print data with what a job
/// keeps on it, the plug-ins, the status monitor, the logs. The spooler calls the operations of one port from one
/// thread at a time, but for reads and requests for printer data, which may come while a write runs.
class PortContext final : public PortLink, public PublishingPort, public StatusHost, public QueryCommandPort {
 public:
  explicit PortContext(const OString& portName);
  ~PortContext() override;
  PortContext(const PortContext&) = delete;
  PortContext& operator=(const PortContext&) = delete;

  /// Chooses the connection, then opens the port at the monitor below. False when that refused, unless the printer is
  /// reached over TCP: then the port goes on without it.
  bool Open(HANDLE monitorPort, const MONITOR2& underlying);
  /// Waits for those who use the port, ends what is open at the monitor below, but for a port reached over TCP, and
  /// closes the port there. The context itself lives on.
  void Close();

  bool StartDocument(const OString& printer, DWORD job, DWORD level, BYTE* info);
  BOOL Write(const BYTE* buffer, DWORD size, DWORD* written);
  bool Read(BYTE* buffer, DWORD size, DWORD* read);
  void EndDocument();
  /// Passes a device request on to the monitor below; FALSE when the port is not open there.
  BOOL GetDeviceData(DWORD control, LPWSTR valueName, LPWSTR in, DWORD inSize, LPWSTR out, DWORD outSize,
                     DWORD* returned);

  OString PortName() const override { return portName_; }
  /// The printer that was named last, by a job or a request.
  OString PrinterName() const;
  void SetPrinterName(const OString& printer);
  /// The same for a program that has the port print for another printer from now on, with its settings; false, and
  /// nothing is done, while a document is open.
  bool Rebind(const OString& printer);
  /// The printer that the commands of a document are about: a job's data are about the job's, a request about the one
  /// that was named last.
  OString PrinterOf(const XPML_Document& document);
  /// A job is about to begin, for this printer. Under the documents' lock, so that no status is told of a job before
  /// its record is there.
  void NameJob(const OString& printer, DWORD job);
  /// The printer of the job in progress, which may be another one that shares the port; between jobs the port's.
  OString JobPrinter() const override;
  HANDLE PortHandle() const override { return portHandle_; }
  const PortMonitorFunctions& PortFunctions() const override { return functions_; }
  void ExecuteRequest(std::string_view request, TextBuffer& reply) override;
  DWORD SendTimeout() override { return settings_.Values().GetSendTimeout(); }
  DWORD ResponseTimeout() override { return settings_.Values().GetResponseTimeout(); }
  FaultReport* Faults() override { return &faults_; }
  bool IsClosing() override { return closing_; }
  void Warn(const OString& text) override { eventLog_.Warning(text, 0); }
  /// Something for the printer was lost because the port is being closed: told once, since a request may have very much
  /// for it.
  void WarnOfClose();

  bool IsOpen() const { return portHandle_ != nullptr; }
  bool IsTcp() const { return connection_ && connection_->IsTcp(); }
  Connection& PrinterConnection() override { return *connection_; }
  const COMMTIMEOUTS& Timeouts() const { return timeouts_; }

  PrintPath& Path() { return path_; }
  PrinterWriter& Writer() { return writer_; }
  PrintedBytes& Printed() { return printed_; }
  DocumentControl& Documents() { return documents_; }
  JobRecords& Jobs() override { return jobs_; }
  JobLogger& JobLog() override { return log_; }
  PageTracker& Pages() { return pages_; }
  FlowControl& Flow() { return flow_; }
  PrintCodeRecorder& Recorder() { return recorder_; }
  PortSettings& Settings() { return settings_; }
  DriverSettings& SettingValues() override { return settings_.Values(); }
  MonitorDiagnostics& Diagnostics() { return diagnostics_; }
  ResponseBuffer& Responses() { return responses_; }
  /// Messages about the port and its printer.
  PrinterPortEventLog& EventLog() { return eventLog_; }

  PortPlugins& Plugins() { return plugins_; }
  MonitorInterface& Plugin() override { return *plugin_; }
  ProtocolInterface& Protocol() override { return plugins_.Protocol(); }
  JobMonitoring& Monitoring() { return monitoring_; }
  JobMonitor& StatusWatch() { return *monitor_; }
  StatusEvents& Events() override { return events_; }
  /// Puts others in the place of the port's own status monitor and plug-in, before the first job. They must outlive the
  /// port.
  void SetMonitor(JobMonitor& monitor, MonitorInterface& plugin);

  /// Tells the spooler, the logs and the job's record what the printer says. The thread's last error is then the
  /// status's.
  void Publish(const PrinterStatus& status) override { publisher_.Publish(status); }
  StatusPublisher& Publisher() { return publisher_; }
  StatusText& Texts() { return texts_; }

  QueryQueue& Queries() override { return statusMonitor_.Queries(); }
  RequestList& Requests() override { return statusMonitor_.Requests(); }
  HANDLE QueryEvent() override { return events_.Query(); }

  std::unique_ptr<OExceptionHandler> MakeGuard(const char* name) override;
  bool LoadPlugin() override;
  void UnloadPlugin() override { plugins_.Monitor().Unload(); }
  void EnsureProtocolLoaded() override;
  void RefreshPrinter() override { settings_.Refresh(JobPrinter()); }
  OCriticalSection& DocumentLock() override { return documents_.Lock(); }
  bool BeginStatusDocument() override { return documents_.BeginStatus(); }
  bool HasDocument() const override { return documents_.Depth() > 0; }
  void EndStatusDocument() override { documents_.EndStatus(); }
  void NoteReady() override { printed_.NoteReady(); }
  /// Puts the output of a monitored job in doubt.
  void NoteSilence() override;
  void TakeRoom(const PluginStatus& status) override { flow_.Take(status); }
  bool IsFirstWritePending() override { return path_.IsFirstWritePending(); }
  bool IsJobOpen() override { return path_.IsJobOpen(); }
  bool IsInJobData() override { return documents_.IsJobRunning() && path_.IsInData(); }

  /// Print data out of a section of `document`: the job's own, or that of a request, which any thread may run. What
  /// cannot be written of the former is kept, of the latter lost with a warning.
  void PrintPacket(XPML_Document& document, std::string_view bytes);
  /// Runs a plug-in's special operation with the printer. A status code, 0 for success; any other silences the port
  /// until the next job, and is published where the printer's status is. Nothing once the port is being closed.
  DWORD RunSpecialOperation(const OString& reader, const OString& type, DWORD copies, std::string_view data);

  /// Whether the spooler is deleting the job in progress, or has deleted it.
  bool JobIsDeleted() const override;
  /// False until the port is open and once it is being closed: nobody but the spooler may use it then. Any thread.
  bool IsReady() const { return ready_; }
  /// Somebody beside the spooler uses the port from now until EndUse, which the port's close waits for; false when the
  /// port is not ready. Any thread. PortUse does both.
  bool BeginUse();
  void EndUse() { --users_; }
  /// The spooler's id of the job in progress, or of the last one when it was refused or its end failed; else 0. Any
  /// thread.
  DWORD JobId() const { return documents_.Job(); }
  StatusSubject Subject() const override;

 private:
  void ConnectTo();
  void ClosePort();
  /// As JobPrinter, under nameLock_.
  OString PrinterInUse() const { return documents_.IsJobRunning() ? jobPrinter_ : printerName_; }
  /// Gives the logs the printer that what they are told is about.
  void NameLogs();
  /// A job has begun or ended, or failed to.
  void FollowJob();

  HANDLE portHandle_ = nullptr;
  const OString portName_;
  OString printerName_;  // under nameLock_, as is the next
  OString jobPrinter_;   // of the documents' job
  mutable OCriticalSection nameLock_;
  PrinterPortEventLog eventLog_;
  DocumentControl documents_;
  PortFaultReport faults_{*this, &eventLog_};  // asks the documents for the job
  PortSettings settings_;
  std::atomic<bool> closing_{false};
  std::atomic<bool> warnedOfClose_{false};
  std::unique_ptr<Connection> connection_;  // its last close asks whether the port is being closed
  PortMonitorFunctions functions_;
  COMMTIMEOUTS timeouts_ = {};
  StatusEvents events_;
  JobLogger log_;
  JobRecords jobs_;
  ResponseBuffer responses_;
  StatusText texts_;
  StatusPublisher publisher_;
  PrintCodeRecorder recorder_;
  FlowControl flow_;
  PageTracker pages_;
  JobMonitoring monitoring_;
  PrintedBytes printed_;
  PrinterWriter writer_;
  PrintPath path_;
  JobSession session_;
  PortPlugins plugins_;  // its plug-ins may call the port until they are unloaded
  MonitorInterface* plugin_;
  MonitorDiagnostics diagnostics_;
  StatusMonitor statusMonitor_;  // its thread uses all of the above
  JobMonitor* monitor_ = &statusMonitor_;
  std::atomic<bool> ready_{false};
  std::atomic<int> users_{0};
};

}  // namespace portwise
