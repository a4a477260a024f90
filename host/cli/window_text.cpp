#include "host/cli/window_text.h"

#include <algorithm>
#include <map>

#include "host/cli/terminal_text.h"

namespace portwise {

using platform::MenuItemView;
using platform::ProcessView;
using platform::WindowView;

namespace {

constexpr int kBarWidth = 40;
/// Controls whose tops differ by less are beside each other.
constexpr int kSameLine = 8;

/// What the library's icons say.
const char* SeverityOf(int icon) {
  switch (icon) {
    case 118:
      return "(!) ";
    case 119:
      return "(x) ";
    default:
      return "";
  }
}

/// Texts of windows have "&" before the letter that chooses them.
std::string WithoutMarks(const std::string& text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '&' && i + 1 < text.size()) ++i;
    plain += text[i];
  }
  return Harmless(plain);
}

std::string BarOf(const WindowView& bar) {
  const int range = std::max(bar.high - bar.low, 1);
  const int filled = static_cast<int>(static_cast<long long>(bar.position - bar.low) * kBarWidth / range);
  return "[" + std::string(static_cast<std::size_t>(filled), '#') +
         std::string(static_cast<std::size_t>(kBarWidth - filled), '.') + "] " + std::to_string(bar.position) + " of " +
         std::to_string(bar.high);
}

std::string TextOf(const WindowView& control) {
  if (control.className == "msctls_progress32") return BarOf(control);
  const bool isMarked = control.className == "Button" || !(control.style & SS_NOPREFIX);
  const std::string text = isMarked ? WithoutMarks(control.text) : Harmless(control.text);
  if (control.className == "Edit") return "[" + text + "]";
  const bool isGroup = control.className == "Button" && (control.style & BS_TYPEMASK) == BS_GROUPBOX;
  if (control.className != "Button" || isGroup) return text;
  return control.enabled ? "<" + text + ">" : "(" + text + ")";
}

/// The visible controls of a window in the order in which they are read.
std::vector<WindowView> InOrder(const WindowView& window) {
  std::vector<WindowView> controls;
  for (const WindowView& child : window.children) {
    if (child.style & WS_VISIBLE) controls.push_back(child);
  }
  std::stable_sort(controls.begin(), controls.end(), [](const WindowView& one, const WindowView& other) {
    const int line = one.rect.top / kSameLine, otherLine = other.rect.top / kSameLine;
    return line != otherLine ? line < otherLine : one.rect.left < other.rect.left;
  });
  return controls;
}

void AddWindow(const WindowView& window, std::vector<std::string>* lines) {
  lines->push_back("== " + std::string(SeverityOf(window.icon)) + Harmless(window.text) + " ==");
  int line = -1;
  for (const WindowView& control : InOrder(window)) {
    const std::string text = TextOf(control);
    if (text.empty()) continue;
    if (control.rect.top / kSameLine == line) {
      lines->back() += "  " + text;
    } else {
      lines->push_back("  " + text);
    }
    line = control.rect.top / kSameLine;
  }
}

void AddMenu(const std::vector<MenuItemView>& items, const std::string& indent, int* number,
             std::vector<std::string>* lines) {
  for (const MenuItemView& item : items) {
    const std::string text = WithoutMarks(item.text);
    if (item.separator) {
      lines->push_back(indent + "----");
    } else if (!item.items.empty()) {
      lines->push_back(indent + text);
      AddMenu(item.items, indent + "  ", number, lines);
    } else if (!item.enabled) {
      lines->push_back(indent + "-  (" + text + ")");
    } else {
      lines->push_back(indent + std::to_string(++*number) + "  " + text + (item.checked ? "  (on)" : "") +
                       (item.isDefault ? "  *" : ""));
    }
  }
}

}  // namespace

std::vector<MenuItemView> Choices(const std::vector<MenuItemView>& items) {
  std::vector<MenuItemView> choices;
  for (const MenuItemView& item : items) {
    if (!item.items.empty()) {
      for (MenuItemView& below : Choices(item.items)) choices.push_back(std::move(below));
    } else if (!item.separator && item.enabled) {
      choices.push_back(item);
    }
  }
  return choices;
}

std::vector<WindowView> Buttons(const WindowView& window) {
  std::vector<WindowView> buttons;
  for (const WindowView& control : InOrder(window)) {
    const bool isGroup = (control.style & BS_TYPEMASK) == BS_GROUPBOX;
    if (control.className == "Button" && !isGroup && control.enabled) buttons.push_back(control);
  }
  return buttons;
}

std::vector<std::string> TextOf(const ProcessView& process) {
  std::vector<std::string> lines;
  for (const WindowView& window : process.windows) {
    if (window.visible) AddWindow(window, &lines);
  }
  for (const auto& icon : process.icons)
    lines.push_back("icon: " + std::string(SeverityOf(icon.icon)) + Harmless(icon.tip));
  if (process.menu) {
    lines.push_back("menu:");
    int number = 0;
    AddMenu(process.menu->items, "  ", &number, &lines);
  }
  return lines;
}

}  // namespace portwise
