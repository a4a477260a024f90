#include "monitor/document_control.h"

#include <winspool.h>

#include "connection/connection.h"
#include "monitor/port_context.h"
#include "monitor/spooler_queries.h"

namespace portwise {

bool DocumentControl::Start(DWORD job, DWORD level, BYTE* info) {
  OScopedLock lock(lock_);
  const OString name = info ? OString(reinterpret_cast<const DOC_INFO_1W*>(info)->pDocName) : name_;
  if (!BeginAtConnection(job, level, info)) return false;
  if (info) {
    name_ = name;
    port_.Settings().Refresh(port_.PrinterName());
    port_.Diagnostics().Reload();
    port_.Path().BeginJob();
  }
  return true;
}

bool DocumentControl::BeginAtConnection(DWORD job, DWORD level, BYTE* info) {
  if (job != 0) job_ = job;
  if (depth_ == 0 && port_.IsOpen()) {
    Connection& connection = port_.PrinterConnection();
    if (!connection.StartDoc(job, level, info)) return false;
    // A failure from here on must not leave a document that nobody ends.
    try {
      if (port_.PortFunctions().pfnSetPortTimeOuts) connection.SetTimeouts(port_.Timeouts());
    } catch (...) {
      connection.EndDoc();
      throw;
    }
  }
  if (depth_ == 0) {
    Connection& connection = port_.PrinterConnection();
    const ULONGLONG lost = connection.TakeUnconfirmedBytes();
    if (lost > 0) {
      port_.Warn("The connection was lost after the last job. It is not known whether the printer has its last " +
                 OString::FromUnsigned(lost) + " bytes.");
    }
    connection.BeginCount();
  }
  ++depth_;
  return true;
}

void DocumentControl::End() {
  OScopedLock lock(lock_);
  bool delivered = false;
  try {
    delivered = port_.Path().EndJob();
  } catch (...) {
    EndAtConnection(false);
    throw;
  }
  EndAtConnection(delivered);
}

void DocumentControl::EndAtConnection(bool delivered) {
  if (depth_ > 0) --depth_;
  if (depth_ == 0) {
    Connection& connection = port_.PrinterConnection();
    // First the end of the connection, which tells whether the printer has everything.
    connection.EndDoc();
    const ULONGLONG unconfirmed = connection.TakeUnconfirmedBytes();
    const bool deleted = port_.JobIsDeleted();
    if (unconfirmed > 0 && !deleted) {
      WarnOfLoss(unconfirmed);
    } else if (delivered || deleted) {
      ControlJob(port_.PrinterName(), job_, connection.IsTcp() ? JOB_CONTROL_DELETE : JOB_CONTROL_SENT_TO_PRINTER);
    } else {
      port_.Warn("The end of job " + OString::FromUnsigned(job_) + " could not be delivered to the printer.");
    }
  }
  job_ = 0;
}

/// The job stays in the queue, where people see it: to print it again may double labels, to forget it may lose some.
void DocumentControl::WarnOfLoss(ULONGLONG unconfirmed) {
  port_.Warn("The connection to the printer was lost, or left without an answer, while job " +
             OString::FromUnsigned(job_) + " was printed. It is not known whether the printer has " +
             OString::FromUnsigned(unconfirmed) + " of its " + OString::FromUnsigned(port_.Path().SentBytes()) +
             " bytes.");
}

void DocumentControl::AbandonAll() {
  const auto endDocPort = port_.PortFunctions().pfnEndDocPort;
  for (; depth_ > 0; --depth_) {
    if (endDocPort) endDocPort(port_.PortHandle());
  }
}

}  // namespace portwise
