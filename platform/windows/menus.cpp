#include "platform/windows/menus.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>

#include "platform/kernel/fail.h"

namespace portwise::platform {
namespace {

struct Menu {
  std::vector<MenuItem> items;
};

// A menu's handle is the address of its row.
struct Menus {
  std::mutex mutex;
  std::map<HMENU, std::unique_ptr<Menu>> menus;
};
Menus& TheMenus() {
  static auto& menus = *new Menus;
  return menus;
}

HMENU AddMenu(std::vector<MenuItem> items) {
  auto menu = std::make_unique<Menu>(Menu{std::move(items)});
  const auto handle = reinterpret_cast<HMENU>(menu.get());
  TheMenus().menus.emplace(handle, std::move(menu));
  return handle;
}

Menu* Find(HMENU handle) {
  const auto found = TheMenus().menus.find(handle);
  if (found != TheMenus().menus.end()) return found->second.get();
  SetLastError(ERROR_INVALID_MENU_HANDLE);
  return nullptr;
}

void Destroy(HMENU handle) {
  const Menu* menu = Find(handle);
  if (!menu) return;
  for (const MenuItem& item : menu->items) {
    if (item.submenu) Destroy(item.submenu);
  }
  TheMenus().menus.erase(handle);
}

/// The item by its position, or by its number in the menu or a submenu of it; null without one.
MenuItem* FindItem(HMENU handle, UINT item, bool byPosition) {
  Menu* menu = Find(handle);
  if (!menu) return nullptr;
  if (byPosition) return item < menu->items.size() ? &menu->items[item] : nullptr;
  for (MenuItem& candidate : menu->items) {
    if (candidate.submenu) {
      if (MenuItem* found = FindItem(candidate.submenu, item, false)) return found;
    } else if (!candidate.separator && candidate.id == item) {
      return &candidate;
    }
  }
  return nullptr;
}

UINT StateOf(const MenuItem& item) {
  return (item.grayed ? MF_GRAYED : 0) | (item.checked ? MF_CHECKED : 0) | (item.separator ? MF_SEPARATOR : 0);
}

/// Reads the items from `words` on, up to the last one and what belongs to it.
const WCHAR* ReadItems(const WCHAR* words, std::vector<MenuItem>* items) {
  constexpr WORD kGrayed = 0x1, kDisabled = 0x2, kChecked = 0x8, kPopup = 0x10, kLast = 0x80, kSeparator = 0x800;
  while (true) {
    const WORD flags = *words++;
    MenuItem item;
    if (!(flags & kPopup)) item.id = *words++;
    item.text = words;
    words += item.text.size() + 1;
    item.separator = !(flags & kPopup) && (flags & kSeparator || (item.text.empty() && item.id == 0));
    item.grayed = (flags & (kGrayed | kDisabled)) != 0;
    item.checked = (flags & kChecked) != 0;
    if (flags & kPopup) {
      std::vector<MenuItem> below;
      words = ReadItems(words, &below);
      item.submenu = AddMenu(std::move(below));
    }
    items->push_back(std::move(item));
    if (flags & kLast) return words;
  }
}

}  // namespace

std::optional<std::vector<MenuItem>> ItemsOf(HMENU menu) {
  std::lock_guard lock(TheMenus().mutex);
  const Menu* found = Find(menu);
  return found ? std::optional(found->items) : std::nullopt;
}

}  // namespace portwise::platform

using namespace portwise::platform;

HMENU WINAPI LoadMenuW(HINSTANCE module, LPCWSTR name) {
  const HRSRC resource = FindResourceW(module, name, RT_MENU);
  const void* bytes = resource ? LockResource(LoadResource(module, resource)) : nullptr;
  return bytes ? LoadMenuIndirectW(bytes) : nullptr;
}

HMENU WINAPI LoadMenuIndirectW(const MENUTEMPLATEW* menuTemplate) {
  const auto* words = static_cast<const WCHAR*>(menuTemplate);
  if (!words || words[0] != 0) {
    SetLastError(ERROR_INVALID_DATA);
    return nullptr;
  }
  std::lock_guard lock(TheMenus().mutex);
  std::vector<MenuItem> items;
  ReadItems(words + 2 + words[1] / sizeof(WCHAR), &items);
  return AddMenu(std::move(items));
}

BOOL WINAPI DestroyMenu(HMENU menu) {
  std::lock_guard lock(TheMenus().mutex);
  if (!Find(menu)) return FALSE;
  Destroy(menu);
  return TRUE;
}

HMENU WINAPI GetSubMenu(HMENU menu, int position) {
  std::lock_guard lock(TheMenus().mutex);
  const MenuItem* item = FindItem(menu, static_cast<UINT>(position), true);
  return item ? item->submenu : nullptr;
}

int WINAPI GetMenuItemCount(HMENU menu) {
  std::lock_guard lock(TheMenus().mutex);
  const Menu* found = Find(menu);
  return found ? static_cast<int>(found->items.size()) : -1;
}

int WINAPI GetMenuStringW(HMENU menu, UINT item, LPWSTR text, int size, UINT flags) {
  std::lock_guard lock(TheMenus().mutex);
  const MenuItem* found = FindItem(menu, item, (flags & MF_BYPOSITION) != 0);
  if (!found) return 0;
  if (!text || size == 0) return static_cast<int>(found->text.size());
  const auto copied = found->text.substr(0, static_cast<std::size_t>(size) - 1);
  copied.copy(text, copied.size());
  text[copied.size()] = 0;
  return static_cast<int>(copied.size());
}

BOOL WINAPI SetMenuDefaultItem(HMENU menu, UINT item, UINT byPosition) {
  std::lock_guard lock(TheMenus().mutex);
  Menu* found = Find(menu);
  if (!found) return FALSE;
  MenuItem* chosen = item == static_cast<UINT>(-1) ? nullptr : FindItem(menu, item, byPosition != 0);
  if (!chosen && item != static_cast<UINT>(-1)) return Fail(ERROR_INVALID_PARAMETER);
  for (MenuItem& each : found->items) each.isDefault = &each == chosen;
  return TRUE;
}

UINT WINAPI GetMenuDefaultItem(HMENU menu, UINT byPosition, UINT) {
  std::lock_guard lock(TheMenus().mutex);
  const Menu* found = Find(menu);
  for (std::size_t i = 0; found && i < found->items.size(); ++i) {
    if (found->items[i].isDefault) return byPosition ? static_cast<UINT>(i) : found->items[i].id;
  }
  return static_cast<UINT>(-1);
}

BOOL WINAPI EnableMenuItem(HMENU menu, UINT item, UINT flags) {
  std::lock_guard lock(TheMenus().mutex);
  MenuItem* found = FindItem(menu, item, (flags & MF_BYPOSITION) != 0);
  if (!found) return -1;
  const UINT before = StateOf(*found) & MF_GRAYED;
  found->grayed = (flags & (MF_GRAYED | MF_DISABLED)) != 0;
  return static_cast<BOOL>(before);
}

DWORD WINAPI CheckMenuItem(HMENU menu, UINT item, UINT flags) {
  std::lock_guard lock(TheMenus().mutex);
  MenuItem* found = FindItem(menu, item, (flags & MF_BYPOSITION) != 0);
  if (!found) return static_cast<DWORD>(-1);
  const DWORD before = StateOf(*found) & MF_CHECKED;
  found->checked = (flags & MF_CHECKED) != 0;
  return before;
}
