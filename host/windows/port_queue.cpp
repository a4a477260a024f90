#include "host/windows/port_queue.h"

#include <algorithm>
#include <chrono>

#include "host/windows/say.h"
#include "host/windows/spooler_job.h"

namespace portwise {
namespace {

constexpr DWORD kBufferSize = 65536;
constexpr DWORD kPauseAfterRefusal = 1000;  // ms, as is the next
constexpr DWORD kPauseAfterNothing = 200;

// Numbers of jobs that the spooler does not know.
std::atomic<DWORD> lastNumber = 1000000;

std::string Named(DWORD job) { return "job " + std::to_string(job); }

}  // namespace

PortQueue::PortQueue(const MONITOR2& functions, HANDLE port) : port_(functions, port), thread_([this] { Run(); }) {}

PortQueue::~PortQueue() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
    for (const auto& job : jobs_) job->cancelled = true;
    changed_.notify_all();
  }
  thread_.join();
}

DWORD PortQueue::Print(const OString& printer, const OString& document, std::vector<BYTE> data) {
  auto job = std::make_shared<Job>();
  job->printer = printer;
  job->document = document;
  job->data = std::move(data);
  job->number = EnterJob(printer, document);
  if (job->number == 0) job->number = ++lastNumber;
  const std::lock_guard lock(mutex_);
  jobs_.push_back(job);
  changed_.notify_all();
  return job->number;
}

bool PortQueue::Cancel(DWORD number) {
  const std::lock_guard lock(mutex_);
  const auto job = std::find_if(jobs_.begin(), jobs_.end(), [&](const auto& each) { return each->number == number; });
  if (job == jobs_.end()) return false;
  (*job)->cancelled = true;
  changed_.notify_all();
  return true;
}

bool PortQueue::IsIdle() {
  const std::lock_guard lock(mutex_);
  return jobs_.empty();
}

void PortQueue::Run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return ending_ || !jobs_.empty(); });
    if (jobs_.empty()) return;
    const std::shared_ptr<Job> job = jobs_.front();
    lock.unlock();
    RunJob(*job);
    lock.lock();
    jobs_.pop_front();
  }
}

void PortQueue::RunJob(Job& job) {
  if (!Start(job)) {
    Say(Named(job.number) + " cancelled before it began");
    return;
  }
  Say(Named(job.number) + " begun");
  const size_t sent = Send(job);
  const bool ended = port_.EndDoc();
  Say(Named(job.number) + (sent < job.data.size() || job.cancelled ? " cancelled after " : " done: ") +
      std::to_string(sent) + " of " + std::to_string(job.data.size()) + " bytes" +
      (ended ? "" : ", end refused, " + ErrorText(GetLastError())));
}

bool PortQueue::Start(Job& job) {
  while (!job.cancelled) {
    if (port_.StartDoc(job.printer, job.number, job.document)) return true;
    Pause(job, "not begun: " + ErrorText(GetLastError()), kPauseAfterRefusal);
  }
  return false;
}

/// The bytes that the monitor took. It may take all of a buffer and still refuse; it is then called with nothing until
/// it is content.
size_t PortQueue::Send(Job& job) {
  size_t taken = 0;
  bool content = true;
  while ((taken < job.data.size() || !content) && !job.cancelled) {
    const auto size = static_cast<DWORD>(std::min<size_t>(kBufferSize, job.data.size() - taken));
    DWORD written = 0;
    content = port_.Write(job.data.data() + taken, size, &written);
    const DWORD error = GetLastError();
    taken += written;
    if (!content) {
      Pause(job, "refused: " + ErrorText(error), kPauseAfterRefusal);
    } else if (written == 0 && size > 0) {
      Pause(job, "waits", kPauseAfterNothing);
    } else {
      job.said.clear();
    }
  }
  return taken;
}

void PortQueue::Pause(Job& job, const std::string& reason, DWORD milliseconds) {
  if (job.said != reason) Say(Named(job.number) + " " + reason);
  job.said = reason;
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, std::chrono::milliseconds(milliseconds), [&] { return job.cancelled.load(); });
}

}  // namespace portwise
