#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "core/synchronizer.h"
#include "logging/log.h"

namespace portwise {

/// Keeps the job logs of a port: of whole jobs, of pages and of events, as they are configured for the printer. The
/// configuration is read at every job's start. What cannot be written is lost without a message. Any thread.
class JobLogger {
 public:
  /// A job begins. `recordFile` is where its print data is recorded; empty for nowhere.
  void JobStart(const OString& printer, const OString& port, DWORD job, const OString& recordFile);
  /// The printer that events between jobs are of.
  void SetPrinterName(const OString& printer);
  /// Bytes went to the printer.
  void AddBytes(DWORD count);
  /// Pages were announced.
  void AddPages(DWORD count);
  /// Pages ended, with all the bytes since the last end; nothing happens when that is none. With a log of pages at most
  /// a thousand are taken at once; the number left, for the next call, which then passes `further`.
  DWORD PageEnd(DWORD pages, bool further = false);
  /// How the job ended, in a word; before JobEnd.
  void SetStatus(const OString& status);
  void JobEnd();
  void Event(DWORD id, const OString& description);
  /// Reads the configuration again.
  void Reload();

 private:
  struct Entry {
    Entry(Log log_, std::unique_ptr<LogFormatter> formatter_)
        : log(std::move(log_)), formatter(std::move(formatter_)) {}

    Log log;
    LogData record;
    std::unique_ptr<LogFormatter> formatter;
  };

  /// Under the lock.
  void Write(Entry& entry);

  OCriticalSection lock_;
  JobLogValues values_;
  std::vector<std::unique_ptr<Entry>> entries_;
};

}  // namespace portwise
