#include "monitor/document_control.h"

#include <winspool.h>

#include "connection/connection.h"
#include "monitor/port_context.h"
#include "monitor/spooler_queries.h"

namespace portwise {

void DocumentControl::NameJob(DWORD job) {
  if (job != 0) job_ = job;
}

bool DocumentControl::Begin(DWORD job, DWORD level, BYTE* info) {
  if (job != 0) port_.Writer().EndSilence();
  if (depth_ == 0 && !BeginAtConnection(job, level, info)) return false;
  ++depth_;
  return true;
}

bool DocumentControl::BeginAtConnection(DWORD job, DWORD level, BYTE* info) {
  Connection& connection = port_.PrinterConnection();
  if (port_.IsOpen() && !connection.StartDoc(job, level, info)) return false;
  // A failure from here on must not leave a document that nobody ends.
  try {
    if (port_.IsOpen() && port_.PortFunctions().pfnSetPortTimeOuts) connection.SetTimeouts(port_.Timeouts());
    const ULONGLONG lost = connection.TakeUnconfirmedBytes();
    if (lost > 0) {
      port_.Warn("The connection was lost after the last job of " + lastPrinter_ +
                 ". It is not known whether the printer has its last " + OString::FromUnsigned(lost) + " bytes.");
    }
    // Between jobs the connection may be the one that has the last job's bytes.
    if (job != 0) connection.BeginCount();
  } catch (...) {
    if (port_.IsOpen()) connection.EndDoc();
    throw;
  }
  return true;
}

bool DocumentControl::End(bool job) {
  if (depth_ > 0) --depth_;
  if (depth_ > 0) return true;
  if (job) lastPrinter_ = port_.JobPrinter();
  Connection& connection = port_.PrinterConnection();
  if (connection.IsNetwork()) connection.SetKeepOpen(port_.Monitoring().IsOn() && MoreJobsWait(job));
  return connection.EndDoc() || connection.IsNetwork();
}

void DocumentControl::JobEnds() {
  if (jobDepth_ > 0) --jobDepth_;
}

bool DocumentControl::BeginStatus() {
  WCHAR name[] = TEXT("Status Monitor");
  DOC_INFO_1W info = {name, nullptr, nullptr};
  if (!Begin(0, 1, reinterpret_cast<LPBYTE>(&info))) return false;
  statusThread_ = GetCurrentThreadId();
  return true;
}

void DocumentControl::EndStatus() {
  statusThread_ = 0;
  End(false);
}

/// Beside the job itself, which still counts.
bool DocumentControl::MoreJobsWait(bool job) const { return JobsQueued(port_.JobPrinter()) > (job ? 1u : 0u); }

void DocumentControl::AbandonAll() {
  const auto endDocPort = port_.PortFunctions().pfnEndDocPort;
  for (; depth_ > 0; --depth_) {
    if (endDocPort) endDocPort(port_.PortHandle());
  }
}

}  // namespace portwise
