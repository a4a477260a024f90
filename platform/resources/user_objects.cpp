#include <windows.h>

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/kernel/fail.h"

namespace portwise::platform {
namespace {

enum class Kind { Bitmap, Menu };

struct UserObject {
  Kind kind;
  std::string bytes;  // the resource that it is made of
};

// Objects that belong to whoever made them, by their handles: the addresses of their bytes' owners.
struct UserObjects {
  std::mutex mutex;
  std::map<const void*, std::unique_ptr<UserObject>> objects;
};
UserObjects& Objects() {
  static auto& objects = *new UserObjects;
  return objects;
}

void* MakeObject(Kind kind, std::string_view bytes) {
  auto object = std::make_unique<UserObject>(UserObject{kind, std::string(bytes)});
  void* handle = object.get();
  std::lock_guard lock(Objects().mutex);
  Objects().objects.emplace(handle, std::move(object));
  return handle;
}

bool EndObject(Kind kind, const void* handle) {
  std::lock_guard lock(Objects().mutex);
  const auto found = Objects().objects.find(handle);
  if (found == Objects().objects.end() || found->second->kind != kind) return false;
  Objects().objects.erase(found);
  return true;
}

/// The bytes of a resource; empty with the last error set.
std::string_view FindBytes(HMODULE module, LPCWSTR type, LPCWSTR name) {
  const HRSRC resource = FindResourceW(module, name, type);
  const void* bytes = resource ? LockResource(LoadResource(module, resource)) : nullptr;
  return bytes ? std::string_view(static_cast<const char*>(bytes), SizeofResource(module, resource))
               : std::string_view();
}

/// The length of a menu template of version 0: a header of two words, then items, each its flags, its number unless it
/// is a popup, and its text. The last item of a menu says so, and a popup's items follow it.
std::size_t MenuLength(const WCHAR* words) {
  constexpr WORD kPopup = 0x10, kEnd = 0x80;
  std::size_t next = 2 + words[1] / sizeof(WCHAR);
  std::vector<bool> lastAbove;  // for each menu that is open: whether its popup is the last item of the menu above
  for (bool done = false; !done;) {
    const WORD flags = words[next++];
    const bool isLast = (flags & kEnd) != 0;
    if (!(flags & kPopup)) ++next;
    while (words[next++] != 0) {
    }
    if (flags & kPopup) {
      lastAbove.push_back(isLast);
      continue;
    }
    done = isLast;
    while (done && !lastAbove.empty()) {
      done = lastAbove.back();
      lastAbove.pop_back();
    }
  }
  return next * sizeof(WCHAR);
}

/// Neither made nor ended: its address is its handle.
constexpr LOGFONTW kGuiFont = {-11, 0, 0, 0, 400, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, u"MS Sans Serif"};

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

HICON WINAPI LoadIconW(HINSTANCE module, LPCWSTR name) {
  return reinterpret_cast<HICON>(FindResourceW(module, name, RT_GROUP_ICON));
}

HCURSOR WINAPI LoadCursorW(HINSTANCE module, LPCWSTR name) {
  return reinterpret_cast<HCURSOR>(FindResourceW(module, name, RT_GROUP_CURSOR));
}

HBITMAP WINAPI LoadBitmapW(HINSTANCE module, LPCWSTR name) {
  const std::string_view bytes = FindBytes(module, RT_BITMAP, name);
  return bytes.empty() ? nullptr : static_cast<HBITMAP>(MakeObject(Kind::Bitmap, bytes));
}

HMENU WINAPI LoadMenuW(HINSTANCE module, LPCWSTR name) {
  const std::string_view bytes = FindBytes(module, RT_MENU, name);
  return bytes.empty() ? nullptr : LoadMenuIndirectW(bytes.data());
}

HMENU WINAPI LoadMenuIndirectW(const MENUTEMPLATEW* menuTemplate) {
  const auto* words = static_cast<const WCHAR*>(menuTemplate);
  if (!words || words[0] != 0) {
    SetLastError(ERROR_INVALID_DATA);
    return nullptr;
  }
  const std::string_view bytes(reinterpret_cast<const char*>(words), MenuLength(words));
  return static_cast<HMENU>(MakeObject(Kind::Menu, bytes));
}

BOOL WINAPI DestroyMenu(HMENU menu) { return EndObject(Kind::Menu, menu) ? TRUE : Fail(ERROR_INVALID_HANDLE); }

HGDIOBJ WINAPI GetStockObject(int object) {
  return object == DEFAULT_GUI_FONT ? const_cast<LOGFONTW*>(&kGuiFont) : nullptr;
}

int WINAPI GetObjectW(HANDLE object, int size, LPVOID buffer) {
  if (object != &kGuiFont || size < 0) return 0;
  const auto copied = std::min<std::size_t>(static_cast<std::size_t>(size), sizeof kGuiFont);
  if (buffer) std::copy_n(reinterpret_cast<const char*>(&kGuiFont), copied, static_cast<char*>(buffer));
  return static_cast<int>(buffer ? copied : sizeof kGuiFont);
}

BOOL WINAPI DeleteObject(HGDIOBJ object) { return object == &kGuiFont || EndObject(Kind::Bitmap, object); }
