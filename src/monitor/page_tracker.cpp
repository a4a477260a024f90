#include "monitor/page_tracker.h"

#include <winspool.h>

#include <utility>

#include "logging/log_events.h"
#include "monitor/port_context.h"
#include "monitor/spooler_queries.h"

namespace portwise {

void PageTracker::BeginJob() {
  {
    const OString printer = port_.JobPrinter();
    const unique_printer handle = OpenForChanges(printer);
    const OScopedLock lock(odometerLock_);
    LoadOdometer(printer, handle.Get());
  }
  EndJob();
}

void PageTracker::EndJob() {
  const OScopedLock lock(lock_);
  tracking_ = false;
  blockOpen_ = false;
  pending_ = 0;
  pitch_ = 0;
}

void PageTracker::Announce(DWORD quantity, DWORD pitch) {
  {
    const OScopedLock lock(lock_);
    tracking_ = true;
    pending_ = quantity;
    pitch_ = pitch;
    if (quantity > 0) blockOpen_ = true;
  }
  port_.JobLog().AddPages(quantity);
  if (quantity == 0) return;
  port_.JobLog().Event(kPageStart.id, kPageStart.text);
  port_.Plugin().Notify(PluginEvent::PageOpened);
}

void PageTracker::CloseBlock() {
  DWORD pages = 0;
  DWORD pitch = 0;
  {
    const OScopedLock lock(lock_);
    if (!std::exchange(blockOpen_, false)) return;
    pages = pending_;
    pitch = pitch_;
  }
  if (port_.Monitoring().IsOn()) {
    port_.Plugin().Notify(PluginEvent::PageClosed);
    // Between jobs the last job is still known by its number.
    if (port_.Documents().IsJobRunning()) port_.Jobs().AddPagesSent(port_.JobId(), pages);
  }
  if (pages == 0) return;
  CountDistance(pages, pitch);
  port_.JobLog().Event(kPageEnd.id, kPageEnd.text);
  DWORD left = port_.JobLog().PageEnd(pages);
  while (left > 0 && !port_.JobIsDeleted()) left = port_.JobLog().PageEnd(left, true);
}

void PageTracker::CountDistance(DWORD pages, DWORD pitch) {
  const OString printer = port_.JobPrinter();
  const unique_printer handle = OpenForChanges(printer);
  const OScopedLock lock(odometerLock_);
  // A request may print between jobs, and on a printer that no job has used.
  if (!port_.Documents().IsJobRunning() || odometerOf_ != printer) LoadOdometer(printer, handle.Get());
  odometer_->Add(pages, pitch);
  odometer_->Save(handle.Get());
}

/// Totals that cannot be read are kept, but never another printer's.
void PageTracker::LoadOdometer(const OString& printer, HANDLE handle) {
  if (odometerOf_ != printer) odometer_ = std::make_unique<Odometer>();
  odometerOf_ = printer;
  odometer_->Load(handle);
}

void PageTracker::FinishPending(bool verified) {
  DWORD pages = 0;
  {
    const OScopedLock lock(lock_);
    pages = std::exchange(pending_, 0);
  }
  if (verified) port_.Jobs().AddPagesVerified(port_.JobId(), pages);
}

DWORD PageTracker::Pending() const {
  const OScopedLock lock(lock_);
  return blockOpen_ ? 0 : pending_;
}

bool PageTracker::IsTracking() const {
  const OScopedLock lock(lock_);
  return tracking_;
}

}  // namespace portwise
