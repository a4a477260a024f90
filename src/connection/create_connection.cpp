#include "connection/create_connection.h"

#include "connection/connection_generic.h"
#include "connection/connection_tcp.h"
#include "connection/port_discovery.h"

namespace portwise {
namespace {

struct ClassRow {
  bool (*suits)(PortLink* port);
  std::unique_ptr<Connection> (*create)();
};

template <class Class>
std::unique_ptr<Connection> Create() {
  return std::make_unique<Class>();
}

/// The first row that suits decides.
constexpr ClassRow kClasses[] = {
    {IsRawTcpPort, Create<Connection_TCP>},
    {[](PortLink*) { return true; }, Create<Connection_Generic>},
};

}  // namespace

bool IsRawTcpPort(PortLink* port) {
  PortAddress registered;
  if (!ReadPortAddress(port->PortName(), &registered)) return false;
  Connection_TCP connection;
  connection.SetPortContext(port);
  connection.RefreshAddress(false);
  return connection.Protocol() == kProtocolRaw;
}

std::unique_ptr<Connection> CreateConnection(PortLink* port) {
  for (const ClassRow& row : kClasses) {
    if (row.suits(port)) return row.create();
  }
  return nullptr;
}

}  // namespace portwise
