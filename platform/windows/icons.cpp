#include "platform/windows/icons.h"

#include <map>
#include <memory>
#include <mutex>
#include <tuple>

#include "platform/kernel/fail.h"

namespace portwise::platform {
namespace {

struct Icon {
  const void* group;  // the resource with its pictures
  int resource;
  int width, height;
  bool shared;
};

// An icon's handle is the address of its row.
struct Icons {
  std::mutex mutex;
  std::map<const void*, std::unique_ptr<Icon>> icons;
  std::map<std::tuple<const void*, int, int>, HICON> shared;
};
Icons& TheIcons() {
  static auto& icons = *new Icons;
  return icons;
}

HICON AddIcon(const Icon& icon) {
  auto owned = std::make_unique<Icon>(icon);
  const auto handle = reinterpret_cast<HICON>(owned.get());
  TheIcons().icons.emplace(owned.get(), std::move(owned));
  return handle;
}

HICON Load(HINSTANCE module, LPCWSTR name, int width, int height, bool shared) {
  const void* group = FindResourceW(module, name, RT_GROUP_ICON);
  if (!group) return nullptr;
  const int resource = IS_INTRESOURCE(name) ? static_cast<int>(reinterpret_cast<ULONG_PTR>(name)) : 0;
  const Icon icon{group, resource, width, height, shared};
  std::lock_guard lock(TheIcons().mutex);
  if (!shared) return AddIcon(icon);
  HICON& known = TheIcons().shared[{group, width, height}];
  if (!known) known = AddIcon(icon);
  return known;
}

const Icon* Find(const void* handle) {
  const auto found = TheIcons().icons.find(handle);
  return found == TheIcons().icons.end() ? nullptr : found->second.get();
}

}  // namespace

int IconResource(HICON icon) {
  std::lock_guard lock(TheIcons().mutex);
  const Icon* found = Find(icon);
  return found ? found->resource : 0;
}

}  // namespace portwise::platform

using namespace portwise::platform;

HICON WINAPI LoadIconW(HINSTANCE module, LPCWSTR name) {
  return Load(module, name, GetSystemMetrics(SM_CXICON), GetSystemMetrics(SM_CYICON), true);
}

HANDLE WINAPI LoadImageW(HINSTANCE module, LPCWSTR name, UINT type, int width, int height, UINT flags) {
  if (type != IMAGE_ICON) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return nullptr;
  }
  if (width == 0) width = GetSystemMetrics(SM_CXICON);
  if (height == 0) height = GetSystemMetrics(SM_CYICON);
  return Load(module, name, width, height, (flags & LR_SHARED) != 0);
}

HANDLE WINAPI CopyImage(HANDLE image, UINT type, int width, int height, UINT) {
  std::lock_guard lock(TheIcons().mutex);
  const Icon* found = type == IMAGE_ICON ? Find(image) : nullptr;
  if (!found) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  return AddIcon(
      {found->group, found->resource, width == 0 ? found->width : width, height == 0 ? found->height : height, false});
}

BOOL WINAPI DestroyIcon(HICON icon) {
  std::lock_guard lock(TheIcons().mutex);
  const Icon* found = Find(icon);
  if (!found) return Fail(ERROR_INVALID_HANDLE);
  // Shared ones last as long as their module.
  if (!found->shared) TheIcons().icons.erase(found);
  return TRUE;
}
