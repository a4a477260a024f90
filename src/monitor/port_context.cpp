#include "monitor/port_context.h"

#include <algorithm>
#include <utility>

#include "connection/connection_use.h"
#include "connection/create_connection.h"
#include "monitor/net_mon_exception_handler.h"
#include "monitor/request_document.h"
#include "monitor/request_packet.h"
#include "monitor/spooler_queries.h"
#include "xpml/request.h"

namespace portwise {
namespace {

constexpr DWORD kUsersSlice = 10;  // ms

}  // namespace

PortContext::PortContext(const OString& portName)
    : portName_(portName),
      eventLog_(portName),
      documents_(*this),
      publisher_(*this, texts_),
      flow_(*this),
      pages_(*this),
      monitoring_(*this),
      writer_(*this),
      path_(*this),
      session_(*this),
      plugin_(&plugins_.Monitor()),
      statusMonitor_(*this) {}

PortContext::~PortContext() { closing_ = true; }

bool PortContext::Open(HANDLE monitorPort, const MONITOR2& underlying) {
  functions_ = {underlying.pfnReadPort,
                underlying.pfnWritePort,
                underlying.pfnStartDocPort,
                underlying.pfnEndDocPort,
                underlying.pfnClosePort,
                underlying.pfnSetPortTimeOuts,
                underlying.pfnGetPrinterDataFromPort};
  ConnectTo();
  OString name = portName_;
  const BOOL opened =
      underlying.pfnOpenPort && underlying.pfnOpenPort(monitorPort, const_cast<LPWSTR>(name.Wide()), &portHandle_);
  if (!opened) portHandle_ = nullptr;
  settings_.Refresh(PrinterName());
  ready_ = opened || IsTcp();
  // Without the thread the port still prints.
  if (ready_ && (IsTcp() || functions_.pfnReadPort)) statusMonitor_.Start();
  return ready_;
}

void PortContext::ConnectTo() {
  connection_ = CreateConnection(this);
  connection_->SetPortContext(this);
  connection_->RefreshAddress(false);
  connection_->GetTimeouts(&timeouts_);
}

void PortContext::Close() {
  ready_ = false;
  closing_ = true;
  while (users_ > 0) {
    // Whoever waits for the printer's status need not any longer.
    SetEvent(events_.StatusUpdated());
    Sleep(kUsersSlice);
  }
  statusMonitor_.Stop();
  try {
    if (!IsTcp()) documents_.AbandonAll();
  } catch (...) {
    ClosePort();
    throw;
  }
  ClosePort();
}

/// Either this sees that the port is being closed, or the close sees the user.
bool PortContext::BeginUse() {
  ++users_;
  if (ready_) return true;
  --users_;
  return false;
}

void PortContext::ClosePort() {
  const HANDLE handle = std::exchange(portHandle_, nullptr);
  if (handle && functions_.pfnClosePort) functions_.pfnClosePort(handle);
}

bool PortContext::StartDocument(const OString& printer, DWORD job, DWORD level, BYTE* info) {
  SetPrinterName(printer);
  diagnostics_.LogCall("lmStartDocPortW");
  bool started = false;
  try {
    started = session_.Start(printer, job, level, info);
  } catch (...) {
    FollowJob();
    throw;
  }
  FollowJob();
  return started;
}

void PortContext::EndDocument() {
  try {
    session_.End();
  } catch (...) {
    FollowJob();
    throw;
  }
  FollowJob();
}

BOOL PortContext::Write(const BYTE* buffer, DWORD size, DWORD* written) {
  if (!IsTcp() && (!IsOpen() || !functions_.pfnWritePort)) return FALSE;
  return path_.Write(buffer, size, written);
}

bool PortContext::Read(BYTE* buffer, DWORD size, DWORD* read) {
  diagnostics_.SaveReadBuffer(buffer, size);
  const ConnectionUse use(*connection_);
  const bool success = connection_->Read(buffer, size, read);
  responses_.Append(std::string_view(reinterpret_cast<const char*>(buffer), std::min(*read, size)));
  return success;
}

BOOL PortContext::GetDeviceData(DWORD control, LPWSTR valueName, LPWSTR in, DWORD inSize, LPWSTR out, DWORD outSize,
                                DWORD* returned) {
  if (!IsOpen() || !functions_.pfnGetPrinterDataFromPort) return FALSE;
  return functions_.pfnGetPrinterDataFromPort(portHandle_, control, valueName, in, inSize, out, outSize, returned);
}

bool PortContext::JobIsDeleted() const {
  return documents_.IsJobRunning() && JobId() != 0 &&
         (JobStatus(JobPrinter(), JobId()) & (JOB_STATUS_DELETING | JOB_STATUS_DELETED)) != 0;
}

void PortContext::ExecuteRequest(std::string_view request, TextBuffer& reply) {
  portwise::ExecuteRequest(this, request, reply);
}

OString PortContext::PrinterName() const {
  OScopedLock lock(nameLock_);
  return printerName_;
}

OString PortContext::JobPrinter() const {
  const OScopedLock lock(nameLock_);
  return PrinterInUse();
}

StatusSubject PortContext::Subject() const {
  const OScopedLock lock(nameLock_);
  return {PrinterInUse(), JobId(), jobPrinter_};
}

void PortContext::NameJob(const OString& printer, DWORD job) {
  const OScopedLock lock(nameLock_);
  jobPrinter_ = printer;
  documents_.NameJob(job);
}

void PortContext::SetPrinterName(const OString& printer) {
  OScopedLock lock(nameLock_);
  if (printerName_ == printer) return;
  printerName_ = printer;
  NameLogs();
  plugins_.PrinterRenamed(printer);
}

void PortContext::FollowJob() {
  NameLogs();
  // Those that fell due during a job have waited for its end, and others may be about to.
  if (!documents_.IsJobRunning() && Requests().AnyPending()) SetEvent(events_.Query());
}

OString PortContext::PrinterOf(const XPML_Document& document) {
  return &document == &path_.Document() ? JobPrinter() : PrinterName();
}

bool PortContext::Rebind(const OString& printer) {
  // In a job the caller may be a plug-in that holds the connection. A status document that is open ends first.
  if (documents_.IsJobRunning()) return false;
  const OScopedLock lock(documents_.Lock());
  if (documents_.Depth() > 0) return false;
  SetPrinterName(printer);
  RefreshPrinter();
  return true;
}

void PortContext::NameLogs() {
  const OScopedLock lock(nameLock_);
  eventLog_.SetPrinterName(JobPrinter());
  // A job's records stay those of its printer.
  if (!documents_.IsJobRunning()) log_.SetPrinterName(printerName_);
}

std::unique_ptr<OExceptionHandler> PortContext::MakeGuard(const char* name) {
  auto guard = std::make_unique<NetMonExceptionHandler>(name, NetMonExceptionHandler::kReportEventLog);
  guard->ReportTo(this);
  return guard;
}

bool PortContext::LoadPlugin() {
  const PluginLoad result = plugins_.Monitor().Load(JobPrinter(), portName_, *connection_);
  // The name may have changed while the plug-in could not hear of it yet.
  const OScopedLock lock(nameLock_);
  plugins_.Monitor().SetPrinterName(PrinterInUse());
  return result == PluginLoad::PrinterOpened;
}

/// A job keeps the plug-in that it began with.
void PortContext::EnsureProtocolLoaded() {
  if (!documents_.IsJobRunning()) plugins_.EnsureProtocolLoaded(PrinterName(), portName_, *connection_);
}

void PortContext::NoteSilence() {
  if (monitoring_.IsOn()) printed_.NoteSilence();
}

void PortContext::PrintPacket(XPML_Document& document, std::string_view bytes) {
  if (&document == &path_.Document()) {
    path_.WritePacket(bytes);
  } else {
    RequestPacket(*this, bytes).Print();
  }
}

void PortContext::SetMonitor(JobMonitor& monitor, MonitorInterface& plugin) {
  statusMonitor_.Stop();
  monitor_ = &monitor;
  plugin_ = &plugin;
}

void PortContext::WarnOfClose() {
  if (!warnedOfClose_.exchange(true)) {
    Warn("The port is being closed: what requests still had for the printer was not sent.");
  }
}

DWORD PortContext::RunSpecialOperation(const OString& reader, const OString& type, DWORD copies,
                                       std::string_view data) {
  const auto size = static_cast<DWORD>(data.size());
  DWORD code = 0;
  const bool published = monitoring_.IsPossible();
  {
    if (closing_) {
      WarnOfClose();
      return kStatusOffline;
    }
    // The plug-in may write, which takes a document and the connection.
    RequestDocument document(*this);
    if (!document.HasBegun()) {
      Warn("The connection to the printer was refused: what a special operation had for it was not sent.");
      StatusWatch().SetStartDocFailed(true);
      return kStatusOffline;
    }
    {
      const ConnectionUse use(*connection_);
      code = Protocol().IsActive() ? Protocol().SpecialOperation(reader, type, copies, data.data(), size)
                                   : Plugin().SpecialOperation(reader, type, copies, data.data(), size);
      if (code != 0) writer_.Silence();
    }
    document.End();
    // A job that begins now has nothing of this.
    if (code != 0 && published) Publish(PrinterStatus(code));
  }
  return code;
}

}  // namespace portwise
