#include "host/monitors/job_watch.h"

#include <winspool.h>

#include <algorithm>

#include "platform/spooler/channel.h"
#include "platform/test_clock.h"

namespace portwise {

using platform::ClockMilliseconds;
using platform::Message;

namespace {

constexpr DWORD kAskPause = 250;          // ms
constexpr long long kJoblessWait = 5000;  // ms that the end of a document without a job may wait

}  // namespace

std::atomic<bool> JobWatch::stopAll_ = false;

void JobWatch::Begin(const Document& document) {
  job_ = document.job;
  stop_ = false;
  open_ = true;
  broken_ = false;
  taken_ = 0;
  endBegan_.reset();
  askedAt_ = ClockMilliseconds();
  const Message reply = platform::CallSpooler({{{"op", "job-get"}, {"job", job_}}, {}});
  user_ = reply.head.value("user", std::string());
}

void JobWatch::BeginEnd() { endBegan_ = ClockMilliseconds(); }

void JobWatch::End() {
  job_ = 0;
  open_ = false;
  broken_ = false;
  endBegan_.reset();
}

bool JobWatch::MustStop(bool now) {
  if (stopAll_) return true;
  if (job_ == 0) return endBegan_ && ClockMilliseconds() - *endBegan_ >= kJoblessWait;
  if (stop_ || (!now && ClockMilliseconds() - askedAt_ < kAskPause)) return stop_;
  askedAt_ = ClockMilliseconds();
  const Message reply = platform::CallSpooler({{{"op", "job-get"}, {"job", job_}}, {}});
  const DWORD error = reply.head.value("error", DWORD{ERROR_SUCCESS});
  // A spooler that does not answer says nothing about the job.
  stop_ = error == ERROR_INVALID_PARAMETER ||
          (error == ERROR_SUCCESS &&
           (reply.head.value("status", DWORD{0}) & (JOB_STATUS_DELETING | JOB_STATUS_DELETED)) != 0);
  return stop_;
}

bool JobWatch::Pause(DWORD milliseconds) {
  const long long end = ClockMilliseconds() + milliseconds;
  for (long long left = milliseconds; left > 0; left = end - ClockMilliseconds()) {
    if (MustStop()) return false;
    Sleep(static_cast<DWORD>(std::min<long long>(left, kAskPause)));
  }
  return !MustStop();
}

void JobWatch::Explain(const std::string& reason) { Report("reason", reason); }

void JobWatch::Fail(const std::string& reason) { Report("undelivered", reason); }

void JobWatch::CountTaken(DWORD bytes) { taken_ += bytes; }

void JobWatch::BreakOff(const std::string& reason) {
  if (!open_ || broken_ || taken_ == 0) return;
  broken_ = true;
  Fail(reason + " after " + std::to_string(taken_) + " bytes; the printer may have printed a part of the job");
}

void JobWatch::StopAll() { stopAll_ = true; }

void JobWatch::Report(const char* field, const std::string& reason) {
  if (job_ != 0) platform::CallSpooler({{{"op", "job-report"}, {"job", job_}, {field, reason}}, {}});
}

}  // namespace portwise
