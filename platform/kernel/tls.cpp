#include <pthread.h>
#include <windows.h>

#include <array>
#include <atomic>
#include <mutex>
#include <vector>

#include "platform/kernel/dll_entry.h"
#include "platform/kernel/fail.h"

namespace portwise::platform {
namespace {

// As many as Windows has.
constexpr DWORD kSlots = 1088;

// Goes up at TlsAlloc and at TlsFree: odd means allocated. A value that was stored under another generation is void,
// which is how every thread's slot is null after an index has been freed and allocated again.
std::array<std::atomic<DWORD>, kSlots> generations;
constinit std::mutex allocation;

struct Value {
  DWORD generation = 0;
  LPVOID value = nullptr;
};
// A plain pointer: it stays readable until the very end of the thread, whereas the key's value is taken away before its
// destructor runs.
thread_local std::vector<Value>* values = nullptr;

void EndThread(void*) {
  DetachThread();
  delete values;
  values = nullptr;
}

pthread_key_t EndKey() {
  static const pthread_key_t key = [] {
    pthread_key_t created;
    pthread_key_create(&created, EndThread);
    return created;
  }();
  return key;
}

bool IsAllocated(DWORD index) { return index < kSlots && generations[index].load(std::memory_order_acquire) % 2 == 1; }

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

DWORD WINAPI TlsAlloc() {
  std::lock_guard lock(allocation);
  for (DWORD index = 0; index < kSlots; ++index) {
    if (IsAllocated(index)) continue;
    generations[index].fetch_add(1, std::memory_order_acq_rel);
    return index;
  }
  SetLastError(ERROR_NO_MORE_ITEMS);
  return TLS_OUT_OF_INDEXES;
}

BOOL WINAPI TlsFree(DWORD index) {
  std::lock_guard lock(allocation);
  if (!IsAllocated(index)) return Fail(ERROR_INVALID_PARAMETER);
  generations[index].fetch_add(1, std::memory_order_acq_rel);
  return TRUE;
}

LPVOID WINAPI TlsGetValue(DWORD index) {
  if (!IsAllocated(index)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  SetLastError(ERROR_SUCCESS);
  if (!values || index >= values->size()) return nullptr;
  const Value& value = (*values)[index];
  return value.generation == generations[index].load(std::memory_order_acquire) ? value.value : nullptr;
}

BOOL WINAPI TlsSetValue(DWORD index, LPVOID value) {
  if (!IsAllocated(index)) return Fail(ERROR_INVALID_PARAMETER);
  try {
    if (!values) {
      values = new std::vector<Value>;
      pthread_setspecific(EndKey(), values);
    }
    if (index >= values->size()) values->resize(index + 1);
  } catch (const std::bad_alloc&) {
    return Fail(ERROR_NOT_ENOUGH_MEMORY);
  }
  (*values)[index] = {generations[index].load(std::memory_order_acquire), value};
  return TRUE;
}
