#include "core/thread_local_singleton.h"

#include <new>
#include <utility>

#include "core/synchronizer.h"

namespace portwise {
namespace {

/// A thread's objects; what the slot points at. Linked with those of the other threads.
struct ThreadObjects {
  ThreadLocalObject* first = nullptr;
  ThreadObjects* next = nullptr;
  ThreadObjects** link = nullptr;  // what points at this one
};

OCriticalSection lock;
ThreadObjects* threads = nullptr;  // under the lock

void Link(ThreadObjects* objects) {
  const OScopedLock scoped(lock);
  objects->next = threads;
  objects->link = &threads;
  if (threads) threads->link = &objects->next;
  threads = objects;
}

/// Ends the list of a thread and returns what was in it.
ThreadLocalObject* Take(ThreadObjects* objects) {
  {
    const OScopedLock scoped(lock);
    *objects->link = objects->next;
    if (objects->next) objects->next->link = objects->link;
  }
  ThreadLocalObject* const first = objects->first;
  delete objects;
  return first;
}

ThreadObjects* AnyThread() {
  const OScopedLock scoped(lock);
  return threads;
}

struct Slot {
  DWORD index = TlsAlloc();
  ~Slot() {
    if (index != TLS_OUT_OF_INDEXES) TlsFree(index);
  }
};

Slot slot;

/// The thread's last error stays as it is.
ThreadObjects* OwnObjects() {
  if (slot.index == TLS_OUT_OF_INDEXES) return nullptr;
  const DWORD error = GetLastError();
  auto* objects = static_cast<ThreadObjects*>(TlsGetValue(slot.index));
  SetLastError(error);
  return objects;
}

/// Null when there is no slot, or no memory.
ThreadObjects* MakeOwnObjects() {
  if (slot.index == TLS_OUT_OF_INDEXES) return nullptr;
  auto* objects = new (std::nothrow) ThreadObjects;
  if (!objects) return nullptr;
  if (!TlsSetValue(slot.index, objects)) {
    delete objects;
    return nullptr;
  }
  Link(objects);
  return objects;
}

}  // namespace

ThreadLocalObject* ThreadLocalSlot::Find(const void* kind) {
  const ThreadObjects* objects = OwnObjects();
  ThreadLocalObject* object = objects ? objects->first : nullptr;
  while (object && object->kind_ != kind) object = object->next_;
  return object;
}

bool ThreadLocalSlot::Add(const void* kind, ThreadLocalObject* object) {
  ThreadObjects* objects = OwnObjects();
  if (!objects) objects = MakeOwnObjects();
  if (!objects) {
    delete object;
    return false;
  }
  object->kind_ = kind;
  object->next_ = objects->first;
  objects->first = object;
  return true;
}

void ThreadLocalSlot::DestroyObjects() {
  // A destructor may ask for an object of another kind and so make one.
  while (ThreadObjects* objects = OwnObjects()) {
    TlsSetValue(slot.index, nullptr);
    Destroy(Take(objects));
  }
}

void ThreadLocalSlot::DestroyAllObjects() {
  for (DestroyObjects(); ThreadObjects* objects = AnyThread(); DestroyObjects()) Destroy(Take(objects));
}

void ThreadLocalSlot::Destroy(ThreadLocalObject* first) {
  while (ThreadLocalObject* object = first) {
    first = object->next_;
    delete object;
  }
}

}  // namespace portwise
