#include "host/port_order.h"

#include <sys/stat.h>

#include <algorithm>

#include "host/monitors/line_settings.h"
#include "host/names.h"
#include "platform/home.h"
#include "platform/text.h"

namespace portwise {

using Json = nlohmann::json;

namespace {

constexpr char kUsualQueue[] = "lp";
constexpr char kUsualLine[] = "9600,n,8,1";
/// The longest queue name; daemons read the command that holds it into small buffers.
constexpr std::size_t kLongestQueue = 128;

struct ProtocolRow {
  const char* name;
  PortProtocol protocol;
  DWORD usualPort;
};

constexpr ProtocolRow kProtocols[] = {{"raw", PortProtocol::Raw, 9100}, {"lpr", PortProtocol::Lpr, 515}};

/// The kind that a device's path tells; more than one row may suit, the first counts.
struct PathRow {
  const char* beginning;
  PortKind kind;
};

constexpr PathRow kPaths[] = {
    {"/dev/usb/lp", PortKind::Usb},       {"/dev/usblp", PortKind::Usb},     {"/dev/lp", PortKind::Parallel},
    {"/dev/parport", PortKind::Parallel}, {"/dev/tty", PortKind::Serial},    {"/dev/pts/", PortKind::Serial},
    {"/dev/serial/", PortKind::Serial},   {"/dev/rfcomm", PortKind::Serial},
};

[[noreturn]] void Refuse(const std::string& reason) { throw OrderError(ERROR_INVALID_PARAMETER, reason); }

const ProtocolRow& RowOf(PortProtocol protocol) {
  return *std::find_if(std::begin(kProtocols), std::end(kProtocols),
                       [&](const ProtocolRow& row) { return row.protocol == protocol; });
}

bool IsDevice(PortKind kind) { return kind != PortKind::Tcp && kind != PortKind::File; }

PortKind DeviceKind(const std::string& path, const std::string& named) {
  if (!named.empty()) {
    const auto kind = FindKind(named);
    if (!kind || !IsDevice(*kind)) Refuse(named + " is not a kind of device; the kinds are usb, parallel and serial");
    return *kind;
  }
  for (const PathRow& row : kPaths) {
    if (path.starts_with(row.beginning)) return row.kind;
  }
  Refuse("say what kind of device " + path + " is: usb, parallel or serial");
}

void RequireDevice(const std::string& path) {
  if (path.front() != '/') Refuse("the device " + path + " is not a path that begins with /");
  struct stat status {};
  // One that is not there may be a printer that is not plugged in.
  if (stat(path.c_str(), &status) == 0 && !S_ISCHR(status.st_mode) && !S_ISFIFO(status.st_mode))
    Refuse(path + " is not a device that takes print data");
}

/// A pipe would keep the port's thread until somebody reads it.
void RequireFile(const std::string& path) {
  struct stat status {};
  if (stat(platform::LinuxPath(platform::ToUtf16(path)).c_str(), &status) == 0 && S_ISFIFO(status.st_mode))
    Refuse(path + " is a pipe; make it a device");
}

void RequireQueue(const std::string& queue) {
  if (queue.size() > kLongestQueue) Refuse("the queue name is longer than " + std::to_string(kLongestQueue) + " bytes");
  if (std::any_of(queue.begin(), queue.end(), [](unsigned char byte) { return byte <= ' ' || byte == 0x7f; }))
    Refuse("the queue name holds a space or a control character");
}

/// Where the port leads to, when the order says it.
void ApplyPlace(const Json& order, Port* port) {
  const std::string host = TextOf(order, "host"), device = TextOf(order, "device"), file = TextOf(order, "file");
  const int places = !host.empty() + !device.empty() + !file.empty();
  if (places > 1) Refuse("a port leads to one place: a host, a device or a file");
  for (const auto& [what, text] : {std::pair{"host", host}, {"device", device}, {"file", file}})
    RequireNone(TextFault(what, text));
  const std::string kind = TextOf(order, "kind");
  Port next = *port;
  if (!host.empty()) {
    next.kind = PortKind::Tcp;
    next.host = host;
  } else if (!file.empty()) {
    next.kind = PortKind::File;
    next.path = file;
  } else if (!device.empty() || (!kind.empty() && IsDevice(port->kind))) {
    next.path = device.empty() ? port->path : device;
    next.kind = DeviceKind(next.path, kind);
  }
  if (!kind.empty() && !IsDevice(next.kind)) Refuse("only a device has a kind");
  if (next.kind == port->kind) {
    *port = next;
    return;
  }
  // What the old place had besides is nothing for the new one.
  const std::string name = port->name;
  *port = {};
  port->name = name;
  port->kind = next.kind;
  (next.kind == PortKind::Tcp ? port->host : port->path) = next.kind == PortKind::Tcp ? next.host : next.path;
}

void ApplyProtocol(const Json& order, Port* port) {
  const std::string name = TextOf(order, "protocol");
  if (name.empty()) return;
  for (const ProtocolRow& row : kProtocols) {
    if (name != row.name) continue;
    // The old protocol's usual port is hardly meant to stay.
    if (port->portNumber == RowOf(port->protocol).usualPort) port->portNumber = row.usualPort;
    port->protocol = row.protocol;
    return;
  }
  Refuse(name + " is not a protocol; the protocols are raw and lpr");
}

void ApplyTcp(const Json& order, Port* port) {
  ApplyProtocol(order, port);
  if (order.contains("port")) {
    port->portNumber = static_cast<DWORD>(NumberOf(order, "port", 65535));
    if (port->portNumber == 0) Refuse("a TCP port number is 1 to 65535");
  }
  if (port->portNumber == 0) port->portNumber = RowOf(port->protocol).usualPort;
  if (port->protocol == PortProtocol::Raw) {
    if (order.contains("queue") || order.contains("byteCounting"))
      Refuse("only a port with the protocol lpr has a queue and counts bytes");
    port->queue.clear();
    return;
  }
  if (order.contains("queue")) port->queue = TextOf(order, "queue");
  if (port->queue.empty()) port->queue = kUsualQueue;
  RequireQueue(port->queue);
  if (order.contains("byteCounting")) {
    if (!order["byteCounting"].is_boolean()) Refuse("byteCounting is neither true nor false");
    port->byteCounting = order["byteCounting"];
  }
}

void ApplyLine(const Json& order, Port* port) {
  if (order.contains("line")) port->line = TextOf(order, "line");
  if (port->line.empty()) port->line = kUsualLine;
  LineSettings settings;
  std::string why;
  if (!LineSettings::Parse(port->line, &settings, &why)) Refuse(why);
}

}  // namespace

Port RequirePort(const std::string& name) {
  auto port = FindPort(name);
  if (!port) throw OrderError(ERROR_UNKNOWN_PORT, "there is no port " + name + "; 'portwise port add' makes one");
  return *port;
}

void ApplyPortOrder(const Json& order, Port* port) {
  ApplyPlace(order, port);
  if (port->host.empty() && port->path.empty()) Refuse("a port needs a host, a device or a file");
  const bool tcp = port->kind == PortKind::Tcp;
  for (const char* field : {"port", "protocol", "queue", "byteCounting"}) {
    if (!tcp && order.contains(field)) Refuse(std::string("only a port that leads to a host has a ") + field);
  }
  if (port->kind != PortKind::Serial && order.contains("line")) Refuse("only a serial port has line settings");
  if (tcp) ApplyTcp(order, port);
  if (port->kind == PortKind::Serial) ApplyLine(order, port);
  if (IsDevice(port->kind)) RequireDevice(port->path);
  if (port->kind == PortKind::File) RequireFile(port->path);
}

Json DescribePort(const Port& port) {
  Json entry{{"name", port.name}, {"kind", KindName(port.kind)}};
  if (port.kind == PortKind::Tcp) {
    entry["host"] = port.host;
    entry["port"] = port.portNumber;
    entry["protocol"] = RowOf(port.protocol).name;
  } else {
    entry[port.kind == PortKind::File ? "file" : "device"] = port.path;
  }
  if (port.protocol == PortProtocol::Lpr) {
    entry["queue"] = port.queue;
    entry["byteCounting"] = port.byteCounting;
  }
  if (port.kind == PortKind::Serial) entry["line"] = port.line;
  return entry;
}

}  // namespace portwise
