#include "ui/port_entry_points.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "locale/pm_locale.h"
#include "tests/ui/window_fixture.h"
#include "ui/entry_points.h"

namespace portwise {
namespace {

TEST_F(WindowTest, IsToldHowItsPortCallEnded) {
  pmLocale locale;
  DWORD size = 0;
  const HWND window = CreateDialogIndirectParamW(
      nullptr, static_cast<LPCDLGTEMPLATEW>(locale.GetDialog(TEXT("DLG_STATUSWINDOW"), &size)), nullptr,
      [](HWND, UINT, WPARAM, LPARAM) -> INT_PTR { return FALSE; }, 0);
  ASSERT_NE(window, nullptr);
  const struct {
    decltype(&CallAddPortW) call;
    const char* name;
    UINT message;
    int button;  // of the port monitor's dialog; 0 when none is shown
    WPARAM success;
    LPARAM error;
  } rows[] = {
      {CallAddPortW, "\"Standard TCP/IP Port\"", 0xBE01, IDOK, 1, 0},
      {CallAddPortW, "\"Standard TCP/IP Port\"", 0xBE01, IDCANCEL, 0, ERROR_CANCELLED},
      {CallAddPortW, "Nobody's", 0xBE01, 0, 0, ERROR_UNKNOWN_PRINT_MONITOR},
      {CallConfigurePortW, "\"No such port\"", 0xBE02, 0, 0, ERROR_UNKNOWN_PORT},
  };
  for (const auto& row : rows) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%08zX ", reinterpret_cast<size_t>(window));
    WideString line((OString(digits) + row.name).View());
    std::thread call([&] { row.call(nullptr, nullptr, line.data(), SW_SHOW); });
    MSG told = {};
    EXPECT_TRUE(Eventually([&] {
      for (const auto& dialog : platform::OwnWindows().windows) {
        if (dialog.handle != window && row.button != 0)
          platform::Do(platform::Action::Press, dialog.handle, row.button);
      }
      return PeekMessageW(&told, window, kPortAddedMessage, kPortConfiguredMessage, PM_REMOVE) != FALSE;
    })) << row.name;
    call.join();
    EXPECT_TRUE(told.message == row.message && told.wParam == row.success && told.lParam == row.error) << row.name;
  }
  CallAddPortW(nullptr, nullptr, nullptr, 0);
  DestroyWindow(window);
}

}  // namespace
}  // namespace portwise
