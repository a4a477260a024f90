#pragma once

#include <windows.h>

#include <memory>
#include <span>
#include <vector>

#include "platform/kernel/handle_table.h"
#include "platform/kernel/wait_source.h"

namespace portwise::platform {

struct Waiter;

/// A kernel object that threads wait for. All functions may be called from any thread.
///
/// The state is a flag, and each blocked thread has an eventfd of its own that whoever changes one of its objects
/// writes to. So one poll waits for any number of objects and sources, and an object that nobody waits for costs no
/// descriptor. A single lock guards the states of all objects, so that a wait for several takes them in one step.
class Waitable : public KernelObject {
 public:
  /// Without `manualReset`, each wait that ends because of the object takes its signal away.
  Waitable(bool manualReset, bool signalled) : manualReset_(manualReset), signalled_(signalled) {}

  void Signal();
  void Reset();

  /// Adding a source that is there already changes nothing.
  void AddSource(std::shared_ptr<WaitSource> source);
  /// False when the source was not attached. A call of its OnReadable that has begun may still be running, but signals
  /// nothing any more.
  bool RemoveSource(const WaitSource* source);

 private:
  friend class Wait;

  void SignalFrom(const WaitSource* source);
  void WakeWaiters();

  const bool manualReset_;
  bool signalled_;
  std::vector<Waiter*> waiters_;
  std::vector<std::shared_ptr<WaitSource>> sources_;
};

/// What WaitForMultipleObjects does once its arguments are checked: WAIT_OBJECT_0 + index, WAIT_TIMEOUT, or WAIT_FAILED
/// when no descriptor can be had. Objects may occur twice unless `all`.
DWORD WaitFor(std::span<const std::shared_ptr<Waitable>> objects, bool all, DWORD milliseconds);

}  // namespace portwise::platform
