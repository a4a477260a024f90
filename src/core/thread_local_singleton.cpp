#include "core/thread_local_singleton.h"

#include <utility>

namespace portwise {
namespace {

struct Slot {
  DWORD index = TlsAlloc();
  ~Slot() {
    if (index != TLS_OUT_OF_INDEXES) TlsFree(index);
  }
};

Slot slot;

/// The thread's last error stays as it is.
ThreadLocalObject* First() {
  if (slot.index == TLS_OUT_OF_INDEXES) return nullptr;
  const DWORD error = GetLastError();
  auto* first = static_cast<ThreadLocalObject*>(TlsGetValue(slot.index));
  SetLastError(error);
  return first;
}

}  // namespace

ThreadLocalObject* ThreadLocalSlot::Find(const void* kind) {
  ThreadLocalObject* object = First();
  while (object && object->kind_ != kind) object = object->next_;
  return object;
}

bool ThreadLocalSlot::Add(const void* kind, ThreadLocalObject* object) {
  object->kind_ = kind;
  object->next_ = First();
  if (slot.index != TLS_OUT_OF_INDEXES && TlsSetValue(slot.index, object)) return true;
  delete object;
  return false;
}

void ThreadLocalSlot::DestroyObjects() {
  // A destructor may ask for an object of another kind and so make one.
  while (ThreadLocalObject* object = First()) {
    TlsSetValue(slot.index, nullptr);
    while (object) delete std::exchange(object, object->next_);
  }
}

}  // namespace portwise
