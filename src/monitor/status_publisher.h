#pragma once

#include "core/ostring.h"
#include "core/synchronizer.h"
#include "logging/job_logger.h"
#include "monitor/job_records.h"
#include "monitor/status_text.h"
#include "query/printer_status.h"
#include "settings/driver_settings.h"

namespace portwise {

/// Whom a status is told of, at one moment.
struct StatusSubject {
  OString printer;     ///< of the job in progress, between jobs the one that the port prints to
  DWORD job = 0;       ///< in progress, or the last one when it was refused or its end failed; else 0
  OString jobPrinter;  ///< in whose queue the job is
};

/// What the publication of a printer's status asks of the port. Any thread.
class PublishingPort {
 public:
  virtual ~PublishingPort() = default;

  virtual StatusSubject Subject() const = 0;
  virtual DriverSettings& SettingValues() = 0;
  virtual JobRecords& Jobs() = 0;
  virtual JobLogger& JobLog() = 0;
};

/// Tells everybody who watches a printer what its port has learned of it: the spooler's queue and job list, the
/// printer's comment, the job logs and the record of the job in progress.
///
/// Any thread; publications of one port come one after the other. What the spooler refuses is left out silently.
class StatusPublisher {
 public:
  /// Both must outlive the publisher.
  StatusPublisher(PublishingPort& port, StatusText& texts) : port_(port), texts_(texts) {}

  /// Nothing is asked of the spooler while neither the status nor the job has changed. The calling thread's last error
  /// becomes the status's error code in every case, 0 when it has none.
  void Publish(const PrinterStatus& status);

  /// What was published last; before that, the code 0. Does not wait for a publication in progress.
  PrinterStatus Current() const { return current_; }

 private:
  /// The next two are called under the lock.
  void Announce(const StatusSubject& subject, const PrinterStatus& status);
  void Record(DWORD job, const PrinterStatus& status);

  PublishingPort& port_;
  StatusText& texts_;
  OCriticalSection lock_;
  PrinterStatus current_;  // written under lock_
  DWORD lastJob_ = 0;      // that the spooler was told of; under lock_
};

}  // namespace portwise
