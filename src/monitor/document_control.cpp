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
  ++depth_;
  return true;
}

void DocumentControl::End() {
  OScopedLock lock(lock_);
  try {
    port_.Path().EndJob();
  } catch (...) {
    EndAtConnection();
    throw;
  }
  EndAtConnection();
}

void DocumentControl::EndAtConnection() {
  if (depth_ > 0) --depth_;
  if (depth_ == 0) {
    Connection& connection = port_.PrinterConnection();
    try {
      ControlJob(port_.PrinterName(), job_, connection.IsTcp() ? JOB_CONTROL_DELETE : JOB_CONTROL_SENT_TO_PRINTER);
    } catch (...) {
      connection.EndDoc();
      throw;
    }
    connection.EndDoc();
  }
  job_ = 0;
}

void DocumentControl::AbandonAll() {
  const auto endDocPort = port_.PortFunctions().pfnEndDocPort;
  for (; depth_ > 0; --depth_) {
    if (endDocPort) endDocPort(port_.PortHandle());
  }
}

}  // namespace portwise
