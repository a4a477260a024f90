#pragma once

#include <windows.h>
#include <winspool.h>

#include <winsplp.h>  // needs the spooler's client types

#include "core/ostring.h"

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
  virtual OString PrinterName() const = 0;
  /// The handle that the port monitor's OpenPort returned; null when there is none.
  virtual HANDLE PortHandle() const = 0;
  virtual const PortMonitorFunctions& PortFunctions() const = 0;
};

}  // namespace portwise
