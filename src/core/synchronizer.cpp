#include "core/synchronizer.h"

namespace portwise {

// The mark is a count and not a flag: a holder that leaves must not clear the mark of one who waits or who has just
// got the lock.

void OSemaphore::Lock() {
  {
    OScopedLock guard(guard_);
    ++heldOrWanted_;
  }
  inner_.Lock();
}

void OSemaphore::Unlock() {
  inner_.Unlock();
  OScopedLock guard(guard_);
  --heldOrWanted_;
}

bool OSemaphore::TryLock() {
  OScopedLock guard(guard_);
  if (heldOrWanted_ > 0 || !inner_.TryLock()) return false;
  ++heldOrWanted_;
  return true;
}

}  // namespace portwise
