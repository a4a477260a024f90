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
