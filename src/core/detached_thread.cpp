#include "core/detached_thread.h"

#include <memory>

#include "core/handles.h"
#include "core/thread_local_singleton.h"

namespace portwise {
namespace {

struct Start {
  void (*body)(void*);
  void* context;
  unique_module library;
};

DWORD WINAPI Run(LPVOID parameter) {
  auto start = std::unique_ptr<Start>(static_cast<Start*>(parameter));
  start->body(start->context);
  ThreadLocalSlot::DestroyObjects();
  const HMODULE library = start->library.Detach();
  start.reset();
  FreeLibraryAndExitThread(library, 0);
}

}  // namespace

bool StartDetachedThread(void (*body)(void*), void* context, SIZE_T stack) {
  auto start = std::make_unique<Start>(Start{body, context, {}});
  if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&Run),
                          start->library.Put())) {
    return false;
  }
  const unique_handle thread(
      CreateThread(nullptr, stack, Run, start.get(), stack != 0 ? STACK_SIZE_PARAM_IS_A_RESERVATION : 0, nullptr));
  if (!thread) return false;
  start.release();
  return true;
}

}  // namespace portwise
