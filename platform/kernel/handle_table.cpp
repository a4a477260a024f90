#include "platform/kernel/handle_table.h"

#include <deque>
#include <mutex>
#include <vector>

#include "platform/kernel/fail.h"

namespace portwise::platform {
namespace {

// A handle is (generation << 16 | slot + 1) * 4. The generation goes up each time that the slot's handle is closed, so
// a stale handle is mistaken for another one only after 8192 reuses of its slot.
constexpr ULONG_PTR kSlotBits = 16;
constexpr ULONG_PTR kMaxSlots = (1u << kSlotBits) - 1;
constexpr ULONG_PTR kGenerations = 1u << 13;

struct Slot {
  std::shared_ptr<KernelObject> object;
  ULONG_PTR generation = 0;
};

class HandleTable {
 public:
  HANDLE Open(std::shared_ptr<KernelObject> object) {
    std::lock_guard lock(mutex_);
    ULONG_PTR index = slots_.size();
    // Slots are taken again in the order in which they became free, which keeps stale handles stale for longest.
    if (!free_.empty()) {
      index = free_.front();
      free_.pop_front();
    } else if (index < kMaxSlots) {
      slots_.emplace_back();
    } else {
      SetLastError(ERROR_TOO_MANY_OPEN_FILES);
      return nullptr;
    }
    slots_[index].object = std::move(object);
    return HandleOf(index);
  }

  std::shared_ptr<KernelObject> Find(HANDLE handle) {
    std::lock_guard lock(mutex_);
    const Slot* slot = SlotOf(handle);
    return slot ? slot->object : nullptr;
  }

  /// Gives the object back so that it is destroyed without the table's lock.
  std::shared_ptr<KernelObject> Close(HANDLE handle) {
    std::lock_guard lock(mutex_);
    Slot* slot = SlotOf(handle);
    if (!slot) return nullptr;
    slot->generation = (slot->generation + 1) % kGenerations;
    free_.push_back(static_cast<ULONG_PTR>(slot - slots_.data()));
    return std::move(slot->object);
  }

  std::vector<HANDLE> TryList() {
    std::vector<HANDLE> handles;
    const std::unique_lock lock(mutex_, std::try_to_lock);
    for (ULONG_PTR index = 0; lock && index < slots_.size(); ++index) {
      if (slots_[index].object) handles.push_back(HandleOf(index));
    }
    return handles;
  }

 private:
  HANDLE HandleOf(ULONG_PTR index) const {
    return reinterpret_cast<HANDLE>((slots_[index].generation << kSlotBits | (index + 1)) << 2);
  }

  Slot* SlotOf(HANDLE handle) {
    const auto value = reinterpret_cast<ULONG_PTR>(handle);
    const ULONG_PTR index = (value >> 2 & kMaxSlots) - 1;
    if ((value & 3) != 0 || index >= slots_.size()) return nullptr;
    Slot& slot = slots_[index];
    return slot.object && slot.generation == value >> (kSlotBits + 2) ? &slot : nullptr;
  }

  std::mutex mutex_;
  std::vector<Slot> slots_;
  std::deque<ULONG_PTR> free_;
};

// Never destroyed: threads may use handles while the process ends.
HandleTable& Table() {
  static auto& table = *new HandleTable;
  return table;
}

}  // namespace

HANDLE OpenHandle(std::shared_ptr<KernelObject> object) { return Table().Open(std::move(object)); }

std::vector<HANDLE> TryListHandles() { return Table().TryList(); }

std::shared_ptr<KernelObject> FindObject(HANDLE handle) {
  auto object = Table().Find(handle);
  if (!object) SetLastError(ERROR_INVALID_HANDLE);
  return object;
}

}  // namespace portwise::platform

BOOL WINAPI CloseHandle(HANDLE handle) {
  using namespace portwise::platform;
  return Table().Close(handle) ? TRUE : Fail(ERROR_INVALID_HANDLE);
}
