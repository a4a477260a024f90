#pragma once

#include <windows.h>

#include "core/ostring.h"
#include "core/synchronizer.h"
#include "logging/event_source_handle.h"

namespace portwise {

/// An event source of ours: reports entries with one text each to the system's event log.
///
/// The first report registers the source, after it has made its registry key when there was none. Any thread may
/// report. A report that fails returns false and changes nothing; the next one registers again where that was what
/// failed.
class OEventLog {
 public:
  /// The Application log; any other value is the System log.
  static constexpr DWORD kApplicationLog = 1;
  static constexpr DWORD kSystemLog = 2;

  OEventLog(const OString& sourceName, DWORD logKind) : logKind_(logKind), sourceName_(sourceName) {}
  OEventLog(const OEventLog&) = delete;
  OEventLog& operator=(const OEventLog&) = delete;
  virtual ~OEventLog() = default;

  /// `type` is EVENTLOG_INFORMATION_TYPE or EVENTLOG_WARNING_TYPE; every other one is an error. A derived class puts
  /// its header in front of the text.
  virtual bool Report(WORD type, const OString& text, WORD category);

  bool Information(const OString& text, WORD category) { return Report(EVENTLOG_INFORMATION_TYPE, text, category); }
  bool Warning(const OString& text, WORD category) { return Report(EVENTLOG_WARNING_TYPE, text, category); }
  bool Error(const OString& text, WORD category) { return Report(EVENTLOG_ERROR_TYPE, text, category); }

 protected:
  /// Taken around registration and report; a derived class guards its names with it too.
  OSynchronizer& Lock() { return lock_; }

 private:
  bool Register();

  unique_event_source source_;
  const DWORD logKind_;
  const OString sourceName_;
  OCriticalSection lock_;
};

}  // namespace portwise
