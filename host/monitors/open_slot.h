#pragma once

#include <memory>
#include <mutex>
#include <utility>

namespace portwise {

/// What a port has open, if anything. A read that runs beside a write keeps the object that it began with, so what a
/// failed write puts away is closed only when the read is done with it. Any thread.
template <class Opened>
class OpenSlot {
 public:
  using Pointer = std::shared_ptr<Opened>;

  Pointer Get() const {
    std::lock_guard lock(mutex_);
    return opened_;
  }

  void Set(Pointer opened) {
    std::lock_guard lock(mutex_);
    std::swap(opened_, opened);
  }

  /// Puts `failed` away, unless there is another one by now.
  void Drop(const Pointer& failed) {
    Pointer dropped;
    std::lock_guard lock(mutex_);
    if (opened_ == failed) std::swap(dropped, opened_);
  }

 private:
  mutable std::mutex mutex_;
  Pointer opened_;
};

}  // namespace portwise
