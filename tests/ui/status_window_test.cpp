#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>

#include "platform/windows/com_classes.h"
#include "portwise/driver_ui.h"
#include "tests/support/print_ostring.h"
#include "tests/ui/window_fixture.h"
#include "ui/entry_points.h"
#include "ui/status_window.h"
#include "ui/window_settings.h"

namespace portwise {
namespace {

using platform::Action;
using platform::Do;
using platform::DoAt;

enum Control { kPort = 1016, kStatus = 1017 };
enum Icon { kWarningIcon = 118, kErrorIcon = 119, kNormalIcon = 120 };

class StatusWindowTest : public WindowTest {
 protected:
  StatusWindowTest() { SetStatus("Ready;1;LPT1:"); }
  ~StatusWindowTest() override {
    platform::RegisterComClass(kPageClass, nullptr);
    monitor_.SetWhileAsked(nullptr);
    for (const auto& window : platform::OwnWindows().windows)
      PostMessageW(window.handle, StatusWindow::kCloseMessage, 0, 0);
    for (std::thread& thread : threads_) thread.join();
  }

  void SetStatus(std::optional<std::string> reply) {
    if (reply) *reply += '\0';
    monitor_.SetReplies({{"'Status Severity'", reply}});
  }
  /// Carries the command line out on a thread of its own.
  void Start(const std::u16string& commandLine) {
    threads_.emplace_back([line = commandLine]() mutable { StatusMonitorW(nullptr, nullptr, line.data(), 0); });
  }
  void Run(std::u16string commandLine) { StatusMonitorW(nullptr, nullptr, commandLine.data(), 0); }
  /// Opens the window of the printer and waits until its first tick is over.
  HWND Open(const std::u16string& commandLine = u"open P") {
    Start(commandLine);
    EXPECT_TRUE(Eventually([] { return StatusWindowOf("P") != nullptr; }));
    const HWND window = StatusWindowOf("P");
    WaitForTick();
    return window;
  }
  /// Until the tick that has begun is over, and one more.
  void WaitForTick() {
    for (int tick = 0; tick < 2; ++tick) {
      monitor_.TakeAsked();
      EXPECT_TRUE(Eventually([&] { return !monitor_.TakeAsked().empty(); }));
    }
  }
  static bool IsVisible(HWND window) { return View(window).visible; }
  static bool Closes(HWND window) {
    return Eventually([window] { return !IsWindow(window) && StatusWindowOf("P") == nullptr; });
  }
  static std::optional<platform::NotificationIconView> TrayIconOf(HWND window) {
    for (const auto& icon : platform::OwnWindows().icons) {
      if (icon.window == window) return icon;
    }
    return std::nullopt;
  }
  /// The words of the menu that is shown: "*" is the default item, "-" in front is grey.
  static std::string MenuWords(HWND window) {
    std::string words;
    EXPECT_TRUE(Eventually([] { return platform::OwnWindows().menu.has_value(); }));
    const auto menu = platform::OwnWindows().menu;
    if (!menu || menu->window != window) return "none";
    for (const auto& item : menu->items) {
      if (!item.separator) words += (item.enabled ? "" : "-") + item.text + (item.isDefault ? "*" : "") + "|";
    }
    return words;
  }
  static bool Choose(HWND window, Action open, UINT item) {
    return Do(open, window) && Eventually([] { return platform::OwnWindows().menu.has_value(); }) &&
           Do(Action::ChooseItem, window, item) && Eventually([] { return !platform::OwnWindows().menu; });
  }
  static std::vector<std::string> Commands() {
    std::vector<std::string> lines;
    for (const auto& command : platform::StartedCommands())
      lines.push_back(command.commandLine + "|" + std::to_string(command.show));
    return lines;
  }

  static constexpr CLSID kPageClass = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  std::vector<std::thread> threads_;
};

TEST_F(StatusWindowTest, FollowsTheCommandLines) {
  for (const char16_t* nothing : {u"show P", u"hide P", u"close P", u"cleanup P", u"open", u"open Q", u"P", u""})
    Run(nothing);
  StatusMonitorW(nullptr, nullptr, nullptr, 0);
  EXPECT_TRUE(platform::OwnWindows().windows.empty());

  const HWND window = Open(u"open P -i");
  EXPECT_FALSE(IsVisible(window));
  char narrow[] = "Show \"P\"";
  StatusMonitor(nullptr, nullptr, narrow, 0);
  EXPECT_TRUE(IsVisible(window));
  Run(u"hide P");
  EXPECT_FALSE(IsVisible(window));
  Run(u"open P");
  Run(u"init P");
  EXPECT_TRUE(IsVisible(window) && platform::OwnWindows().windows.size() == 1) << "brought forward, not opened twice";
  Start(u"open P -f");
  EXPECT_TRUE(Eventually([&] { return StatusWindowOf("P") != window; }));
  const HWND second = StatusWindowOf("P");
  Run(u"close P");
  EXPECT_TRUE(Eventually([&] { return !IsWindow(second) && StatusWindowOf("P") == window; }))
      << "the one that is left is found again";
  const char* const stored = "UserSettings:Status Window";
  EXPECT_TRUE(Registry().GetKeyInfo(stored));
  // The window is busy, and cannot close at once.
  monitor_.SetWhileAsked([] { Sleep(2000); });
  monitor_.TakeAsked();
  EXPECT_TRUE(Eventually([&] { return WasAsked("P: "); }));
  Run(u"cleanup P");
  EXPECT_TRUE(Closes(window));
  EXPECT_FALSE(Registry().GetKeyInfo(stored)) << "nor stored anew by the window as it closed";
}

TEST_F(StatusWindowTest, StartsAtLogonWhenItIsWanted) {
  Run(u"init P");
  Registry().SetDword("Settings:Status/Status Monitoring Mode", 1);
  for (const char* choice : {"Show Icon", "Show On Error"}) Set(choice, false);
  Run(u"init P");
  EXPECT_TRUE(platform::OwnWindows().windows.empty());
  Set("Show On Error", true);
  EXPECT_TRUE(IsVisible(Open(u"init P -i")));
  Run(u"@ open \"P\" -i");
  ASSERT_EQ(Commands().size(), 1u);
  EXPECT_TRUE(Commands()[0].starts_with("rundll32 ") && Commands()[0].ends_with(",StatusMonitor  open \"P\" -i|0"));
}

TEST_F(StatusWindowTest, ShowsTheStatusAndItsIcon) {
  SetStatus("Ready;1;");
  const HWND window = Open();
  EXPECT_EQ(TextsOf(window), "Printer:|P|Port:|Port Unknown|Status:|Ready|");
  const struct {
    const char* reply;
    std::string text, port;
    int icon;
  } rows[] = {
      {"Label Present;1;USB001", "Label Present", "USB001", kNormalIcon},
      {"Paper Low;3;USB001", "Paper Low", "USB001", kWarningIcon},
      {"Paper Low;2;USB001", "Paper Low", "USB001", kErrorIcon},
      {"Ready;1", "Paper Low", "USB001", kErrorIcon},
      {"Busy;9;", "Busy", "Port Unknown", kNormalIcon},
      {nullptr, "Monitoring Disabled", "Port Unknown", kErrorIcon},
  };
  for (const auto& row : rows) {
    SetStatus(row.reply ? std::optional<std::string>(row.reply) : std::nullopt);
    WaitForTick();
    const auto tray = TrayIconOf(window).value_or(platform::NotificationIconView());
    EXPECT_EQ(TextOf(window, kStatus) + TextOf(window, kPort) + tray.tip, row.text + row.port + "P: " + row.text);
    const auto view = View(window);
    EXPECT_TRUE(tray.icon == row.icon && view.icon == row.icon && view.smallIcon == row.icon) << row.text;
  }
  SetStatus(std::string(1000, 'x') + ";1;");
  WaitForTick();
  EXPECT_EQ(TrayIconOf(window)->tip, "P: " + std::string(124, 'x'));
  // Without an answer, because nobody may ask.
  spooler_.Change([&] { spooler_.printers["P"].facts = {{"attributes", 0x40u}}; });
  EXPECT_TRUE(ShowsText(window, kStatus, "Monitoring Disabled"));
  EXPECT_TRUE(IsWindow(window));
  spooler_.Change([&] { spooler_.printers.erase("P"); });
  EXPECT_TRUE(Closes(window)) << "the printer was deleted";
}

TEST_F(StatusWindowTest, ShowsItselfOnErrors) {
  const HWND window = Open(u"open P -i");
  const auto shownFor = [&](const char* reply) {
    SetStatus(reply);
    WaitForTick();
    const bool shown = IsVisible(window);
    Run(u"hide P");
    return shown;
  };
  EXPECT_FALSE(shownFor("Busy;1;"));
  EXPECT_TRUE(shownFor("Paper Low;3;"));
  EXPECT_FALSE(shownFor("Paper Low;3;")) << "the user has seen it";
  EXPECT_TRUE(shownFor("Out of Paper;2;"));
  Do(Action::Minimize, window);
  SetStatus("Head Open;2;");
  EXPECT_TRUE(Eventually([&] { return IsVisible(window) && !View(window).minimized; }));
  Set("Show On Error", false);
  Run(u"hide P");
  EXPECT_FALSE(shownFor("Cover Open;2;"));
}

TEST_F(StatusWindowTest, GrowsForALongStatusAndKeepsItsPlaceWithoutATitleBar) {
  Registry().SetInt("UserSettings:Status Window/Window X Position", 70);
  Registry().SetInt("UserSettings:Status Window/Window Y Position", 50);
  const HWND window = Open();
  const auto small = View(window);
  EXPECT_TRUE(small.rect.left == 70 && small.rect.top == 50);
  const auto height = [](const RECT& rect) { return rect.bottom - rect.top; };
  const LONG line = height(small.Control(kStatus)->rect);
  SetStatus("A status that is far too long for one line of such a small window as this one is;1;");
  WaitForTick();
  const auto grown = View(window);
  EXPECT_EQ(height(grown.Control(kStatus)->rect), 2 * line);
  EXPECT_EQ(height(grown.rect), height(small.rect) + line);

  Set("Hide Titlebar", true);
  EXPECT_TRUE(Eventually([&] { return !(View(window).style & WS_DLGFRAME); }));
  const auto bare = View(window);
  for (LONG RECT::*side : {&RECT::left, &RECT::top, &RECT::right, &RECT::bottom})
    EXPECT_NEAR(bare.client.*side, grown.client.*side, 1) << "the width of the border that is left";
  SetStatus("Ready;1;");
  WaitForTick();
  Set("Hide Titlebar", false);
  EXPECT_TRUE(Eventually([&] { return (View(window).style & WS_DLGFRAME) != 0; }));
  const auto again = View(window);
  EXPECT_EQ(memcmp(&again.rect, &small.rect, sizeof again.rect), 0);

  EXPECT_TRUE(View(window).extendedStyle & WS_EX_TOPMOST);
  Set("Always On Top", false);
  EXPECT_TRUE(Eventually([&] { return !(View(window).extendedStyle & WS_EX_TOPMOST); }));
}

TEST_F(StatusWindowTest, IsDraggedAndStaysWhereItWasLeft) {
  Set("Hide Titlebar", true);
  const HWND window = Open();
  const RECT start = View(window).client;
  EXPECT_TRUE(DoAt(Action::MouseDown, window, start.left + 9, start.top + 9));
  EXPECT_TRUE(DoAt(Action::MouseMove, window, start.left + 209, start.top + 309));
  EXPECT_TRUE(Eventually([&] { return View(window).client.left == start.left + 200; }));
  EXPECT_TRUE(DoAt(Action::MouseUp, window, start.left + 209, start.top + 309));
  EXPECT_TRUE(DoAt(Action::MouseMove, window, start.left, start.top));
  WaitForTick();
  const RECT left = View(window).rect;
  EXPECT_TRUE(View(window).client.left == start.left + 200 && View(window).client.top == start.top + 300);
  Run(u"close P");
  EXPECT_TRUE(Closes(window));
  // Opening and closing does not move it.
  const RECT opened = View(Open()).rect;
  EXPECT_EQ(memcmp(&opened, &left, sizeof left), 0) << opened.left << " " << opened.top;
}

TEST_F(StatusWindowTest, ClosesOrHides) {
  HWND window = Open();
  EXPECT_TRUE(Do(Action::Close, window));
  EXPECT_TRUE(Eventually([&] { return !IsVisible(window); }));
  EXPECT_TRUE(Do(Action::DoubleClickIcon, window));
  EXPECT_TRUE(Eventually([&] { return IsVisible(window); }));
  Set("Show On Error", false);
  EXPECT_TRUE(Choose(window, Action::RightClickIcon, 109));
  EXPECT_TRUE(Eventually([&] { return !TrayIconOf(window); }));
  EXPECT_TRUE(IsWindow(window)) << "it is still seen";
  EXPECT_FALSE(Registry().GetBool("UserSettings:Status Window/Show Icon", true));
  EXPECT_TRUE(Do(Action::Close, window));
  EXPECT_TRUE(Closes(window));

  Set("Show Icon", true);
  window = Open(u"open P -i");
  EXPECT_TRUE(Choose(window, Action::RightClickIcon, 109));
  EXPECT_TRUE(Closes(window)) << "nothing would show it again";

  // In the middle of a request it waits for the answer.
  Set("Show Icon", true);
  window = Open();
  monitor_.SetWhileAsked([window] { SendMessageW(window, StatusWindow::kCloseMessage, 0, 0); });
  EXPECT_TRUE(Closes(window));
  // A failure ends the window, and nothing else.
  monitor_.SetWhileAsked(nullptr);
  window = Open();
  monitor_.SetWhileAsked([] { throw std::runtime_error("nobody expects this"); });
  EXPECT_TRUE(Closes(window));
  EXPECT_TRUE(Eventually([&] { return !TrayIconOf(window); }));
}

/// The driver's page: notes how it was asked.
class DriverPage final : public IPortwiseStatusSettings {
 public:
  explicit DriverPage(std::string* asked) : asked_(asked) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_FAIL; }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override {
    delete this;
    return 0;
  }
  HRESULT STDMETHODCALLTYPE ShowStatusMonitoring(LPCWSTR printer, HWND owner, LPCWSTR server) override {
    *asked_ = OString(printer).Narrow() + std::string(IsWindow(owner) && *server ? " owned" : " lost");
    return S_OK;
  }

 private:
  std::string* const asked_;
};

TEST_F(StatusWindowTest, HasMenus) {
  const HWND window = Open();
  ASSERT_TRUE(Do(Action::RightClickIcon, window));
  EXPECT_EQ(MenuWords(window),
            "Show Status Window*|Hide Icon|-Status Monitoring...|Printer Properties...|Printing Preferences...|"
            "Printer Queue...|Open Printers Folder|");
  EXPECT_FALSE(Do(Action::ChooseItem, window, 110)) << "not in this menu";
  Do(Action::ChooseItem, window, 0);
  EXPECT_TRUE(Eventually([] { return !platform::OwnWindows().menu; }));

  for (const UINT item : {112, 113, 114, 115}) EXPECT_TRUE(Choose(window, Action::RightMouseDown, item));
  const std::string pages = "rundll32.exe printui.dll,PrintUIEntry ";
  const std::vector<std::string> started = {pages + "/p /n \"P\"|1", pages + "/e /n \"P\"|1", pages + "/o /n \"P\"|1",
                                            "rundll32.exe shell32.dll,SHHelpShortcuts_RunDLL PrintersFolder|1"};
  EXPECT_TRUE(Eventually([&] { return Commands() == started; }));
  // A page that is open comes forward instead.
  RegisterWindow("P", PrinterWindow::Properties, window);
  EXPECT_TRUE(Choose(window, Action::RightMouseDown, 110));
  EXPECT_TRUE(Eventually([&] { return !IsVisible(window); }));
  EXPECT_TRUE(Choose(window, Action::RightClickIcon, 112));
  EXPECT_TRUE(Eventually([&] { return IsVisible(window); }));
  EXPECT_EQ(Commands(), started);
  Run(u"hide P");
  RegisterWindow("P", PrinterWindow::StatusMonitoring, window);
  EXPECT_TRUE(Choose(window, Action::RightClickIcon, 111)) << "open, whoever can show it anew";
  EXPECT_TRUE(Eventually([&] { return IsVisible(window); }));
  UnregisterWindow("P", PrinterWindow::StatusMonitoring, window);

  std::string asked;
  platform::RegisterComClass(kPageClass, [&asked](REFIID, void** object) {
    *object = static_cast<IPortwiseStatusSettings*>(new DriverPage(&asked));
    return S_OK;
  });
  for (const char* id : {"no class", "{00000001-0002-0003-0405-060708090A0B}"}) {
    Registry().SetString("Settings:User Interface Class", id);
    EXPECT_TRUE(Choose(window, Action::RightMouseDown, 111));
  }
  WaitForTick();
  EXPECT_EQ(asked, "P owned");
}

TEST_F(StatusWindowTest, TellsTheMonitorOfAShutdown) {
  const HWND window = Open();
  EXPECT_TRUE(Do(Action::EndSession, window, ENDSESSION_LOGOFF));
  EXPECT_FALSE(WasAsked("P: <network action='shutdown'/>"));
  EXPECT_TRUE(Do(Action::EndSession, window, 0));
  EXPECT_TRUE(WasAsked("P: <network action='shutdown'/>"));
}

TEST_F(StatusWindowTest, SpeaksTheUsersLanguage) {
  monitor_.SetReplies({});
  const char* const rows[][4] = {
      {"deu", "P Status", "Drucker:|P|Anschluss:|LPT1:|Status:|Überwachung ausgeschaltet|", "Statusfenster anzeigen*|"},
      {"jpn", "P ステータス", "プリンター:|P|ポート:|LPT1:|ステータス:|監視無効|", "ステータスウィンドウを表示*|"},
  };
  for (const auto& [language, title, texts, item] : rows) {
    Registry().SetString("UserSettings:Language", language);
    const HWND window = Open();
    EXPECT_EQ(View(window).text, title);
    EXPECT_EQ(TextsOf(window), texts);
    for (const auto& child : View(window).children) EXPECT_TRUE(Fits(window, child)) << child.text;
    EXPECT_TRUE(Do(Action::RightClickIcon, window));
    EXPECT_TRUE(MenuWords(window).starts_with(item)) << MenuWords(window);
    Do(Action::ChooseItem, window, 0);
    EXPECT_TRUE(Eventually([&] { return WasAsked(std::string("language='") + language); }));
    Run(u"close P");
    EXPECT_TRUE(Closes(window));
  }
}

}  // namespace
}  // namespace portwise
