#include "host/monitors/find_port_monitor.h"

#include "host/monitors/device_port_monitors.h"
#include "host/monitors/file_port_monitor.h"
#include "host/monitors/job_watch.h"
#include "host/monitors/lpr_port_monitor.h"
#include "host/monitors/tcp_port_monitor.h"
#include "host/ports.h"

namespace portwise {

namespace {

struct MonitorRow {
  PortKind kind;
  PortProtocol protocol;
  PortMonitor (*monitor)();
};

constexpr MonitorRow kMonitors[] = {
    {PortKind::Tcp, PortProtocol::Raw, TcpPortMonitor},
    {PortKind::Tcp, PortProtocol::Lpr, LprPortMonitor},
    {PortKind::Usb, PortProtocol::Raw, UsbPortMonitor},
    {PortKind::Parallel, PortProtocol::Raw, ParallelPortMonitor},
    {PortKind::Serial, PortProtocol::Raw, SerialPortMonitor},
    {PortKind::File, PortProtocol::Raw, FilePortMonitor},
};

}  // namespace

std::optional<PortMonitor> FindPortMonitor(const std::string& port) {
  const auto found = FindPort(port);
  if (!found) return std::nullopt;
  for (const MonitorRow& row : kMonitors) {
    if (row.kind == found->kind && row.protocol == found->protocol) return row.monitor();
  }
  return std::nullopt;
}

void EndPortWaits() { JobWatch::StopAll(); }

}  // namespace portwise
