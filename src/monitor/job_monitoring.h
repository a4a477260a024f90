#pragma once

#include <windows.h>

#include "core/synchronizer.h"
#include "query/printer_status.h"

namespace portwise {

class PortContext;

/// How a job is monitored, as the printer's settings and its plug-in have it, and the asking for statuses on behalf of
/// its data. Asking is the thread's that writes the job; the rest is any thread's.
class JobMonitoring {
 public:
  explicit JobMonitoring(PortContext& port) : port_(port) {}

  bool IsOn() const;
  /// It is on, and there are a status thread, a printer that may be asked, and a plug-in that can read its status.
  /// Waits for a thread that is still starting.
  bool IsPossible() const;
  /// The printer was found not to be one that may be asked, whatever the settings say.
  bool IsDisabled() const;
  /// For the rest of the job.
  void SwitchOff() const;
  bool VerifiesPages() const;
  bool VerifiesJob() const;

  /// Lets the status monitor ask the printer, and waits for what it finds; false when the response timeout passes
  /// first. True at once while monitoring is off. When the printer may no longer be asked, monitoring ends for this
  /// job. `keepPolling` leaves the status monitor the printer afterwards. Never under the documents' lock, which the
  /// status thread needs.
  bool RequestStatus(bool keepPolling = false) const;

  /// Tells the spooler the status that was found last. The thread's last error is then the status's.
  /// When the printer may no longer be asked, monitoring ends for this job, and the status is ready.
  PrinterStatus PublishCurrent() const;

  /// Whether the printer is done with its pages, asked anew. When it does not answer `*failed` is set, and the failure
  /// is reported.
  bool IsPageComplete(bool* failed) const;

  /// The printer takes nothing any more: it is offline, and the last error is ERROR_IO_DEVICE.
  void ReportWriteFailure() const;

  /// The job ends, and the printer may be asked again at any time; `active` when the status monitor followed it.
  void EndJob(bool active);

 private:
  void ForbidPolling() const;

  PortContext& port_;
  mutable OCriticalSection requestLock_;  // one request at a time: a request's packet may ask beside the job
  mutable OCriticalSection pollingLock_;  // a request's packet must not forbid what the job's end allows
};

}  // namespace portwise
