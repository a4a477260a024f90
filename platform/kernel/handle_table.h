#pragma once

#include <windows.h>

#include <memory>
#include <vector>

namespace portwise::platform {

/// What a handle stands for: an event, a thread, a file. It lives as long as a handle or a call in progress needs it.
class KernelObject {
 public:
  KernelObject() = default;
  virtual ~KernelObject() = default;
  KernelObject(const KernelObject&) = delete;
  KernelObject& operator=(const KernelObject&) = delete;
};

/// Opens a handle: a multiple of 4 that fits in 31 bits and is not soon given out again. Null with
/// ERROR_TOO_MANY_OPEN_FILES when 65535 handles are open. Any thread.
HANDLE OpenHandle(std::shared_ptr<KernelObject> object);

/// The object of an open handle. Null with ERROR_INVALID_HANDLE for null, INVALID_HANDLE_VALUE, handles that were
/// closed and values that never were handles. Any thread.
std::shared_ptr<KernelObject> FindObject(HANDLE handle);

/// The handles that are open; none when the table is in use just now, possibly by the calling thread itself. Any
/// thread.
std::vector<HANDLE> TryListHandles();

/// As FindObject; a handle of another kind is not a valid one.
template <class Kind>
std::shared_ptr<Kind> FindObjectOf(HANDLE handle) {
  auto object = std::dynamic_pointer_cast<Kind>(FindObject(handle));
  if (!object) SetLastError(ERROR_INVALID_HANDLE);
  return object;
}

}  // namespace portwise::platform
