#include "host/port_queues.h"

#include <set>

#include "host/complain.h"
#include "host/names.h"
#include "host/printers.h"
#include "platform/registry/registry_control.h"
#include "platform/text.h"

namespace portwise {

void PortQueues::Dispatch() {
  HoldOrphans();
  for (const Printer& printer : ListPrinters()) WakePort(printer.port);
}

void PortQueues::HoldOrphans() {
  // A registry that cannot be read has no printers, which says nothing about them.
  if (!platform::RegistryFault().empty()) return;
  std::set<std::u16string> missing;
  std::set<std::u16string> present;
  for (const Job& listed : store_.List()) {
    std::u16string key = NameKey(listed.printer);
    if (listed.state != JobState::Queued || present.contains(key)) continue;
    if (!missing.contains(key) && FindPrinter(listed.printer)) {
      present.insert(key);
      continue;
    }
    missing.insert(key);
    store_.Change(listed.id, [](Job& job) {
      if (job.active) return;
      job.state = JobState::Held;
      job.reason = "there is no printer " + job.printer;
    });
    std::string why;
    if (!store_.Save(listed.id, &why)) Complain(why);
  }
}

void PortQueues::Wake(const std::string& printer) {
  if (auto found = FindPrinter(printer)) {
    WakePort(found->port);
  } else {
    HoldOrphans();
  }
}

void PortQueues::WakePort(const std::string& port) {
  std::lock_guard lock(mutex_);
  if (stopped_) return;
  auto& queue = queues_[NameKey(port)];
  if (queue) {
    queue->Wake();
  } else {
    queue = std::make_shared<PortQueue>(port, monitor_, store_);
  }
}

MonitorAnswer PortQueues::AskMonitor(const Printer& printer, const std::string& value, DWORD size, bool wait) {
  std::shared_ptr<PortQueue> queue;
  {
    std::lock_guard lock(mutex_);
    const auto found = queues_.find(NameKey(printer.port));
    if (found != queues_.end()) queue = found->second;
  }
  return queue ? queue->AskMonitor(value, size, wait) : MonitorAnswer();
}

void PortQueues::Reopen(const std::string& port) {
  std::lock_guard lock(mutex_);
  const auto found = queues_.find(NameKey(port));
  if (found != queues_.end()) found->second->Reopen();
}

void PortQueues::CloseUnused(const std::string& port) {
  if (!PrintersOnPort(port).empty()) return;
  std::shared_ptr<PortQueue> queue;
  {
    std::lock_guard lock(mutex_);
    auto found = queues_.find(NameKey(port));
    if (found == queues_.end()) return;
    queue = std::move(found->second);
    queues_.erase(found);
  }
  queue->Stop();
  queue->WaitStopped();
}

void PortQueues::BeginStop() {
  std::lock_guard lock(mutex_);
  stopped_ = true;
  for (auto& [port, queue] : queues_) queue->Stop();
}

bool PortQueues::Stop(std::chrono::steady_clock::time_point limit) {
  BeginStop();
  std::map<std::u16string, std::shared_ptr<PortQueue>> queues;
  {
    std::lock_guard lock(mutex_);
    queues.swap(queues_);
  }
  bool ended = true;
  for (auto& [port, queue] : queues) {
    if (queue->WaitStopped(limit)) continue;
    Complain("the print monitor does not return from port " + platform::ToUtf8(port));
    // Never destroyed, whoever else still has it.
    [[maybe_unused]] const auto* abandoned = new std::shared_ptr<PortQueue>(queue);
    ended = false;
  }
  return ended;
}

}  // namespace portwise
