#pragma once

#include <windows.h>

#include <memory>

#include "core/ostring.h"
#include "core/synchronizer.h"
#include "settings/odometer.h"

namespace portwise {

class PortContext;

/// The pages of a job as the job itself announces them. A page element opens a block; the print data behind it closes
/// the block once the printer has all of it, and its pages are pending until the printer is known to be done with them.
/// Any thread: requests may announce pages too.
class PageTracker {
 public:
  explicit PageTracker(PortContext& port) : port_(port) {}

  void BeginJob();
  /// What is printed from now on belongs to no page of the job.
  void EndJob();
  /// `quantity` pages follow, `pitch` tenths of a millimetre long each.
  void Announce(DWORD quantity, DWORD pitch);
  /// The data of the block, if one is open, is with the printer: counts its pages for the job, its log and the
  /// odometer.
  void CloseBlock();
  /// The pages pending are done; the printer has verified them when `verified`.
  void FinishPending(bool verified);

  /// Pages whose block is closed; those of an open block have data still to come.
  DWORD Pending() const;
  /// The job announces its pages.
  bool IsTracking() const;

 private:
  void CountDistance(DWORD pages, DWORD pitch);
  void LoadOdometer(const OString& printer, HANDLE handle);

  PortContext& port_;
  OCriticalSection odometerLock_;  // for the next two
  std::unique_ptr<Odometer> odometer_ = std::make_unique<Odometer>();
  OString odometerOf_;  // the printer whose totals these are
  mutable OCriticalSection lock_;
  bool tracking_ = false;  // under lock_, as are the next
  bool blockOpen_ = false;
  DWORD pending_ = 0;
  DWORD pitch_ = 0;
};

}  // namespace portwise
