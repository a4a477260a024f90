#pragma once

#include "core/ostring.h"
#include "core/pointer_array.h"
#include "core/synchronizer.h"
#include "monitor/port_context.h"
#include "monitor/port_use.h"

namespace portwise {

/// The open ports of the process, and those that are being opened, which are not found yet. Any thread may call. A
/// context that is found stays open, and valid, until the caller lets it go.
class PortList {
 public:
  /// Adds a context for the port; the list owns it. The same port opened twice gives two contexts. The network service
  /// starts when it is not running and its settings have it run.
  PortContext* Create(const OString& portName);
  /// Takes the context out of the list, then destroys it; one that is not there is ignored.
  void Remove(PortContext* context);

  /// The context opened first whose port has the name, without regard to ASCII case; "*" is the first of all. None
  /// when there is none.
  PortUse FindByPortName(const OString& name);
  /// The context of the port that the printer prints to; it then prints for that printer. "*" is the first of all. The
  /// spooler is asked to open a port that is not open.
  PortUse FindByPrinterName(const OString& printer);
  /// The context of the printer that is shared under the name.
  PortUse FindByShareName(const OString& share);

  int Size();

 private:
  OCriticalSection lock_;
  OPointerArray<PortContext> contexts_;
};

/// The process's list, from the load of the library to its unload; null outside it.
PortList* Ports();
void CreatePortList();
/// Destroys the list with every context left in it, without closing their ports.
void DestroyPortList();

}  // namespace portwise
