#pragma once

#include <windows.h>

#include <memory>

namespace portwise::platform {

/// Something outside the kernel objects that signals an event, such as a socket under the event-select model. While
/// it is attached, every wait on the event also polls the source's descriptor.
class WaitSource {
 public:
  virtual ~WaitSource() = default;
  /// The descriptor that becomes readable when the source has something to report. Constant while attached.
  virtual int PollFd() const = 0;
  /// Called by a waiting thread, without any lock held, when PollFd is readable; several threads may call it at once.
  /// Returns true when the event is to be signalled. Must leave PollFd unreadable.
  virtual bool OnReadable() = 0;
};

/// Attaches `source` to an event, or detaches it; an event may have several sources. False when `event` is not an
/// event. Waits that have begun notice the change. Any thread.
bool AttachWaitSource(HANDLE event, std::shared_ptr<WaitSource> source);
bool DetachWaitSource(HANDLE event, const WaitSource* source);

}  // namespace portwise::platform
