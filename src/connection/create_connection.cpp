#include "connection/create_connection.h"

#include "connection/connection_com.h"
#include "connection/connection_generic.h"
#include "connection/connection_parallel.h"
#include "connection/connection_tcp.h"
#include "connection/connection_usb.h"
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

template <const char* Prefix>
bool IsNumbered(PortLink* port) {
  return IsNumberedPort(Prefix, port->PortName());
}

constexpr char kParallel[] = "LPT";
constexpr char kUsb[] = "USB";
constexpr char kSerial[] = "COM";

/// The first row that suits decides.
constexpr ClassRow kClasses[] = {
    {IsRawTcpPort, Create<Connection_TCP>},
    {IsNumbered<kParallel>, Create<Connection_Parallel>},
    {IsNumbered<kUsb>, Create<Connection_USB>},
    {IsNumbered<kSerial>, Create<Connection_COM>},
    {[](PortLink*) { return true; }, Create<Connection_Generic>},
};

}  // namespace

bool IsRawTcpPort(PortLink* port) {
  PortAddress registered;
  if (!ReadPortAddress(port->PortName(), &registered)) return false;
  Connection_TCP connection;
  connection.SetPortContext(port);
  connection.RefreshAddress(false);
  return connection.NetworkAddress()->protocol == kProtocolRaw;
}

std::unique_ptr<Connection> CreateConnection(PortLink* port) {
  for (const ClassRow& row : kClasses) {
    if (row.suits(port)) return row.create();
  }
  return nullptr;
}

}  // namespace portwise
