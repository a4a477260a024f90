#include <winspool.h>

#include "host/names.h"
#include "host/ports.h"
#include "host/spooler.h"

/// The spooler's orders on printers and ports.
namespace portwise {

using platform::Message;

namespace {

using Json = nlohmann::json;

constexpr char kNoDriver[] = "Label printer";

Message Done() { return {{{"error", 0u}}, {}}; }

Message ListReply(const Json& list) {
  return {{{"error", 0u}}, list.dump(-1, ' ', false, Json::error_handler_t::replace)};
}

Printer RequirePrinter(const Json& order) {
  auto printer = FindPrinter(TextOf(order, "name"));
  if (!printer) throw OrderError(ERROR_INVALID_PRINTER_NAME, "there is no printer " + TextOf(order, "name"));
  return *printer;
}

Port RequirePort(const std::string& name) {
  auto port = FindPort(name);
  if (!port) throw OrderError(ERROR_UNKNOWN_PORT, "there is no port " + name + "; 'portwise port add' makes one");
  return *port;
}

/// Sets what the order names of the printer, and leaves the rest.
void Apply(const Json& order, Printer* printer) {
  struct {
    const char* field;
    std::string Printer::*member;
  } constexpr kTexts[] = {{"share", &Printer::share}, {"comment", &Printer::comment}, {"location", &Printer::location}};
  if (order.contains("port")) printer->port = RequirePort(TextOf(order, "port")).name;
  for (const auto& text : kTexts) {
    if (!order.contains(text.field)) continue;
    printer->*text.member = TextOf(order, text.field);
    RequireNone(TextFault(text.field, printer->*text.member));
  }
  if (std::string driver = TextOf(order, "driver"); !driver.empty()) {
    RequireNone(TextFault("driver", driver));
    RequireNone(TextFault("data file", TextOf(order, "data")));
    printer->driver = SaveDriver(driver, TextOf(order, "data"));
    RequireSaved(!printer->driver.empty());
  }
}

}  // namespace

Spooler::Json Spooler::Describe(const Printer& printer) {
  std::size_t jobs = store_->Count(NameKey(printer.name));
  return {{"name", printer.name},
          {"port", printer.port},
          {"driver", printer.driver},
          {"share", printer.share},
          {"comment", printer.comment},
          {"location", printer.location},
          {"attributes", printer.attributes},
          {"jobs", jobs}};
}

Message Spooler::PrinterList(const Json&) {
  Json list = Json::array();
  for (const Printer& printer : ListPrinters()) list.push_back(Describe(printer));
  return ListReply(list);
}

Message Spooler::PrinterGet(const Json& order) {
  Json head = Describe(RequirePrinter(order));
  head["error"] = 0u;
  return {head, {}};
}

Message Spooler::PrinterAdd(const Json& order) {
  std::lock_guard lock(setupMutex_);
  Printer printer;
  printer.name = TextOf(order, "name");
  printer.driver = kNoDriver;
  RequireNone(NameFault("printer", printer.name));
  if (FindPrinter(printer.name))
    throw OrderError(ERROR_PRINTER_ALREADY_EXISTS, "there is a printer " + printer.name + " already");
  printer.port = RequirePort(TextOf(order, "port")).name;
  Apply(order, &printer);
  RequireSaved(SavePrinter(printer));
  queues_.Dispatch();
  return Done();
}

Message Spooler::PrinterSet(const Json& order) {
  std::unique_lock lock(setupMutex_);
  Printer printer = RequirePrinter(order);
  std::string oldPort = printer.port;
  Apply(order, &printer);
  bool moved = NameKey(oldPort) != NameKey(printer.port);
  // The job in progress would go on at the old port, and the next one overtake it.
  if (moved && store_->HasJobs(NameKey(printer.name), true))
    throw OrderError(ERROR_BUSY, "the printer is printing; move it when the job is done");
  RequireSaved(SavePrinter(printer));
  queues_.Dispatch();
  // A job that began at the old port at the last moment ends there.
  bool close = moved && !store_->HasJobs(NameKey(printer.name), true);
  lock.unlock();
  if (close) queues_.CloseUnused(oldPort);
  return Done();
}

Message Spooler::PrinterRemove(const Json& order) {
  std::unique_lock lock(setupMutex_);
  Printer printer = RequirePrinter(order);
  if (store_->HasJobs(NameKey(printer.name)))
    throw OrderError(ERROR_PRINTER_HAS_JOBS_QUEUED, "printer " + printer.name + " has jobs; cancel them first");
  RequireSaved(RemovePrinter(printer.name));
  lock.unlock();
  queues_.CloseUnused(printer.port);
  return Done();
}

Message Spooler::PortList(const Json&) {
  Json list = Json::array();
  for (const Port& port : ListPorts()) {
    Json entry{{"name", port.name}, {"printers", PrintersOnPort(port.name)}};
    if (port.kind == PortKind::File) {
      entry["file"] = port.file;
    } else {
      entry["host"] = port.host;
      entry["port"] = port.portNumber;
    }
    list.push_back(entry);
  }
  return ListReply(list);
}

Message Spooler::PortAdd(const Json& order) {
  std::lock_guard lock(setupMutex_);
  Port port;
  port.name = TextOf(order, "name");
  port.host = TextOf(order, "host");
  port.file = TextOf(order, "file");
  RequireNone(NameFault("port", port.name));
  RequireNone(TextFault("host", port.host));
  RequireNone(TextFault("file", port.file));
  if (port.host.empty() == port.file.empty())
    throw OrderError(ERROR_INVALID_PARAMETER, "a port needs either a host or a file");
  port.kind = port.host.empty() ? PortKind::File : PortKind::Tcp;
  if (port.kind == PortKind::Tcp) port.portNumber = static_cast<DWORD>(NumberOf(order, "port", 65535));
  if (port.kind == PortKind::Tcp && port.portNumber == 0)
    throw OrderError(ERROR_INVALID_PARAMETER, "a TCP port number is 1 to 65535");
  if (FindPort(port.name)) throw OrderError(ERROR_ALREADY_EXISTS, "there is a port " + port.name + " already");
  RequireSaved(SavePort(port));
  queues_.Dispatch();
  return Done();
}

Message Spooler::PortRemove(const Json& order) {
  std::unique_lock lock(setupMutex_);
  Port port = RequirePort(TextOf(order, "name"));
  std::vector<std::string> printers = PrintersOnPort(port.name);
  if (!printers.empty())
    throw OrderError(ERROR_BUSY, "printer " + printers.front() + " uses port " + port.name + "; remove it first");
  RequireSaved(RemovePort(port));
  lock.unlock();
  queues_.CloseUnused(port.name);
  return Done();
}

}  // namespace portwise
