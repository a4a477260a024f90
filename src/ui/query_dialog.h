#pragma once

#include <windows.h>

#include "core/ostring.h"
#include "locale/pm_locale.h"
#include "ui/print_job.h"
#include "ui/query_poll.h"

namespace portwise {

/// The dialog "Query Status": follows the queries of a print job until they are complete, and lets the user cancel the
/// job. Lives on one thread, as long as its window does.
class QueryDlg {
 public:
  /// What the dialog ends with.
  static constexpr int kNotShown = 0;
  static constexpr int kComplete = 1;
  static constexpr int kCancelled = 2;  ///< by the user, or the job went away

  /// `language` as pmLocale takes it.
  QueryDlg(const PrintJob& job, const OString& language);
  virtual ~QueryDlg() = default;
  QueryDlg(const QueryDlg&) = delete;
  QueryDlg& operator=(const QueryDlg&) = delete;

  /// The window has been made and is not shown yet.
  virtual void OnInitDialog();
  /// A button of that id was pressed; IDCANCEL is the wish to close the window.
  virtual void OnCommand(int id);

  /// Shows the dialog until it ends.
  int Run(HWND owner);

 private:
  static INT_PTR CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  /// False for a message that is left to the system.
  bool OnMessage(UINT message, WPARAM wParam);
  void OnTimer();
  void Cancel();
  void Close(int result);
  void StopTimer();
  /// Shows what has changed since it was shown last.
  void Show();

  const PrintJob job_;
  pmLocale locale_;
  QueryPoll poll_;
  QueryView shown_;
  HWND window_ = nullptr;
  bool busy_ = false;  // with a poll, or with its end
  bool cancelWhenDone_ = false;
};

/// Shows the dialog that a command line asks for; what the dialog ends with. Without a job that is alive there is none,
/// and it counts as cancelled.
int RunQueryDialog(HWND owner, const OString& commandLine);

}  // namespace portwise
