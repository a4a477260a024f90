#pragma once

#include <windows.h>

namespace portwise {

/// A lock. The same thread may take it again and must then release it as often.
class OSynchronizer {
 public:
  OSynchronizer() = default;
  OSynchronizer(const OSynchronizer&) = delete;
  OSynchronizer& operator=(const OSynchronizer&) = delete;
  virtual ~OSynchronizer() = default;
  virtual void Lock() = 0;
  virtual void Unlock() = 0;
};

class OCriticalSection : public OSynchronizer {
 public:
  OCriticalSection() { InitializeCriticalSection(&section_); }
  ~OCriticalSection() override { DeleteCriticalSection(&section_); }
  void Lock() override { EnterCriticalSection(&section_); }
  void Unlock() override { LeaveCriticalSection(&section_); }
  bool TryLock() { return TryEnterCriticalSection(&section_) != FALSE; }

 private:
  CRITICAL_SECTION section_;
};

/// A lock that can be asked for without waiting, and that then gives way: TryLock fails as soon as anybody holds the
/// lock or waits for it, the calling thread included, so a patient user never delays an urgent one.
class OSemaphore : public OSynchronizer {
 public:
  void Lock() override;
  void Unlock() override;
  bool TryLock();

 private:
  OCriticalSection inner_;
  OCriticalSection guard_;
  int heldOrWanted_ = 0;  // under guard_
};

/// Holds a lock for a scope.
///
/// A processor fault unlocks it only where the compiler expects an exception: in an instruction of C++ that reads,
/// writes or divides, and inside calls of functions that may throw. A fault in a call that cannot throw (memcpy, say,
/// or a noexcept function), in a std::atomic or in inline assembly passes the function that makes it, and the lock
/// stays locked. So a function that holds a lock does none of these itself on memory which may be bad: it reads such
/// memory before it locks, or leaves it to a function of its own that may throw and is not inlined.
class OScopedLock {
 public:
  explicit OScopedLock(OSynchronizer& lock) : lock_(lock) { lock_.Lock(); }
  ~OScopedLock() { lock_.Unlock(); }
  OScopedLock(const OScopedLock&) = delete;
  OScopedLock& operator=(const OScopedLock&) = delete;

 private:
  OSynchronizer& lock_;
};

}  // namespace portwise
