#include "monitor/port_list.h"

#include <memory>

#include "monitor/spooler_queries.h"

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
  OScopedLock lock(lock_);
  if (contexts_.Append(context.get()) < 0) throw std::bad_alloc();
  return context.release();
}

void PortList::Remove(PortContext* context) {
  std::unique_ptr<PortContext> removed;
  OScopedLock lock(lock_);
  const int index = contexts_.Find(context);
  if (index >= 0) removed.reset(contexts_.Detach(index));
}

PortContext* PortList::FindByPortName(const OString& name) {
  OScopedLock lock(lock_);
  for (PortContext* context : contexts_) {
    if (context->IsReady() && (name == "*" || context->PortName().EqualsNoCase(name))) return context;
  }
  return nullptr;
}

PortContext* PortList::FindByPrinterName(const OString& printer) {
  if (printer == "*") return FindByPortName(printer);
  const OString port = PortOfPrinter(printer);
  PortContext* context = port.IsEmpty() ? nullptr : FindByPortName(port);
  if (context) context->SetPrinterName(printer);
  return context;
}

PortContext* PortList::FindByShareName(const OString& share) {
  const OString printer = PrinterOfShare(share);
  return printer.IsEmpty() ? nullptr : FindByPrinterName(printer);
}

int PortList::Size() {
  OScopedLock lock(lock_);
  return contexts_.Size();
}

}  // namespace portwise
