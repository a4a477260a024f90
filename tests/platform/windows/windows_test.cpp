#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <windows.h>

#include <functional>
#include <thread>

#include "platform/home.h"
#include "platform/kernel/modules.h"
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

/// What the dialog below does with its messages.
std::function<INT_PTR(HWND, UINT, WPARAM, LPARAM)> reaction;

INT_PTR CALLBACK Listen(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  return reaction ? reaction(window, message, wParam, lParam) : FALSE;
}

bool Eventually(const std::function<bool()>& condition) {
  for (int i = 0; i < 2000 && !condition(); ++i) usleep(5000);
  return condition();
}

class Windows : public testing::Test {
 protected:
  Windows() { reaction = nullptr; }
  ~Windows() override {
    for (const WindowView& window : OwnWindows().windows) DestroyWindow(window.handle);
  }

  static HWND Make() {
    const DialogBytes dialog(kFrame, 100, 50, u"Mine");
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
}

TEST_F(Windows, FramesAreMeasuredAnewWhenToldOfTheirChange) {
  const HWND window = Make();
  const auto top = [window] {
    RECT rect;
    POINT origin{};
    GetWindowRect(window, &rect);
    ClientToScreen(window, &origin);
    return origin.y - rect.top;
  };
  SetWindowLongPtrW(window, GWL_STYLE, GetWindowLongPtrW(window, GWL_STYLE) & ~LONG_PTR{WS_DLGFRAME});
  EXPECT_EQ(top(), 23) << "not yet";
  SetWindowPos(window, nullptr, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_FRAMECHANGED);
  EXPECT_EQ(top(), 1);
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

TEST_F(Windows, CommandsAreShownAsTheirStarterSays) {
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = SW_HIDE;
  PROCESS_INFORMATION process{};
  std::u16string line = u"rundll32 window-library.dll,Open Test:Started";
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
