#include "monitor/port_list.h"

#include <memory>

#include "monitor/network_service.h"
#include "monitor/spooler_queries.h"
#include "settings/printer_info.h"

namespace portwise {
namespace {

PortList* portList = nullptr;

}  // namespace

PortList* Ports() { return portList; }

void CreatePortList() {
  if (!portList) portList = new PortList;
}

void DestroyPortList() {
  delete portList;
  portList = nullptr;
}

PortContext* PortList::Create(const OString& portName) {
  auto context = std::make_unique<PortContext>(portName);
  PortContext* created;
  {
    OScopedLock lock(lock_);
    if (contexts_.Append(context.get()) < 0) throw std::bad_alloc();
    created = context.release();
  }
  if (NetworkService* service = TheNetworkService()) service->Start();
  return created;
}

void PortList::Remove(PortContext* context) {
  std::unique_ptr<PortContext> removed;
  OScopedLock lock(lock_);
  const int index = contexts_.Find(context);
  if (index >= 0) removed.reset(contexts_.Detach(index));
}

PortUse PortList::FindByPortName(const OString& name) {
  OScopedLock lock(lock_);
  for (PortContext* context : contexts_) {
    if (name != "*" && !context->PortName().EqualsNoCase(name)) continue;
    if (PortUse use(context); use) return use;
  }
  return PortUse();
}

PortUse PortList::FindByPrinterName(const OString& printer) {
  if (printer == "*") return FindByPortName(printer);
  const OString port = PrinterInfo(printer).portName;
  if (port.IsEmpty()) return PortUse();
  PortUse use = FindByPortName(port);
  NetworkService* const service = TheNetworkService();
  if (!use && service) {
    service->OpenPortOf(printer);
    use = FindByPortName(port);
  }
  if (use) use.Get()->SetPrinterName(printer);
  return use;
}

PortUse PortList::FindByShareName(const OString& share) {
  const OString printer = PrinterOfShare(share);
  return printer.IsEmpty() ? PortUse() : FindByPrinterName(printer);
}

int PortList::Size() {
  OScopedLock lock(lock_);
  return contexts_.Size();
}

}  // namespace portwise
