#pragma once

#include "core/ostring.h"
#include "core/pointer_array.h"
#include "core/synchronizer.h"
#include "monitor/port_context.h"

namespace portwise {

/// The open ports of the process, and those that are being opened, which are not found yet. Any thread may call. The
/// find operations return a context that stays valid as long as the spooler keeps the port open; it does not close a
/// port in use.
class PortList {
 public:
  /// Adds a context for the port; the list owns it. The same port opened twice gives two contexts.
  PortContext* Create(const OString& portName);
  /// Takes the context out of the list, then destroys it; one that is not there is ignored.
  void Remove(PortContext* context);

  /// The context opened first whose port has the name, without regard to ASCII case; "*" is the first of all. Null
  /// when there is none.
  PortContext* FindByPortName(const OString& name);
  /// The context of the port that the printer prints to; it then prints for that printer. "*" is the first of all.
  PortContext* FindByPrinterName(const OString& printer);
  /// The context of the printer that is shared under the name.
  PortContext* FindByShareName(const OString& share);

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
