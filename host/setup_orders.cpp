#include <winspool.h>

#include "host/drivers.h"
#include "host/names.h"
#include "host/port_order.h"
#include "host/spooler.h"

/// The spooler's orders on printers.
namespace portwise {

using platform::Message;

namespace {

using Json = nlohmann::json;

constexpr char kNoDriver[] = "Label printer";

struct {
  const char* field;
  std::string Printer::*member;
} constexpr kTexts[] = {
    {"server", &Printer::server},     {"share", &Printer::share},           {"comment", &Printer::comment},
    {"location", &Printer::location}, {"separator", &Printer::separator},   {"processor", &Printer::processor},
    {"datatype", &Printer::datatype}, {"parameters", &Printer::parameters},
};

/// "driver" and "data" are files of a driver, which is registered under "driverName" or the file's own name;
/// "driverName" alone is a driver that is registered.
void ApplyDriver(const Json& order, Printer* printer) {
  std::string name = TextOf(order, "driverName");
  if (std::string file = TextOf(order, "driver"); !file.empty()) {
    RequireNone(TextFault("driver", file));
    RequireNone(TextFault("data file", TextOf(order, "data")));
    if (name.empty()) name = DriverNameOfFile(file);
    RequireNone(NameFault("driver", name));
    RequireSaved(SaveDriver(name, file, TextOf(order, "data")));
  } else if (!name.empty() && NameKey(name) != NameKey(printer->driver) && !FindDriver(name)) {
    throw OrderError(ERROR_UNKNOWN_PRINTER_DRIVER, "there is no driver " + name + "; give its file with --driver");
  }
  if (!name.empty()) printer->driver = name;
}

/// Sets what the order and its body name of the printer, and leaves the rest.
void Apply(const Message& request, Printer* printer) {
  const Json& order = request.head;
  if (order.contains("port")) printer->port = RequirePort(TextOf(order, "port")).name;
  for (const auto& text : kTexts) {
    if (!order.contains(text.field)) continue;
    printer->*text.member = TextOf(order, text.field);
    RequireNone(TextFault(text.field, printer->*text.member));
  }
  if (!printer->server.empty() && order.contains("server")) {
    printer->server.erase(0, printer->server.find_first_not_of('\\'));
    RequireNone(NameFault("server", printer->server));
    printer->server.insert(0, "\\\\");
  }
  if (order.contains("attributes")) {
    printer->attributes = static_cast<DWORD>(NumberOf(order, "attributes", UINT32_MAX));
    if ((printer->attributes & PRINTER_ATTRIBUTE_SHARED) && printer->share.empty())
      throw OrderError(ERROR_INVALID_SHARENAME, "a printer is shared under a name; give it one with --share");
  }
  if (!request.body.empty()) printer->devMode = request.body;
  ApplyDriver(order, printer);
}

}  // namespace

Spooler::Json Spooler::Describe(const Printer& printer) {
  Json description{{"name", printer.name},
                   {"port", printer.port},
                   {"driver", printer.driver},
                   {"attributes", printer.attributes},
                   {"jobs", store_->Count(NameKey(printer.name))}};
  for (const auto& text : kTexts) description[text.field] = printer.*text.member;
  const auto status = statusWords_.Find(printer.name);
  description["status"] = status.value_or(0);
  description["statusKnown"] = status.has_value();
  return description;
}

Message Spooler::PrinterList(const Message&) {
  Json list = Json::array();
  for (const Printer& printer : ListPrinters()) list.push_back(Describe(printer));
  return ListReply(list);
}

Message Spooler::PrinterGet(const Message& request) {
  Printer printer = RequirePrinter(request.head, "name");
  Json head = Describe(printer);
  head["error"] = 0u;
  return {head, printer.devMode};
}

Message Spooler::PrinterAdd(const Message& request) {
  const Json& order = request.head;
  std::lock_guard lock(setupMutex_);
  Printer printer;
  printer.name = TextOf(order, "name");
  printer.driver = kNoDriver;
  RequireNone(NameOrRemoteFault("printer", printer.name));
  printer.processor = "winprint";
  printer.datatype = "RAW";
  printer.attributes = IsRemoteName(printer.name) ? PRINTER_ATTRIBUTE_NETWORK : PRINTER_ATTRIBUTE_LOCAL;
  if (FindPrinter(printer.name))
    throw OrderError(ERROR_PRINTER_ALREADY_EXISTS, "there is a printer " + printer.name + " already");
  printer.port = RequirePort(TextOf(order, "port")).name;
  // A driver brings a language monitor, which talks with the printer.
  if (!TextOf(order, "driver").empty() || !TextOf(order, "driverName").empty())
    printer.attributes |= PRINTER_ATTRIBUTE_ENABLE_BIDI;
  Apply(request, &printer);
  RequireSaved(SavePrinter(printer));
  queues_.Dispatch();
  return Carried();
}

Message Spooler::PrinterSet(const Message& request) {
  const Json& order = request.head;
  RequireAdminister(order);
  std::unique_lock lock(setupMutex_);
  Printer printer = RequirePrinter(order, "name");
  std::string oldPort = printer.port;
  Apply(request, &printer);
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
  return Carried();
}

Message Spooler::PrinterStatusSet(const Message& request) {
  const Json& order = request.head;
  RequireAdminister(order);
  const auto status = static_cast<DWORD>(NumberOf(order, "status", UINT32_MAX));
  // A printer that is removed meanwhile must not leave its word to the next one of that name.
  std::lock_guard lock(setupMutex_);
  statusWords_.Set(RequirePrinter(order, "name").name, status);
  return Carried();
}

Message Spooler::PrinterRemove(const Message& request) {
  const Json& order = request.head;
  std::unique_lock lock(setupMutex_);
  Printer printer = RequirePrinter(order, "name");
  if (store_->HasJobs(NameKey(printer.name)))
    throw OrderError(ERROR_PRINTER_HAS_JOBS_QUEUED, "printer " + printer.name + " has jobs; cancel them first");
  RequireSaved(RemovePrinter(printer.name));
  statusWords_.Remove(printer.name);
  lock.unlock();
  queues_.CloseUnused(printer.port);
  return Carried();
}

}  // namespace portwise
