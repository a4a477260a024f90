#include "host/cli/window_screen.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "host/cli/client.h"
#include "host/cli/interruption.h"
#include "host/cli/status_screen.h"
#include "host/cli/window_text.h"
#include "platform/text.h"
#include "platform/windows/inspect.h"

namespace portwise {

using platform::Action;
using platform::ProcessView;
using platform::WindowView;

namespace {

constexpr int kLookMilliseconds = 100;
constexpr int kRedrawRounds = 10;
/// Ends a status window, in contrast to its title bar, which may only hide it.
constexpr UINT kEndStatusWindow = WM_USER + 1;

/// Keys come one by one and unseen while the object lives.
class KeyInput {
 public:
  KeyInput() {
    if (!isatty(STDIN_FILENO) || tcgetattr(STDIN_FILENO, &before_) != 0) return;
    termios raw = before_;
    raw.c_lflag &= static_cast<tcflag_t>(~(ICANON | ECHO));
    changed_ = tcsetattr(STDIN_FILENO, TCSANOW, &raw) == 0;
  }
  ~KeyInput() {
    if (changed_) tcsetattr(STDIN_FILENO, TCSANOW, &before_);
  }
  KeyInput(const KeyInput&) = delete;
  KeyInput& operator=(const KeyInput&) = delete;

  /// A key that came within a moment; 0 without one.
  char Wait() const {
    pollfd entry{changed_ ? STDIN_FILENO : -1, POLLIN, 0};
    char key = 0;
    if (poll(&entry, 1, kLookMilliseconds) <= 0 || read(STDIN_FILENO, &key, 1) != 1) return 0;
    return key;
  }

 private:
  termios before_{};
  bool changed_ = false;
};

/// The window that keys are for: the foremost that is visible, otherwise the foremost.
const WindowView* ChosenWindow(const ProcessView& process) {
  const auto visible = std::find_if(process.windows.begin(), process.windows.end(),
                                    [](const WindowView& window) { return window.visible && window.enabled; });
  if (visible != process.windows.end()) return &*visible;
  return process.windows.empty() ? nullptr : &process.windows.front();
}

bool HasEdit(const WindowView& window) {
  return std::any_of(window.children.begin(), window.children.end(), [](const WindowView& child) {
    return child.className == "Edit" && child.visible && child.enabled;
  });
}

void Close(const ProcessView& process, WayToClose way) {
  for (const WindowView& window : process.windows) {
    if (way == WayToClose::ForGood) {
      PostMessageW(window.handle, kEndStatusWindow, 0, 0);
    } else if (!platform::Do(Action::Close, window.handle)) {
      PostMessageW(window.handle, WM_CLOSE, 0, 0);
    }
  }
}

/// A menu opens at the window when it is visible, and otherwise at its icon.
void OpenMenu(const WindowView& window) {
  if (window.visible) {
    platform::DoAt(Action::RightMouseDown, window.handle, window.client.left, window.client.top);
  } else {
    platform::Do(Action::RightClickIcon, window.handle);
  }
}

void ChooseFromMenu(const ProcessView& process, char key) {
  const auto choices = Choices(process.menu->items);
  const auto index = static_cast<std::size_t>(key - '1');
  const UINT id = key >= '1' && key <= '9' && index < choices.size() ? choices[index].id : 0;
  if (id != 0 || key == '0' || key == 'm') platform::Do(Action::ChooseItem, process.menu->window, id);
}

/// A dialog that one types into takes all keys.
void TypeInto(const WindowView& window, char key) {
  constexpr struct {
    char key;
    UINT code;
  } kKeys[] = {{'\n', VK_RETURN}, {'\t', VK_TAB}, {'\x1b', VK_ESCAPE}};
  for (const auto& row : kKeys) {
    if (row.key == key) return void(platform::Do(Action::Key, window.handle, row.code));
  }
  platform::Do(Action::Character, window.handle, key == '\x7f' ? 8 : static_cast<unsigned char>(key));
}

void Obey(char key, const ProcessView& process, WayToClose way) {
  if (process.menu) return ChooseFromMenu(process, key);
  const WindowView* window = ChosenWindow(process);
  if (!window) return;
  if (HasEdit(*window)) return TypeInto(*window, key);
  switch (key) {
    case 'm':
      return OpenMenu(*window);
    case 'h':
      ShowWindow(window->handle, SW_HIDE);
      return;
    case 's':
      if (!platform::Do(Action::DoubleClickIcon, window->handle)) ShowWindow(window->handle, SW_RESTORE);
      return;
    case 'q':
      return Close(process, way);
    default:
      break;
  }
  const auto buttons = Buttons(*window);
  const auto index = static_cast<std::size_t>(key - '1');
  if (key >= '1' && index < buttons.size()) {
    platform::Do(Action::Press, window->handle, static_cast<UINT>(buttons[index].id));
  }
}

std::string HelpFor(const ProcessView& process) {
  if (process.menu) return "a number chooses, 0 closes the menu";
  const WindowView* window = ChosenWindow(process);
  if (!window) return "";
  if (HasEdit(*window)) return "type; Tab goes on, Enter accepts, Esc cancels";
  std::string help = window->visible ? "m menu, h hide, q close" : "(the window is hidden)  m menu, s show, q close";
  int number = 0;
  for (const WindowView& button : Buttons(*window)) help += ", " + std::to_string(++number) + " " + button.text;
  return help;
}

/// Prints the lines that were not there the last time.
class NewLines {
 public:
  void Show(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
      if (std::find(shown_.begin(), shown_.end(), line) == shown_.end()) std::puts(line.c_str());
    }
    shown_ = lines;
    FlushOutput();
  }

 private:
  std::vector<std::string> shown_;
};

}  // namespace

void ShowWindows(const std::atomic<bool>& over, WayToClose close) {
  const bool onTerminal = StatusScreen::IsPossible();
  const Interruption interruption(onTerminal ? StatusScreen::kFarewell : "");
  const KeyInput keys;
  std::optional<StatusScreen> screen;
  NewLines lines;
  std::vector<std::string> shown;
  int rounds = 0;
  bool closing = false;
  while (!over) {
    const ProcessView process = platform::OwnWindows();
    std::vector<std::string> text = TextOf(process);
    if (!onTerminal) {
      lines.Show(text);
    } else if (!process.windows.empty()) {
      if (!screen) screen.emplace();
      text.push_back("");
      text.push_back(HelpFor(process));
      // Now and then anew, since the terminal may have changed its size.
      if (text != shown || ++rounds % kRedrawRounds == 0) screen->Show(text);
      shown = std::move(text);
    }
    if (interruption.Happened() && !closing) {
      closing = true;
      Close(process, close);
    }
    if (const char key = keys.Wait()) Obey(key, process, close);
  }
}

}  // namespace portwise
