#include "host/names.h"
#include "host/port_order.h"
#include "host/spooler.h"

/// The spooler's orders on ports.
namespace portwise {

using platform::Message;

Spooler::Json Spooler::Describe(const Port& port) {
  Json entry = DescribePort(port);
  entry["printers"] = PrintersOnPort(port.name);
  return entry;
}

Message Spooler::PortList(const Message&) {
  Json list = Json::array();
  for (const Port& port : ListPorts()) list.push_back(Describe(port));
  return ListReply(list);
}

Message Spooler::PortGet(const Message& request) {
  const Json& order = request.head;
  Json head = Describe(RequirePort(TextOf(order, "name")));
  head["error"] = 0u;
  return {head, {}};
}

Message Spooler::PortAdd(const Message& request) {
  const Json& order = request.head;
  std::lock_guard lock(setupMutex_);
  Port port;
  port.name = TextOf(order, "name");
  RequireNone(NameOrRemoteFault("port", port.name));
  ApplyPortOrder(order, &port);
  if (FindPort(port.name)) throw OrderError(ERROR_ALREADY_EXISTS, "there is a port " + port.name + " already");
  RequireSaved(SavePort(port));
  queues_.Dispatch();
  return Carried();
}

Message Spooler::PortSet(const Message& request) {
  const Json& order = request.head;
  std::lock_guard lock(setupMutex_);
  const Port before = RequirePort(TextOf(order, "name"));
  Port port = before;
  ApplyPortOrder(order, &port);
  const bool reopen = !port.IsReachedAs(before);
  // The rest of a job cannot go another way than its beginning.
  for (const std::string& printer : PrintersOnPort(port.name)) {
    if (reopen && store_->HasJobs(NameKey(printer), true))
      throw OrderError(ERROR_BUSY, "printer " + printer + " is printing; change the port when the job is done");
  }
  RequireSaved(SavePort(port));
  if (reopen) queues_.Reopen(port.name);
  queues_.Dispatch();
  return Carried();
}

Message Spooler::PortRemove(const Message& request) {
  const Json& order = request.head;
  std::unique_lock lock(setupMutex_);
  Port port = RequirePort(TextOf(order, "name"));
  std::vector<std::string> printers = PrintersOnPort(port.name);
  if (!printers.empty())
    throw OrderError(ERROR_BUSY, "printer " + printers.front() + " uses port " + port.name + "; remove it first");
  RequireSaved(RemovePort(port));
  lock.unlock();
  queues_.CloseUnused(port.name);
  return Carried();
}

}  // namespace portwise
