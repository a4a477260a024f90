#include "host/monitors/port_monitor.h"

#include "host/monitors/file_port_monitor.h"
#include "host/monitors/tcp_port_monitor.h"
#include "host/ports.h"

namespace portwise {

std::optional<PortMonitor> FindPortMonitor(const std::string& port) {
  auto found = FindPort(port);
  if (!found) return std::nullopt;
  return found->kind == PortKind::File ? FilePortMonitor() : TcpPortMonitor();
}

}  // namespace portwise
