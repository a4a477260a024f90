#include "platform/windows/window.h"

#include <algorithm>

#include "platform/windows/notification_icons.h"
#include "platform/windows/presence.h"

namespace portwise::platform {
namespace {

constexpr LONG kCaption = 20;
constexpr LONG kSizingFrame = 4, kDialogFrame = 3, kBorder = 1, kClientEdge = 2;

}  // namespace

WindowTree& WindowTree::Get() {
  static auto& tree = *new WindowTree;
  return tree;
}

std::shared_ptr<Window> WindowTree::Find(HWND handle) const {
  const auto found = windows_.find(handle);
  if (found != windows_.end()) return found->second;
  SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return nullptr;
}

void WindowTree::Add(const std::shared_ptr<Window>& window) {
  do window->handle = NextWindowHandle();
  while (windows_.contains(window->handle));
  windows_.emplace(window->handle, window);
  if (window->IsChild()) {
    if (const auto parent = Find(window->parent)) parent->children.push_back(window->handle);
  } else {
    topLevel_.insert(topLevel_.begin(), window->handle);
  }
}

void WindowTree::Remove(HWND handle) {
  const auto window = Find(handle);
  if (!window) return;
  window->queue->ForgetWindow(handle);
  if (window->parent) {
    if (const auto parent = Find(window->parent)) std::erase(parent->children, handle);
  }
  std::erase(topLevel_, handle);
  windows_.erase(handle);
  ForgetNotificationIcons(handle);
}

void WindowTree::RemoveOf(const MessageQueue& queue) {
  std::vector<HWND> gone;
  for (const auto& [handle, window] : windows_) {
    if (window->queue.get() == &queue) gone.push_back(handle);
  }
  for (const HWND handle : gone) Remove(handle);
}

void WindowTree::BringToFront(HWND handle, bool toBack) {
  const auto place = std::find(topLevel_.begin(), topLevel_.end(), handle);
  if (place == topLevel_.end()) return;
  topLevel_.erase(place);
  topLevel_.insert(toBack ? topLevel_.end() : topLevel_.begin(), handle);
}

bool WindowTree::IsWithin(HWND handle, HWND ancestor) const {
  for (auto found = windows_.find(handle); found != windows_.end(); found = windows_.find(found->second->parent)) {
    if (found->first == ancestor) return true;
  }
  return false;
}

bool WindowTree::IsVisible(HWND handle) const {
  auto found = windows_.find(handle);
  if (found == windows_.end()) return false;
  for (; found != windows_.end(); found = windows_.find(found->second->parent)) {
    if (!(found->second->style & WS_VISIBLE)) return false;
  }
  return true;
}

RECT WindowTree::ScreenRect(const Window& window) const {
  RECT rect = window.rect;
  if (const auto parent = windows_.find(window.parent); parent != windows_.end()) {
    const POINT origin = ClientOrigin(*parent->second);
    rect = {rect.left + origin.x, rect.top + origin.y, rect.right + origin.x, rect.bottom + origin.y};
  }
  return rect;
}

POINT WindowTree::ClientOrigin(const Window& window) const {
  const RECT rect = ScreenRect(window);
  return {rect.left + window.insets.left, rect.top + window.insets.top};
}

std::shared_ptr<Window> FindWindowOf(HWND handle) {
  std::lock_guard lock(WindowLock());
  return WindowTree::Get().Find(handle);
}

std::optional<LRESULT> CallWindow(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
  const auto window = FindWindowOf(handle);
  if (!window) return std::nullopt;
  return window->procedure(handle, message, wParam, lParam);
}

RECT FrameInsets(DWORD style, DWORD extendedStyle) {
  LONG frame = 0;
  if (style & WS_THICKFRAME) {
    frame = kSizingFrame;
  } else if ((style & WS_DLGFRAME) || (extendedStyle & WS_EX_DLGMODALFRAME)) {
    frame = kDialogFrame;
  } else if (style & WS_BORDER) {
    frame = kBorder;
  }
  if (extendedStyle & WS_EX_CLIENTEDGE) frame += kClientEdge;
  const LONG caption = (style & WS_CAPTION) == WS_CAPTION ? kCaption : 0;
  return {frame, frame + caption, frame, frame};
}

RECT ClientRect(const Window& window) {
  const LONG width = window.rect.right - window.rect.left - window.insets.left - window.insets.right;
  const LONG height = window.rect.bottom - window.rect.top - window.insets.top - window.insets.bottom;
  return {0, 0, std::max(width, 0), std::max(height, 0)};
}

}  // namespace portwise::platform
