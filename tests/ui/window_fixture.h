#pragma once

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "platform/test_clock.h"
#include "platform/windows/inspect.h"
#include "settings/printer_registry.h"
#include "tests/locale/locale_fixture.h"
#include "tests/support/fake_spooler.h"
#include "tests/ui/fake_requests.h"
#include "ui/window_registry.h"

namespace portwise {

/// A printer "P" at the port LPT1:, driven in both directions, a monitor for it, and somebody who looks at the windows
/// of this process. Time runs twenty times as fast.
class WindowTest : public LocaleTest {
 protected:
  WindowTest() {
    platform::SetSystemLocale("en_US");
    platform::SetTimeScale(20);
    spooler_.printers["P"].port = "LPT1:";
    spooler_.printers["P"].facts = {{"attributes", 0x840u}};
  }
  ~WindowTest() override { platform::SetTimeScale(1); }

  static PrinterRegistry Registry() { return PrinterRegistry("P"); }
  static void Set(const char* choice, bool value) {
    Registry().SetBool(OString("UserSettings:Status Window/") + choice, value);
  }

  static bool Eventually(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
      if (std::chrono::steady_clock::now() > limit) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
  }

  static platform::WindowView View(HWND window) {
    const platform::ProcessView all = platform::OwnWindows();
    const platform::WindowView* view = all.Window(window);
    return view ? *view : platform::WindowView();
  }
  static std::string TextOf(HWND window, int control) {
    const platform::WindowView view = View(window);
    const platform::WindowView* found = view.Control(control);
    return found ? found->text : "no control";
  }
  /// The texts of all controls.
  static std::string TextsOf(HWND window) {
    std::string texts;
    for (const auto& child : View(window).children) texts += child.text + "|";
    return texts;
  }
  static bool ShowsText(HWND window, int control, const std::string& text) {
    return Eventually([&] { return TextOf(window, control) == text; });
  }
  /// Whether a control is within its window and wide enough for its text.
  static bool Fits(HWND window, const platform::WindowView& control) {
    const RECT client = View(window).client;
    const HDC device = GetDC(window);
    const OString text(control.text, CP_UTF8);
    SIZE size = {};
    GetTextExtentPoint32W(device, text.Wide(), text.Length(), &size);
    ReleaseDC(window, device);
    return size.cx <= control.rect.right - control.rect.left && control.rect.right <= client.right &&
           control.rect.bottom <= client.bottom;
  }
  static HWND StatusWindowOf(const char* printer) { return FindRegisteredWindow(printer, PrinterWindow::Status); }

  /// Whether that was among what was asked since it was taken last.
  bool WasAsked(const std::string& part) {
    const auto asked = monitor_.TakeAsked();
    return std::any_of(asked.begin(), asked.end(), [&](auto& each) { return each.find(part) != std::string::npos; });
  }

  FakeSpooler spooler_;
  FakeRequests monitor_;
};

}  // namespace portwise
