#include "platform/registry/key_handles.h"

#include <array>
#include <mutex>
#include <unordered_map>

#include "platform/registry/database.h"

namespace portwise::platform {
namespace {

static_assert(sizeof(ULONG_PTR) == 8, "handles are counted above the 32 bits that the predefined roots take");
constexpr ULONG_PTR kFirstHandle = ULONG_PTR{1} << 32;
constexpr ULONG_PTR kHandleStep = 4;

struct Handles {
  std::mutex mutex;
  std::unordered_map<ULONG_PTR, std::shared_ptr<const OpenKey>> open;
  ULONG_PTR next = kFirstHandle;
};

Handles& TheHandles() {
  static auto* handles = new Handles;
  return *handles;
}

/// The predefined roots have the ids 1 to 4 and the paths "0" to "3".
std::shared_ptr<const OpenKey> FindRoot(HKEY handle) {
  using Roots = std::array<std::shared_ptr<const OpenKey>, 4>;
  static const auto& roots =
      *new Roots{std::make_shared<OpenKey>(OpenKey{1, "0", 0, 0}), std::make_shared<OpenKey>(OpenKey{2, "1", 0, 0}),
                 std::make_shared<OpenKey>(OpenKey{3, "2", 0, 0}), std::make_shared<OpenKey>(OpenKey{4, "3", 0, 0})};
  const ULONG_PTR number = reinterpret_cast<ULONG_PTR>(handle) - reinterpret_cast<ULONG_PTR>(HKEY_CLASSES_ROOT);
  return number < roots.size() ? roots[number] : nullptr;
}

}  // namespace

HKEY AddKeyHandle(OpenKey key) {
  auto shared = std::make_shared<const OpenKey>(std::move(key));
  Handles& handles = TheHandles();
  std::lock_guard lock(handles.mutex);
  const ULONG_PTR number = handles.next;
  handles.next += kHandleStep;
  handles.open.emplace(number, std::move(shared));
  return reinterpret_cast<HKEY>(number);
}

std::shared_ptr<const OpenKey> FindKeyHandle(HKEY handle) {
  if (auto root = FindRoot(handle)) return root;
  Handles& handles = TheHandles();
  std::lock_guard lock(handles.mutex);
  const auto found = handles.open.find(reinterpret_cast<ULONG_PTR>(handle));
  if (found == handles.open.end()) throw RegistryError{ERROR_INVALID_HANDLE};
  return found->second;
}

bool RemoveKeyHandle(HKEY handle) {
  if (FindRoot(handle)) return true;
  Handles& handles = TheHandles();
  std::lock_guard lock(handles.mutex);
  return handles.open.erase(reinterpret_cast<ULONG_PTR>(handle)) == 1;
}

void LockKeyHandles() { TheHandles().mutex.lock(); }
void UnlockKeyHandles() { TheHandles().mutex.unlock(); }

}  // namespace portwise::platform
