#include <windows.h>

#include <algorithm>
#include <array>
#include <utility>

#include "platform/kernel/fail.h"
#include "platform/kernel/waitable.h"

namespace portwise::platform {
namespace {

class Event final : public Waitable {
 public:
  using Waitable::Waitable;
};

}  // namespace

bool AttachWaitSource(HANDLE event, std::shared_ptr<WaitSource> source) {
  const auto object = FindObjectOf<Event>(event);
  if (object) object->AddSource(std::move(source));
  return object != nullptr;
}

bool DetachWaitSource(HANDLE event, const WaitSource* source) {
  const auto object = FindObjectOf<Event>(event);
  return object && object->RemoveSource(source);
}

}  // namespace portwise::platform

using namespace portwise::platform;

HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES, BOOL manualReset, BOOL initialState, LPCWSTR name) {
  if (name && *name) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return nullptr;
  }
  return OpenHandle(std::make_shared<Event>(manualReset != FALSE, initialState != FALSE));
}

BOOL WINAPI SetEvent(HANDLE event) {
  const auto object = FindObjectOf<Event>(event);
  if (object) object->Signal();
  return object != nullptr;
}

BOOL WINAPI ResetEvent(HANDLE event) {
  const auto object = FindObjectOf<Event>(event);
  if (object) object->Reset();
  return object != nullptr;
}

DWORD WINAPI WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
  return WaitForMultipleObjects(1, &handle, FALSE, milliseconds);
}

DWORD WINAPI WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds) {
  std::array<std::shared_ptr<Waitable>, MAXIMUM_WAIT_OBJECTS> objects;
  if (count == 0 || count > objects.size() || !handles) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return WAIT_FAILED;
  }
  for (DWORD i = 0; i < count; ++i) {
    objects[i] = FindObjectOf<Waitable>(handles[i]);
    if (!objects[i]) return WAIT_FAILED;
    if (waitAll && std::find(objects.begin(), objects.begin() + i, objects[i]) != objects.begin() + i) {
      SetLastError(ERROR_INVALID_PARAMETER);
      return WAIT_FAILED;
    }
  }
  return WaitFor({objects.data(), count}, waitAll != FALSE, milliseconds);
}
