#include "platform/windows/inspect.h"

#include <unistd.h>

#include "platform/text.h"
#include "platform/windows/desktop.h"
#include "platform/windows/icons.h"
#include "platform/windows/menus.h"
#include "platform/windows/notification_icons.h"
#include "platform/windows/presence.h"
#include "platform/windows/remote_windows.h"
#include "platform/windows/snapshot.h"
#include "platform/windows/window.h"

namespace portwise::platform {
namespace {

using Json = nlohmann::json;

WindowView ViewOf(const Window& window) {
  const WindowTree& tree = WindowTree::Get();
  WindowView view;
  view.handle = window.handle;
  view.className = ToUtf8(window.className);
  view.id = static_cast<int>(window.id);
  view.text = ToUtf8(window.text);
  view.rect = tree.ScreenRect(window);
  const POINT origin = tree.ClientOrigin(window);
  const RECT client = ClientRect(window);
  view.client = {origin.x, origin.y, origin.x + client.right, origin.y + client.bottom};
  view.style = window.style;
  view.extendedStyle = window.extendedStyle;
  view.visible = tree.IsVisible(window.handle);
  view.enabled = !(window.style & WS_DISABLED);
  view.minimized = (window.style & WS_MINIMIZE) != 0;
  view.icon = IconResource(window.icon);
  view.smallIcon = IconResource(window.smallIcon);
  view.image = IconResource(window.image);
  view.low = window.low;
  view.high = window.high;
  view.position = window.position;
  for (const HWND child : window.children) view.children.push_back(ViewOf(*tree.Find(child)));
  return view;
}

std::vector<MenuItemView> ViewOf(HMENU menu) {
  std::vector<MenuItemView> views;
  for (const MenuItem& item : ItemsOf(menu).value_or(std::vector<MenuItem>{})) {
    views.push_back({item.id, ToUtf8(item.text), item.separator, !item.grayed, item.checked, item.isDefault,
                     item.submenu ? ViewOf(item.submenu) : std::vector<MenuItemView>{}});
  }
  return views;
}

std::optional<ProcessView> ViewOfPlace(unsigned place) {
  const auto answer = AskPlace(place, Json{{"op", "inspect"}});
  try {
    return answer ? std::optional(FromJson(answer->at("process"))) : std::nullopt;
  } catch (const Json::exception&) {
    return std::nullopt;
  }
}

}  // namespace

const WindowView* WindowView::Control(int controlId) const {
  for (const WindowView& child : children) {
    if (child.id == controlId) return &child;
  }
  return nullptr;
}

const WindowView* ProcessView::Window(HWND handle) const {
  for (const WindowView& window : windows) {
    if (window.handle == handle) return &window;
  }
  return nullptr;
}

ProcessView OwnWindows() {
  std::lock_guard lock(WindowLock());
  ProcessView view;
  view.process = static_cast<DWORD>(getpid());
  for (const HWND handle : WindowTree::Get().TopLevel()) {
    view.windows.push_back(ViewOf(*WindowTree::Get().Find(handle)));
  }
  if (const auto shown = MenuShown()) view.menu = MenuView{shown->window, shown->x, shown->y, ViewOf(shown->menu)};
  for (const NotificationIcon& icon : NotificationIcons()) {
    view.icons.push_back({icon.window, icon.id, IconResource(icon.icon), ToUtf8(icon.tip)});
  }
  return view;
}

std::vector<ProcessView> AllWindows() {
  std::vector<ProcessView> all;
  for (const unsigned place : Places()) {
    auto view = place == OwnPlace() ? std::optional(OwnWindows()) : ViewOfPlace(place);
    if (view) all.push_back(std::move(*view));
  }
  return all;
}

std::optional<ProcessView> ProcessOf(HWND window) {
  auto view = IsRemote(window) ? ViewOfPlace(PlaceOf(window)) : std::optional(OwnWindows());
  return view && view->Window(window) ? view : std::nullopt;
}

}  // namespace portwise::platform
