#include "logging/job_logger.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace portwise {

void JobLogger::JobStart(const OString& printer, const OString& port, DWORD job, const OString& recordFile) {
  const OScopedLock lock(lock_);
  values_.BeginJob(printer, port, recordFile);
  values_.FillFromSpooler(job);
  Reload();
}

void JobLogger::Reload() {
  const OScopedLock lock(lock_);
  entries_.clear();
  for (const OString& name : LogNames(values_.printerName)) {
    Log log = Log::Load(values_.printerName, name, values_.jobName);
    auto formatter = log.MakeFormatter();
    if (formatter) entries_.push_back(std::make_unique<Entry>(std::move(log), std::move(formatter)));
  }
}

void JobLogger::SetPrinterName(const OString& printer) {
  const OScopedLock lock(lock_);
  values_.printerName = printer;
}

void JobLogger::AddBytes(DWORD count) {
  const OScopedLock lock(lock_);
  values_.AddBytes(count);
}

void JobLogger::AddPages(DWORD count) {
  const OScopedLock lock(lock_);
  const LONG room = std::numeric_limits<LONG>::max() - values_.pageCount;
  values_.pageCount += count > static_cast<DWORD>(room) ? room : static_cast<LONG>(count);
}

DWORD JobLogger::PageEnd(DWORD pages, bool further) {
  const OScopedLock lock(lock_);
  if (pages == 0 || (values_.pageBytes <= 0 && !further)) return 0;
  const bool recorded =
      std::any_of(entries_.begin(), entries_.end(), [](const auto& entry) { return entry->log.IsOf(LogType::Pages); });
  // The count comes from the print data and may be anything.
  constexpr DWORD kMostAtOnce = 1000;
  const DWORD taken = recorded ? std::min(pages, kMostAtOnce) : pages;
  constexpr LONGLONG kLastIndex = std::numeric_limits<LONG>::max();
  for (DWORD page = 0; recorded && page < taken; ++page) {
    if (values_.pageIndex < kLastIndex) ++values_.pageIndex;
    for (const auto& entry : entries_) {
      if (entry->log.IsOf(LogType::Pages)) Write(*entry);
    }
    values_.pageBytes = 0;
  }
  if (!recorded) values_.pageIndex = static_cast<LONG>(std::min(LONGLONG{values_.pageIndex} + taken, kLastIndex));
  values_.pageBytes = 0;
  return pages - taken;
}

void JobLogger::SetStatus(const OString& status) {
  const OScopedLock lock(lock_);
  values_.status = status;
}

void JobLogger::JobEnd() {
  const OScopedLock lock(lock_);
  GetLocalTime(&values_.endTime);
  if (values_.jobBytes <= 0) return;
  for (const auto& entry : entries_) {
    if (entry->log.IsOf(LogType::Jobs)) Write(*entry);
  }
}

void JobLogger::Event(DWORD id, const OString& description) {
  const OScopedLock lock(lock_);
  values_.SetEvent(id, description);
  for (const auto& entry : entries_) {
    if (entry->log.IsOf(LogType::Events) && entry->log.Admits(id)) Write(*entry);
  }
}

void JobLogger::Write(Entry& entry) {
  const auto type = static_cast<LogType>(entry.log.logType);
  for (const LogFieldRow& row : LogFields()) {
    for (const logField& field : entry.log.fields) {
      OString text;
      if (field.key == row.key && FormatLogValue(row.value(values_, type), field, &text)) {
        entry.record.SetString(row.key, text);
      }
    }
  }
  entry.formatter->Write(entry.log.fields, entry.record);
}

}  // namespace portwise
