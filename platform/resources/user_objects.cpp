#include <windows.h>

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace portwise::platform {
namespace {

// Bitmaps by their handles, the addresses of the resources that they are made of.
struct Bitmaps {
  std::mutex mutex;
  std::map<const void*, std::unique_ptr<std::string>> bitmaps;
};
Bitmaps& TheBitmaps() {
  static auto& bitmaps = *new Bitmaps;
  return bitmaps;
}

/// Neither made nor ended: its address is its handle.
constexpr LOGFONTW kGuiFont = {-11, 0, 0, 0, 400, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, u"MS Sans Serif"};

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

HCURSOR WINAPI LoadCursorW(HINSTANCE module, LPCWSTR name) {
  return reinterpret_cast<HCURSOR>(FindResourceW(module, name, RT_GROUP_CURSOR));
}

HBITMAP WINAPI LoadBitmapW(HINSTANCE module, LPCWSTR name) {
  const HRSRC resource = FindResourceW(module, name, RT_BITMAP);
  const void* bytes = resource ? LockResource(LoadResource(module, resource)) : nullptr;
  if (!bytes) return nullptr;
  auto bitmap = std::make_unique<std::string>(static_cast<const char*>(bytes), SizeofResource(module, resource));
  const auto handle = reinterpret_cast<HBITMAP>(bitmap.get());
  std::lock_guard lock(TheBitmaps().mutex);
  TheBitmaps().bitmaps.emplace(handle, std::move(bitmap));
  return handle;
}

HGDIOBJ WINAPI GetStockObject(int object) {
  return object == DEFAULT_GUI_FONT ? const_cast<LOGFONTW*>(&kGuiFont) : nullptr;
}

int WINAPI GetObjectW(HANDLE object, int size, LPVOID buffer) {
  if (object != &kGuiFont || size < 0) return 0;
  const auto copied = std::min<std::size_t>(static_cast<std::size_t>(size), sizeof kGuiFont);
  if (buffer) std::copy_n(reinterpret_cast<const char*>(&kGuiFont), copied, static_cast<char*>(buffer));
  return static_cast<int>(buffer ? copied : sizeof kGuiFont);
}

BOOL WINAPI DeleteObject(HGDIOBJ object) {
  std::lock_guard lock(TheBitmaps().mutex);
  return object == &kGuiFont || TheBitmaps().bitmaps.erase(object) > 0;
}
