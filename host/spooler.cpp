#include "host/spooler.h"

#include <winspool.h>

#include <cstring>
#include <type_traits>

#include "host/job_control.h"
#include "host/job_info.h"
#include "host/monitors/find_port_monitor.h"
#include "host/names.h"
#include "host/printer_data_orders.h"
#include "host/printers.h"

namespace portwise {

using platform::Message;

namespace {

OrderError NoSuchOrder(const std::string& name) {
  return OrderError(ERROR_INVALID_FUNCTION, "there is no order " + name);
}

}  // namespace

template <auto kCarry>
Message Spooler::As(Spooler& spooler, const Message& request, bool local) {
  if constexpr (std::is_invocable_v<decltype(kCarry), const Message&>) {
    return kCarry(request);
  } else if constexpr (std::is_invocable_v<decltype(kCarry), Spooler&, const Message&>) {
    return (spooler.*kCarry)(request);
  } else {
    return (spooler.*kCarry)(request, local);
  }
}

const Spooler::Operation Spooler::kOperations[] = {
    {"printer-list", As<&Spooler::PrinterList>},
    {"printer-get", As<&Spooler::PrinterGet>},
    {"printer-add", As<&Spooler::PrinterAdd>},
    {"printer-set", As<&Spooler::PrinterSet>},
    {"printer-status-set", As<&Spooler::PrinterStatusSet>},
    {"printer-remove", As<&Spooler::PrinterRemove>},
    {"printer-data-get", As<&Spooler::PrinterDataGet>},
    {"printer-data-set", As<SetPrinterData>},
    {"printer-data-delete", As<DeletePrinterData>},
    {"printer-data-list", As<ListPrinterData>},
    {"driver-get", As<GetDriverOf>},
    {"port-list", As<&Spooler::PortList>},
    {"port-get", As<&Spooler::PortGet>},
    {"port-add", As<&Spooler::PortAdd>},
    {"port-set", As<&Spooler::PortSet>},
    {"port-remove", As<&Spooler::PortRemove>},
    {"job-list", As<&Spooler::JobList>},
    {"job-get", As<&Spooler::JobGet>},
    {"job-set", As<&Spooler::JobSet>},
    {"job-control", As<&Spooler::JobControl>},
    {"job-report", As<&Spooler::JobReport>},
};

std::unique_ptr<Spooler> Spooler::Start(const std::string& home, std::string* why) {
  auto store = JobStore::Open(home, why);
  if (!store) return nullptr;
  auto monitor = MonitorLibrary::Load(why);
  if (!monitor) return nullptr;
  std::unique_ptr<Spooler> spooler(new Spooler(std::move(monitor), std::move(store)));
  platform::SetLocalSpooler(spooler.get());
  spooler->queues_.Dispatch();
  return spooler;
}

Spooler::Spooler(std::unique_ptr<MonitorLibrary> monitor, std::unique_ptr<JobStore> store)
    : monitor_(std::move(monitor)), store_(std::move(store)), queues_(*monitor_, *store_) {}

void Spooler::BeginStop() {
  // First, or the next job would begin, only to find that it may not wait.
  queues_.BeginStop();
  EndPortWaits();
}

bool Spooler::Stop(std::chrono::steady_clock::time_point limit) {
  BeginStop();
  if (!queues_.Stop(limit)) return false;
  monitor_->Shutdown();
  platform::SetLocalSpooler(nullptr);
  return true;
}

Message Spooler::Carry(const Message& request, bool local) {
  try {
    const std::string name = TextOf(request.head, "op");
    for (const Operation& operation : kOperations) {
      if (name == operation.name) return operation.carryOut(*this, request, local);
    }
    throw NoSuchOrder(name);
  } catch (const OrderError& error) {
    return platform::Failure(error.Code(), error.what());
  } catch (const std::bad_alloc&) {
    return platform::Failure(ERROR_OUTOFMEMORY, "the spooler is out of memory");
  } catch (const std::exception& error) {
    return platform::Failure(ERROR_INTERNAL_ERROR, error.what());
  }
}

std::unique_ptr<Submission> Spooler::BeginJob(const Json& order) {
  std::lock_guard lock(setupMutex_);
  Job job;
  job.printer = RequirePrinter(order, "printer").name;
  job.document = TextOf(order, "document");
  job.user = TextOf(order, "user");
  job.machine = TextOf(order, "machine");
  for (const std::string* text : {&job.document, &job.user, &job.machine}) RequireNone(TextFault("job's text", *text));
  std::string why;
  auto submission = store_->Begin(job, &why);
  if (!submission) throw OrderError(ERROR_CANTWRITE, why);
  return submission;
}

void Spooler::JobArrived(DWORD id) {
  if (auto job = store_->Find(id)) queues_.Wake(job->printer);
}

Spooler::Json Spooler::Describe(const Job& job) {
  Json description = ToRecord(job);
  description["state"] = StateName(job);
  description["reason"] = job.reason;
  description["taken"] = job.taken;
  description["status"] = StatusFlags(job);
  description["statusText"] = job.statusText;
  return description;
}

Job Spooler::RequireJob(const Json& order) {
  auto id = static_cast<DWORD>(NumberOf(order, "job", UINT32_MAX));
  auto job = store_->Find(id);
  std::string printer = TextOf(order, "printer");
  if (job && (printer.empty() || NameKey(printer) == NameKey(job->printer))) return *job;
  if (!printer.empty() && !FindPrinter(printer))
    throw OrderError(ERROR_INVALID_PRINTER_NAME, "there is no printer " + printer);
  throw OrderError(ERROR_INVALID_PARAMETER,
                   "there is no job " + std::to_string(id) + (printer.empty() ? "" : " on printer " + printer));
}

Message Spooler::JobList(const Message& request) {
  const Json& order = request.head;
  // A page of this many descriptions stays far below the bound of a message body.
  constexpr std::size_t kPage = 500;
  auto after = static_cast<DWORD>(NumberOf(order, "after", UINT32_MAX));
  std::u16string printer = NameKey(TextOf(order, "printer"));
  if (!printer.empty() && !FindPrinter(TextOf(order, "printer")))
    throw OrderError(ERROR_INVALID_PRINTER_NAME, "there is no printer " + TextOf(order, "printer"));
  std::vector<Job> jobs = store_->List(after, kPage);
  Json list = Json::array();
  for (const Job& job : jobs) {
    if (printer.empty() || NameKey(job.printer) == printer) list.push_back(Describe(job));
  }
  Json head{{"error", 0u}, {"more", jobs.size() == kPage}, {"last", jobs.empty() ? after : jobs.back().id}};
  return {head, list.dump(-1, ' ', false, Json::error_handler_t::replace)};
}

Message Spooler::JobGet(const Message& request) {
  const Json& order = request.head;
  constexpr const char* kOutcomes[] = {"unknown", "printed", "deleted"};
  auto id = static_cast<DWORD>(NumberOf(order, "job", UINT32_MAX));
  try {
    Job job = RequireJob(order);
    Json description = Describe(job);
    const auto printer = FindPrinter(job.printer);
    description["driver"] = printer ? printer->driver : std::string();
    description["position"] = store_->Count(NameKey(job.printer), job.id);
    description["error"] = 0u;
    return {description, {}};
  } catch (const OrderError& error) {
    Message reply = platform::Failure(error.Code(), error.what());
    reply.head["outcome"] = kOutcomes[static_cast<int>(store_->Outcome(id))];
    return reply;
  }
}

Message Spooler::JobSet(const Message& request) {
  const Job job = RequireJob(request.head);
  SetJobInfo(*store_, job.id, static_cast<DWORD>(store_->Count(NameKey(job.printer), job.id)), request.head);
  return Carried();
}

Message Spooler::JobControl(const Message& request, bool local) {
  Job job = RequireJob(request.head);
  std::string why;
  auto command = static_cast<DWORD>(NumberOf(request.head, "command", UINT32_MAX));
  DWORD error = ControlJob(*store_, job.id, command, local, &why);
  queues_.Wake(job.printer);
  if (error != ERROR_SUCCESS) throw OrderError(error, why);
  return {{{"error", 0u}}, {}};
}

/// Printer data that is asked for by its size, as the functions of the spooler's clients do, comes from the monitor of
/// the printer's port if that has it: it is the way in which drivers talk to their monitor.
Message Spooler::PrinterDataGet(const Message& request, bool local) {
  const Json& order = request.head;
  MonitorAnswer answer;
  const bool asked = order.contains("size") && NameKey(TextOf(order, "key")) == NameKey(kDriverDataKey);
  if (asked) {
    const auto size = static_cast<DWORD>(NumberOf(order, "size", UINT32_MAX));
    // One who calls from inside a monitor may be the one that opens the port.
    answer = queues_.AskMonitor(RequirePrinter(order, "printer"), TextOf(order, "value"), size, !local);
    if (answer.given) return {{{"error", 0u}, {"type", DWORD{REG_BINARY}}}, answer.data};
  }
  try {
    return GetPrinterData(request);
  } catch (const OrderError& error) {
    if (error.Code() != ERROR_FILE_NOT_FOUND || !asked) throw;
    if (answer.needed > 0) return {{{"error", 0u}, {"type", DWORD{REG_BINARY}}, {"needed", answer.needed}}, {}};
    if (!answer.asked && !answer.fault.empty()) throw OrderError(ERROR_NOT_READY, answer.fault);
    throw;
  }
}

/// The word of a port on the job that it is running: an order of the monitor's alone.
Message Spooler::JobReport(const Message& request, bool local) {
  const Json& order = request.head;
  if (!local) throw NoSuchOrder(TextOf(order, "op"));
  const Job job = RequireJob(order);
  const std::string reason = TextOf(order, "reason");
  const std::string undelivered = TextOf(order, "undelivered");
  store_->Change(job.id, [&](Job& entry) {
    if (!entry.active) return;
    if (!reason.empty()) entry.reason = reason;
    if (!undelivered.empty()) entry.undelivered = undelivered;
  });
  return {{{"error", 0u}}, {}};
}

}  // namespace portwise
