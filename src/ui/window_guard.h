#pragma once

#include <windows.h>

#include "core/fault/exception_handler.h"

namespace portwise {

/// The guard of a window's messages, which the system hands over: nothing may be thrown through it. A window that has
/// failed is told of and gets no further messages, since the next one would only fail as well, perhaps while the user
/// reads of the first.
class WindowGuard : public OExceptionHandler {
 public:
  /// `close` ends the window; it is called once the failure has been told.
  WindowGuard(const char* scopeName, HWND window, void (*close)(HWND window))
      : OExceptionHandler(scopeName, kReportMessageBox), window_(window), close_(close) {}

  void Handle(const OException& exception) override {
    SetWindowLongPtrW(window_, DWLP_USER, 0);
    OExceptionHandler::Handle(exception);
    close_(window_);
  }

 private:
  const HWND window_;
  void (*const close_)(HWND window);
};

/// The object that a dialog's messages are for: what the dialog was made with. Null before the dialog has begun, and
/// after it has failed.
template <class Object>
Object* ObjectOfDialog(HWND window, UINT message, LPARAM parameter) {
  if (message == WM_INITDIALOG) SetWindowLongPtrW(window, DWLP_USER, parameter);
  return reinterpret_cast<Object*>(GetWindowLongPtrW(window, DWLP_USER));
}

}  // namespace portwise
