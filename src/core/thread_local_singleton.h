#pragma once

#include <windows.h>

namespace portwise {

/// An object that one thread owns, in the library's thread-local slot.
class ThreadLocalObject {
 public:
  virtual ~ThreadLocalObject() = default;

 private:
  friend class ThreadLocalSlot;
  const void* kind_ = nullptr;
  ThreadLocalObject* next_ = nullptr;
};

/// The library's one thread-local slot, allocated when the library is loaded and freed when it is unloaded. It holds
/// the calling thread's objects, one of a kind.
class ThreadLocalSlot {
 public:
  /// The thread's object of the kind, or null.
  static ThreadLocalObject* Find(const void* kind);
  /// Gives the thread an object of a kind that it does not have yet. Destroyed, with false, when there is no slot.
  static bool Add(const void* kind, ThreadLocalObject* object);
  /// Destroys the calling thread's objects; called when the thread ends.
  static void DestroyObjects();
  /// Destroys the objects of every thread, on the calling one; called when the library is unloaded. No thread may be
  /// using any of its objects then, nor ask for one afterwards.
  static void DestroyAllObjects();

 private:
  static void Destroy(ThreadLocalObject* first);
};

/// One `T` per thread, made on first use and destroyed with its thread, or by another one that unloads the library. `T`
/// derives from ThreadLocalObject.
template <class T>
class ThreadLocalSingleton {
 public:
  /// The calling thread's instance; null when the library has no slot.
  static T* Instance() {
    static const char kind = 0;
    if (ThreadLocalObject* known = ThreadLocalSlot::Find(&kind)) return static_cast<T*>(known);
    T* made = new T;
    return ThreadLocalSlot::Add(&kind, made) ? made : nullptr;
  }
};

}  // namespace portwise
