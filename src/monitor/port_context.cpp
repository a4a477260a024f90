#include "monitor/port_context.h"

#include <utility>

#include "connection/connection_use.h"
#include "connection/create_connection.h"
#include "monitor/spooler_queries.h"
#include "xpml/request.h"

namespace portwise {

PortContext::PortContext(const OString& portName)
    : portName_(portName), eventLog_(portName), documents_(*this), path_(*this) {}

PortContext::~PortContext() = default;

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
  try {
    if (!IsTcp()) documents_.AbandonAll();
  } catch (...) {
    ClosePort();
    throw;
  }
  ClosePort();
}

void PortContext::ClosePort() {
  const HANDLE handle = std::exchange(portHandle_, nullptr);
  if (handle && functions_.pfnClosePort) functions_.pfnClosePort(handle);
}

bool PortContext::StartDocument(const OString& printer, DWORD job, DWORD level, BYTE* info) {
  SetPrinterName(printer);
  diagnostics_.LogCall("lmStartDocPortW");
  return documents_.Start(job, level, info);
}

BOOL PortContext::Write(const BYTE* buffer, DWORD size, DWORD* written) {
  if (!IsTcp() && (!IsOpen() || !functions_.pfnWritePort)) return FALSE;
  return path_.Write(buffer, size, written);
}

bool PortContext::Read(BYTE* buffer, DWORD size, DWORD* read) {
  diagnostics_.SaveReadBuffer(buffer, size);
  const ConnectionUse use(*connection_);
  return connection_->Read(buffer, size, read);
}

BOOL PortContext::GetDeviceData(DWORD control, LPWSTR valueName, LPWSTR in, DWORD inSize, LPWSTR out, DWORD outSize,
                                DWORD* returned) {
  if (!IsOpen() || !functions_.pfnGetPrinterDataFromPort) return FALSE;
  return functions_.pfnGetPrinterDataFromPort(portHandle_, control, valueName, in, inSize, out, outSize, returned);
}

bool PortContext::JobIsDeleted() const {
  return (JobStatus(PrinterName(), JobId()) & (JOB_STATUS_DELETING | JOB_STATUS_DELETED)) != 0;
}

void PortContext::ExecuteRequest(std::string_view request, TextBuffer& reply) {
  portwise::ExecuteRequest(this, request, reply);
}

OString PortContext::PrinterName() const {
  OScopedLock lock(nameLock_);
  return printerName_;
}

void PortContext::SetPrinterName(const OString& printer) {
  OScopedLock lock(nameLock_);
  if (printerName_ == printer) return;
  printerName_ = printer;
  eventLog_.SetPrinterName(printer);
  settings_.ForgetPrinter();
}

}  // namespace portwise
