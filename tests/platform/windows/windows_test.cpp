#include <commctrl.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <shellapi.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>

#include "platform/home.h"
#include "platform/kernel/modules.h"
#include "platform/test_clock.h"
#include "platform/text.h"
#include "platform/windows/inspect.h"
#include "tests/platform/windows/dialog_bytes.h"
#include "tests/platform/windows/window_library.h"
#include "tests/support/files.h"
#include "tests/support/temporary_home.h"

namespace portwise::platform {
namespace {

constexpr DWORD kFrame = WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX;
constexpr int kInput = 30;

/// The messages that the dialog below was asked about, and what it does with them.
std::vector<std::pair<UINT, WPARAM>> heard;
std::function<INT_PTR(HWND, UINT, WPARAM, LPARAM)> reaction;

INT_PTR CALLBACK Listen(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  heard.emplace_back(message, wParam);
  return reaction ? reaction(window, message, wParam, lParam) : FALSE;
}

long CountOf(UINT message) {
  return std::count_if(heard.begin(), heard.end(), [message](const auto& entry) { return entry.first == message; });
}

bool Eventually(const std::function<bool()>& condition) {
  for (int i = 0; i < 2000 && !condition(); ++i) usleep(5000);
  return condition();
}

/// Dispatches what is there, and what comes until the condition holds.
bool ServeUntil(const std::function<bool()>& condition) {
  return Eventually([&] {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    return condition();
  });
}

class Windows : public testing::Test {
 protected:
  Windows() {
    heard.clear();
    reaction = nullptr;
  }
  ~Windows() override {
    SetTimeScale(1);
    for (const WindowView& window : OwnWindows().windows) DestroyWindow(window.handle);
  }

  static HWND Make(const DialogBytes& dialog = DialogBytes(kFrame, 100, 50, u"Mine")) {
    return CreateDialogIndirectParamW(nullptr, dialog.Get(), GetDesktopWindow(), Listen, 7);
  }

 private:
  const TemporaryHome home_;
};

/// A process that the command line's program shows the test library's window in, until the object ends.
class OtherProcess {
 public:
  OtherProcess() {
    const std::string program = std::string(LibraryFolder()) + "/portwise";
    std::string words[] = {program, "ui", "run", "--show", "0", "window-library.dll,Open", "Test:Other"};
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, OutputFile().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn(&process_, program.c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    Eventually([this] { return (window_ = GetPropW(GetDesktopWindow(), u"TEST:other")) != nullptr; });
  }
  ~OtherProcess() { Kill(); }

  HWND Window() const { return static_cast<HWND>(window_); }
  void Kill() {
    if (process_ > 0) kill(process_, SIGKILL);
    Join();
  }
  int Join() {
    int status = -1;
    if (process_ > 0) waitpid(process_, &status, 0);
    process_ = 0;
    return status;
  }
  pid_t Id() const { return process_; }
  static std::string OutputFile() { return Home() + "/output"; }

 private:
  pid_t process_ = 0;
  HANDLE window_ = nullptr;
};

TEST_F(Windows, OfOneProcessAreFoundShownAskedAndClosedByAnother) {
  OtherProcess other;
  const HWND window = other.Window();
  ASSERT_TRUE(IsWindow(window));
  WCHAR text[4];
  EXPECT_EQ(GetWindowTextW(window, text, 4), 3);
  EXPECT_EQ(std::u16string(text), u"Oth");
  DWORD process = 0;
  EXPECT_NE(GetWindowThreadProcessId(window, &process), 0u);
  EXPECT_EQ(process, static_cast<DWORD>(other.Id()));
  EXPECT_FALSE(IsWindowVisible(window));
  EXPECT_FALSE(ShowWindow(window, SW_RESTORE));
  EXPECT_TRUE(IsWindowVisible(window));
  EXPECT_EQ(GetForegroundWindow(), window);
  EXPECT_TRUE(ShowWindow(window, SW_HIDE));
  EXPECT_FALSE(IsWindowVisible(window));
  EXPECT_FALSE(Do(Action::Close, window)) << "hidden";
  ShowWindow(window, SW_SHOW);

  const HWND mine = Make();
  EXPECT_FALSE(DestroyWindow(window));
  reaction = [&](HWND, UINT message, WPARAM wParam, LPARAM) -> INT_PTR {
    if (message != kAskBack) return FALSE;
    const LRESULT below =
        wParam == 0 ? 0 : 1 + SendMessageW(window, kAskBack, wParam - 1, reinterpret_cast<LPARAM>(mine));
    SetWindowLongPtrW(mine, DWLP_MSGRESULT, below);
    return TRUE;
  };
  EXPECT_EQ(SendMessageW(window, kAskBack, 9, reinterpret_cast<LPARAM>(mine)), 9);
  DWORD_PTR result = 1;
  EXPECT_EQ(SendMessageTimeoutW(window, kSleep, 500, 0, SMTO_NORMAL, 50, &result), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_TIMEOUT));

  EXPECT_EQ(AllWindows().size(), 2u);
  ASSERT_TRUE(ProcessOf(window));
  EXPECT_EQ(ProcessOf(window)->Window(window)->text, "Other");
  const auto output = [] { return ReadBytes(OtherProcess::OutputFile()); };
  EXPECT_TRUE(Eventually([&] { return output() == "== Other ==\n  Label:  value\n"; })) << output();
  EXPECT_TRUE(Do(Action::Close, window));
  EXPECT_EQ(other.Join(), 0);
  EXPECT_FALSE(IsWindow(window));
  EXPECT_EQ(AllWindows().size(), 1u);
}

TEST_F(Windows, OfAKilledProcessAreGoneAndWhatIsSentToThemFails) {
  OtherProcess other;
  const HWND window = other.Window();
  std::thread killer([&] {
    usleep(200000);
    other.Kill();
  });
  SetLastError(0);
  EXPECT_EQ(SendMessageW(window, kSleep, 60000, 0), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_WINDOW_HANDLE));
  killer.join();
  EXPECT_FALSE(IsWindow(window));
  EXPECT_FALSE(PostMessageW(window, WM_NULL, 0, 0));
  EXPECT_EQ(GetPropW(GetDesktopWindow(), u"Test:Other"), window) << "the property is stale";
  EXPECT_EQ(RemovePropW(GetDesktopWindow(), u"Test:Other"), window);
  EXPECT_EQ(GetPropW(GetDesktopWindow(), u"Test:Other"), nullptr);
  const OtherProcess next;
  EXPECT_NE(next.Window(), window) << "handles are not given out again soon";
}

TEST_F(Windows, TimersKeepTheScaledClockAndNeverPileUp) {
  SetTimeScale(20);
  const HWND window = Make();
  const DWORD start = GetTickCount();
  SetTimer(window, 1, 1000, nullptr);
  MSG message;
  while (CountOf(WM_TIMER) < 3 && GetMessageW(&message, nullptr, 0, 0)) DispatchMessageW(&message);
  EXPECT_GE(GetTickCount() - start, 3000u);
  EXPECT_LT(GetTickCount() - start, 6000u);
  heard.clear();
  Sleep(5000);
  PostMessageW(window, WM_USER, 0, 0);
  PostQuitMessage(3);
  EXPECT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE) && message.message == WM_USER);
  EXPECT_TRUE(PeekMessageW(&message, window, WM_TIMER, WM_TIMER, PM_REMOVE) && message.message == WM_QUIT);
  EXPECT_TRUE(PeekMessageW(&message, window, WM_TIMER, WM_TIMER, PM_REMOVE) && message.message == WM_TIMER);
  EXPECT_FALSE(PeekMessageW(&message, window, WM_TIMER, WM_TIMER, PM_REMOVE)) << "five periods late, it comes once";
  Sleep(2000);
  EXPECT_TRUE(KillTimer(window, 1));
  EXPECT_FALSE(PeekMessageW(&message, nullptr, WM_TIMER, WM_TIMER, PM_REMOVE));
  EXPECT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) && message.message == WM_USER);
}

TEST_F(Windows, DialogsRunUntilTheyEnd) {
  DialogBytes dialog(kFrame, 100, 50, u"Question");
  dialog.Add(kStatic, 0, 20, u"Text").Add(kEdit, WS_TABSTOP, kInput, u"", 10, 20);
  dialog.Add(kButton, WS_TABSTOP | BS_PUSHBUTTON, IDCANCEL, u"Cancel")
      .Add(kButton, WS_TABSTOP | BS_DEFPUSHBUTTON, 5, u"Go");
  const HWND owner = Make();
  ShowWindow(owner, SW_SHOW);
  const std::pair<std::function<void(HWND)>, INT_PTR> ways[] = {
      {[](HWND window) { Do(Action::Key, window, VK_RETURN); }, 5},
      {[](HWND window) { Do(Action::Key, window, VK_ESCAPE); }, IDCANCEL},
      {[](HWND window) { Do(Action::Close, window); }, IDCANCEL},
      {[](HWND window) { Do(Action::Press, window, 5); }, 5},
      {[](HWND window) { Do(Action::Key, window, VK_TAB), Do(Action::Key, window, VK_SPACE); }, IDCANCEL},
      {[](HWND window) { DoAt(Action::MouseUp, window, -1, -1), PostMessageW(window, WM_COMMAND, 9, 0); }, 9},
  };
  for (const auto& [way, result] : ways) {
    bool disabled = false;
    reaction = [&](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> INT_PTR {
      if (message == WM_COMMAND && HIWORD(wParam) == BN_CLICKED) return EndDialog(window, LOWORD(wParam));
      if (message == WM_INITDIALOG) {
        EXPECT_EQ(lParam, 7);
        EXPECT_EQ(reinterpret_cast<HWND>(wParam), GetDlgItem(window, kInput)) << "the first that may have the focus";
        disabled = !IsWindowEnabled(owner);
        PostMessageW(window, WM_USER, 0, 0);
        return TRUE;
      }
      if (message == WM_USER) way(window);
      return FALSE;
    };
    EXPECT_EQ(DialogBoxIndirectParamW(nullptr, dialog.Get(), owner, Listen, 7), result);
    EXPECT_TRUE(disabled && IsWindowEnabled(owner));
    EXPECT_EQ(OwnWindows().windows.size(), 1u);
  }
  reaction = [](HWND window, UINT message, WPARAM, LPARAM) { return message == WM_INITDIALOG && EndDialog(window, 4); };
  EXPECT_EQ(DialogBoxIndirectParamW(nullptr, dialog.Get(), owner, Listen, 0), 4) << "before it is shown";
  heard.clear();
  reaction = nullptr;
  DestroyWindow(owner);
  EXPECT_EQ(heard.back().first, static_cast<UINT>(WM_NCDESTROY));
  EXPECT_FALSE(IsWindow(owner));
}

TEST_F(Windows, FramesAreMeasuredAnewWhenTheyChange) {
  const HWND window = Make();
  RECT rect, client;
  POINT origin{};
  const auto measure = [&] {
    GetWindowRect(window, &rect);
    GetClientRect(window, &client);
    origin = {};
    ClientToScreen(window, &origin);
  };
  measure();
  EXPECT_EQ(client.right, 200);
  EXPECT_EQ(client.bottom, 100);
  EXPECT_EQ(origin.x - rect.left, 3);
  EXPECT_EQ(origin.y - rect.top, 23);
  SetWindowLongPtrW(window, GWL_STYLE, GetWindowLongPtrW(window, GWL_STYLE) & ~LONG_PTR{WS_DLGFRAME});
  measure();
  EXPECT_EQ(client.bottom, 100) << "not yet";
  SetWindowPos(window, nullptr, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_FRAMECHANGED);
  measure();
  EXPECT_EQ(origin.y - rect.top, 1);
  SetWindowPos(window, HWND_TOPMOST, 50, 60, 0, 0, SWP_NOSIZE);
  EXPECT_TRUE(GetWindowLongPtrW(window, GWL_EXSTYLE) & WS_EX_TOPMOST);
  ShowWindow(window, SW_MINIMIZE);
  EXPECT_TRUE(IsIconic(window) && IsWindowVisible(window));
  ShowWindow(window, SW_RESTORE);
  measure();
  EXPECT_EQ(rect.left, 50);
  EXPECT_EQ(rect.top, 60);
  DestroyWindow(window);
}

TEST_F(Windows, OfTheLibrarysResourcesTakeMenusIconsAndTheMouse) {
  const HMODULE library = LoadLibraryW(u"portwise.dll");
  const auto load = [library](LPCWSTR type, LPCWSTR name) {
    return LockResource(LoadResource(library, FindResourceW(library, name, type)));
  };
  const auto* dialog = static_cast<LPCDLGTEMPLATEW>(load(RT_DIALOG, u"DLG_QUERY1"));
  const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_PROGRESS_CLASS};
  EXPECT_EQ(CreateDialogIndirectParamW(library, dialog, nullptr, Listen, 0), nullptr) << "no progress bars yet";
  InitCommonControlsEx(&controls);
  const HWND window = CreateDialogIndirectParamW(library, dialog, nullptr, Listen, 0);
  ASSERT_NE(window, nullptr);
  ShowWindow(window, SW_SHOW);
  SendDlgItemMessageW(window, 1012, PBM_SETRANGE32, 0, 20);
  SendDlgItemMessageW(window, 1012, PBM_SETPOS, 30, 0);
  SetDlgItemTextW(window, 1015, u"\u5370\u5237");
  NOTIFYICONDATAW icon{};
  icon.cbSize = sizeof icon;
  icon.hWnd = window;
  icon.uID = 1;
  icon.uFlags = NIF_ICON | NIF_MESSAGE | NIF_TIP;
  icon.uCallbackMessage = WM_USER + 2;
  icon.hIcon = LoadIconW(library, MAKEINTRESOURCEW(119));
  icon.szTip[0] = u'T';
  EXPECT_TRUE(Shell_NotifyIconW(NIM_ADD, &icon));
  EXPECT_FALSE(Shell_NotifyIconW(NIM_ADD, &icon)) << "twice";

  ProcessView view = OwnWindows();
  const WindowView* seen = view.Window(window);
  EXPECT_EQ(seen->Control(1012)->position, 20);
  EXPECT_EQ(seen->Control(1015)->text, "印刷");
  ASSERT_EQ(view.icons.size(), 1u);
  EXPECT_EQ(view.icons[0].icon, 119);
  EXPECT_EQ(view.icons[0].tip, "T");

  const HDC context = GetDC(window);
  SIZE size;
  EXPECT_TRUE(GetTextExtentPoint32W(context, u"a\u5370", 2, &size));
  EXPECT_EQ(size.cx, 24);
  ReleaseDC(window, context);

  const HMENU menu = LoadMenuIndirectW(load(RT_MENU, u"MENU_STATUSPOPUP"));
  const HMENU popup = GetSubMenu(menu, 1);
  EnableMenuItem(popup, 111, MF_BYCOMMAND | MF_GRAYED);
  SetMenuDefaultItem(popup, 108, FALSE);
  std::vector<UINT> icons;
  reaction = [&](HWND, UINT message, WPARAM, LPARAM lParam) -> INT_PTR {
    if (message == WM_USER + 2) icons.push_back(static_cast<UINT>(lParam));
    if (message == WM_USER + 2 && lParam == WM_RBUTTONDOWN)
      TrackPopupMenu(popup, TPM_RIGHTBUTTON, 1, 2, 0, window, nullptr);
    if (message == WM_LBUTTONDOWN) SetCapture(window);
    return FALSE;
  };
  std::thread person([&] {
    EXPECT_TRUE(Do(Action::DoubleClickIcon, window) && Do(Action::RightClickIcon, window));
    EXPECT_TRUE(Eventually([] { return OwnWindows().menu.has_value(); }));
    const auto items = OwnWindows().menu->items;
    EXPECT_TRUE(items[0].isDefault && items[2].separator && !items[3].enabled);
    EXPECT_EQ(items[0].text, "Show Status Window");
    EXPECT_FALSE(Do(Action::ChooseItem, window, 111)) << "gray";
    EXPECT_TRUE(Do(Action::ChooseItem, window, 108));
  });
  EXPECT_TRUE(ServeUntil([] { return CountOf(WM_COMMAND) == 1; }));
  EXPECT_EQ(heard.back().second, 108u);
  person.join();
  EXPECT_EQ(icons, (std::vector<UINT>{WM_LBUTTONDOWN, WM_LBUTTONUP, WM_LBUTTONDBLCLK, WM_LBUTTONUP, WM_RBUTTONDOWN,
                                      WM_RBUTTONUP}));
  EXPECT_TRUE(DestroyMenu(menu) && !DestroyMenu(popup));

  const RECT label = seen->Control(1015)->rect;
  EXPECT_TRUE(DoAt(Action::MouseDown, window, label.left + 1, label.top + 1));
  EXPECT_TRUE(ServeUntil([] { return CountOf(WM_LBUTTONDOWN) == 1; })) << "through the text";
  EXPECT_EQ(GetCapture(), window);
  EXPECT_TRUE(DoAt(Action::MouseMove, window, 2000, 2000));
  EXPECT_TRUE(ServeUntil([] { return CountOf(WM_MOUSEMOVE) == 1; })) << "outside, but captured";
  EXPECT_TRUE(Do(Action::EndSession, window, ENDSESSION_LOGOFF));
  EXPECT_EQ(CountOf(WM_ENDSESSION), 1);
  DestroyWindow(window);
  EXPECT_TRUE(OwnWindows().icons.empty());
  FreeLibrary(library);
}

TEST_F(Windows, MessageBoxesWaitForWhoeverIsThere) {
  EXPECT_EQ(MessageBoxA(nullptr, "Text", "Title", MB_YESNO), 0) << "nobody";
  SetInteractive(true);
  std::thread person([] {
    EXPECT_TRUE(Eventually([] { return OwnWindows().windows.size() == 1 && OwnWindows().windows[0].visible; }));
    const WindowView box = OwnWindows().windows[0];
    EXPECT_EQ(box.text, "Title");
    EXPECT_EQ(box.children[0].text, "Text");
    Do(Action::Close, box.handle);
    Do(Action::Press, box.handle, IDNO);
  });
  EXPECT_EQ(MessageBoxA(nullptr, "Text", "Title", MB_YESNO), IDNO);
  person.join();
  SetInteractive(false);
}

TEST_F(Windows, OfAThreadEndWithItAndAnswerOthersWhileItServes) {
  reaction = [](HWND, UINT message, WPARAM, LPARAM) -> INT_PTR {
    if (message == WM_USER) PostQuitMessage(0);
    return FALSE;
  };
  std::atomic<HWND> window = nullptr;
  std::thread thread([&] {
    window = Make();
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0)) DispatchMessageW(&message);
  });
  ASSERT_TRUE(Eventually([&] { return window && IsWindow(window); }));
  WCHAR text[8];
  EXPECT_EQ(GetWindowTextW(window, text, 8), 4);
  PostMessageW(window, WM_USER, 0, 0);
  thread.join();
  EXPECT_FALSE(IsWindow(window));
}

TEST_F(Windows, CommandsAreRememberedWithHowTheyAreShown) {
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = SW_HIDE;
  PROCESS_INFORMATION process{};
  std::u16string line = u"rundll32.exe printui.dll,PrintUIEntry /o /n \"P 1\"";
  ASSERT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process));
  EXPECT_EQ(WaitForSingleObject(process.hProcess, 0), WAIT_OBJECT_0);
  EXPECT_TRUE(CloseHandle(process.hProcess) && CloseHandle(process.hThread));
  ASSERT_EQ(StartedCommands().size(), 1u);
  EXPECT_EQ(StartedCommands()[0].commandLine, ToUtf8(line));
  EXPECT_EQ(StartedCommands()[0].show, SW_HIDE);

  line = u"rundll32 window-library.dll,Open Test:Started";
  ASSERT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process));
  HWND window = nullptr;
  EXPECT_TRUE(Eventually([&] { return (window = static_cast<HWND>(GetPropW(GetDesktopWindow(), u"Test:Started"))); }));
  EXPECT_FALSE(IsWindowVisible(window));
  PostMessageW(window, WM_CLOSE, 0, 0);
  EXPECT_EQ(WaitForSingleObject(process.hProcess, 20000), WAIT_OBJECT_0);
  EXPECT_TRUE(CloseHandle(process.hProcess) && CloseHandle(process.hThread));
}

}  // namespace
}  // namespace portwise::platform
