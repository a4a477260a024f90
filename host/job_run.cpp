#include "host/job_run.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "host/complain.h"

namespace portwise {

namespace {

constexpr DWORD kBufferSize = 65536;
constexpr DWORD kPauseAfterRefusal = 1000;
constexpr DWORD kPauseAfterNothing = 200;
constexpr DWORD kPausedWait = 30000;

}  // namespace

bool JobRun::Run() {
  store_.Change(job_.id, [](Job& job) { job.phase = JobPhase::Sending; });
  if (!port_.StartDoc(job_.printer, job_.id, job_.document)) {
    std::string reason = MonitorFault(GetLastError(), "the print monitor does not take the job");
    store_.Release(job_.id, [&](Job& job) {
      job.state = JobState::Waiting;
      job.reason = reason;
    });
    return false;
  }
  store_.Change(job_.id, [](Job& job) {
    job.state = JobState::Printing;
    job.reason.clear();
  });
  return Finish(SendData());
}

JobRun::Ending JobRun::SendData() {
  data_ = store_.Folder().OpenData(job_.id, &fault_);
  if (!data_) return Ending::Unreadable;
  if (job_.size == 0) return Ending::Delivered;
  Ending ending;
  if (!MayGoOn(&ending)) return ending;
  platform::UniqueFd progress;
  if (!RecordBegin(&progress)) return Ending::NotRecorded;
  buffer_.resize(kBufferSize);
  return SendBuffers(progress);
}

bool JobRun::RecordBegin(platform::UniqueFd* progress) {
  *progress = store_.Folder().CreateProgress(job_.id, &fault_);
  if (!*progress) return false;
  store_.Change(job_.id, [](Job& job) { job.begun = true; });
  job_.begun = store_.Save(job_.id, &fault_);
  if (!job_.begun) store_.Change(job_.id, [](Job& job) { job.begun = false; });
  return job_.begun;
}

JobRun::Ending JobRun::SendBuffers(const platform::UniqueFd& progress) {
  job_.taken = 0;
  // The monitor may take all of a buffer and still say FALSE; it is then called with nothing until it is content.
  bool content = true;
  while (job_.taken < job_.size || !content) {
    Ending ending;
    if (!MayGoOn(&ending)) return ending;
    DWORD size = 0;
    if (job_.taken < job_.size && !ReadBuffer(&size)) return Ending::Unreadable;
    content = WriteOnce(size, progress);
  }
  return Ending::Delivered;
}

bool JobRun::ReadBuffer(DWORD* size) {
  auto wanted = static_cast<DWORD>(std::min<std::uint64_t>(kBufferSize, job_.size - job_.taken));
  ssize_t got;
  do {
    got = pread(data_.Get(), buffer_.data(), wanted, static_cast<off_t>(job_.taken));
  } while (got < 0 && errno == EINTR);
  if (got > 0) {
    *size = static_cast<DWORD>(got);
    return true;
  }
  fault_ = "its data cannot be read after " + std::to_string(job_.taken) +
           " bytes: " + (got < 0 ? std::strerror(errno) : "the file is too short");
  return false;
}

bool JobRun::WriteOnce(DWORD size, const platform::UniqueFd& progress) {
  DWORD written = 0;
  bool content = port_.Write(buffer_.data(), size, &written);
  std::string reason;
  if (!content) {
    // Of a failure that goes on, the monitor may tell no more than the first.
    const DWORD error = GetLastError();
    if (error != ERROR_SUCCESS || refusal_.empty())
      refusal_ = MonitorFault(error, "the printer does not take the data");
    reason = refusal_;
  } else if (written == 0 && size > 0) {
    reason = "the printer takes no data at the moment";
  }
  if (content) refusal_.clear();
  job_.taken += written;
  if (written > 0) SpoolFolder::SaveProgress(progress, job_.taken);
  store_.Change(job_.id, [&](Job& job) {
    job.taken = job_.taken;
    job.reason = reason;
  });
  if (!content) {
    wakeUp_.Wait(kPauseAfterRefusal);
  } else if (written == 0 && size > 0) {
    wakeUp_.Wait(kPauseAfterNothing);
  }
  return content;
}

bool JobRun::MayGoOn(Ending* ending) {
  for (;;) {
    bool deleting = false;
    bool paused = false;
    bool undelivered = false;
    store_.Change(job_.id, [&](Job& job) {
      deleting = job.deleting;
      paused = job.paused;
      undelivered = !job.undelivered.empty();
    });
    *ending = deleting ? Ending::Cancelled : undelivered ? Ending::Undelivered : Ending::Stopped;
    if (deleting || undelivered || wakeUp_.Stopping()) return false;
    if (!paused) return true;
    wakeUp_.Wait(kPausedWait);
  }
}

bool JobRun::Finish(Ending ending) {
  bool delivered = ending == Ending::Delivered;
  store_.Change(job_.id, [&](Job& job) { job.phase = delivered ? JobPhase::Delivered : JobPhase::Interrupted; });
  port_.EndDoc();
  bool left = false;
  bool deleting = false;
  std::string undelivered;
  store_.Change(job_.id, [&](Job& job) {
    left = job.left;
    deleting = job.deleting;
    undelivered = job.undelivered;
  });
  if (!undelivered.empty()) {
    // A port that keeps the document until its end may fail after everything was written.
    if (deleting) {
      store_.Remove(job_.id, JobOutcome::Deleted);
    } else {
      Hold(undelivered);
    }
  } else if (delivered && left) {
    std::string why;
    if (!store_.Remove(job_.id, JobOutcome::Printed, &why)) Hold("it has printed, but " + why);
  } else if (delivered && !deleting) {
    Hold("the print monitor did not confirm that the job has left it; it may not have printed");
  } else if (delivered || ending == Ending::Cancelled) {
    store_.Remove(job_.id, JobOutcome::Deleted);
  } else if (ending == Ending::Unreadable) {
    Hold(fault_);
  } else if (ending == Ending::Stopped && job_.begun) {
    Hold(InterruptedReason(job_));
  } else {
    store_.Release(job_.id, [&](Job& job) {
      job.state = ending == Ending::Stopped ? JobState::Queued : JobState::Waiting;
      job.reason = fault_;
    });
    return ending != Ending::NotRecorded;
  }
  return true;
}

void JobRun::Hold(const std::string& reason) {
  store_.Release(job_.id, [&](Job& job) {
    job.state = JobState::Held;
    job.reason = reason;
    ForgetTold(&job);
  });
  std::string why;
  // Without the record on disk the job is held all the same after a restart when it had begun.
  if (!store_.Save(job_.id, &why)) Complain(why);
  Complain("job " + std::to_string(job_.id) + " is held: " + reason);
}

}  // namespace portwise
