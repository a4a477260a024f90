#pragma once

#include <windows.h>
#include <winspool.h>

#include <winsplp.h>  // needs the spooler's client types

#include <string_view>

#include "core/fault/fault_report.h"
#include "core/ostring.h"
#include "xpml/text_buffer.h"

namespace portwise {

/// The functions of the port monitor beneath a port that a connection may call, each null when the monitor lacks it.
struct PortMonitorFunctions {
  decltype(MONITOR2::pfnReadPort) pfnReadPort = nullptr;
  decltype(MONITOR2::pfnWritePort) pfnWritePort = nullptr;
  decltype(MONITOR2::pfnStartDocPort) pfnStartDocPort = nullptr;
  decltype(MONITOR2::pfnEndDocPort) pfnEndDocPort = nullptr;
  decltype(MONITOR2::pfnClosePort) pfnClosePort = nullptr;
  decltype(MONITOR2::pfnSetPortTimeOuts) pfnSetPortTimeOuts = nullptr;
  decltype(MONITOR2::pfnGetPrinterDataFromPort) pfnGetPrinterDataFromPort = nullptr;
};

/// What a connection needs of the port that owns it. Any thread that uses the connection calls it.
class PortLink {
 public:
  virtual ~PortLink() = default;
  /// The name with which the spooler opened the port.
  virtual OString PortName() const = 0;
  /// The printer of the job in progress, between jobs the one that the port prints to: a port may have several.
  virtual OString JobPrinter() const = 0;
  /// The handle that the port monitor's OpenPort returned; null when there is none.
  virtual HANDLE PortHandle() const = 0;
  virtual const PortMonitorFunctions& PortFunctions() const = 0;
  /// Runs an XPML request on the port and appends what it replies.
  virtual void ExecuteRequest(std::string_view request, TextBuffer& reply) = 0;
  /// How long the printer may take nothing of what is sent to it, and how long an answer may take, in milliseconds.
  virtual DWORD SendTimeout() = 0;
  virtual DWORD ResponseTimeout() = 0;
  /// Where the guards of the connection's own threads, and of its callers from plug-ins, report; null for nowhere.
  virtual FaultReport* Faults() = 0;
  /// The port is being closed: whatever waits for the printer is to end.
  virtual bool IsClosing() { return false; }
  /// The spooler is deleting the job in progress, or has deleted it. Asks the spooler.
  virtual bool JobIsDeleted() const { return false; }
  /// A document is open, whose end will close the connection.
  virtual bool HasDocument() const { return true; }
  /// Tells the people who look after the printer.
  virtual void Warn(const OString& text) = 0;
};

}  // namespace portwise
