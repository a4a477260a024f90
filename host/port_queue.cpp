#include "host/port_queue.h"

#include <algorithm>

#include "host/job_run.h"
#include "host/names.h"
#include "host/printers.h"

namespace portwise {

namespace {

constexpr DWORD kFirstPause = 1000;
constexpr DWORD kLongestPause = 10000;
/// An idle port looks again by itself, in case a printer was moved to it in the registry.
constexpr DWORD kIdleWait = 30000;

DWORD Grow(DWORD pause) { return pause == 0 ? kFirstPause : std::min(2 * pause, kLongestPause); }

}  // namespace

PortQueue::PortQueue(std::string port, MonitorLibrary& monitor, JobStore& store)
    : name_(std::move(port)), monitor_(monitor), store_(store), thread_([this] { Run(); }) {}

PortQueue::~PortQueue() {
  Stop();
  thread_.join();
}

void PortQueue::WaitStopped() {
  std::unique_lock lock(mutex_);
  endedSignal_.wait(lock, [this] { return ended_; });
}

bool PortQueue::WaitStopped(std::chrono::steady_clock::time_point limit) {
  std::unique_lock lock(mutex_);
  return endedSignal_.wait_until(lock, limit, [this] { return ended_; });
}

void PortQueue::Run() {
  // An idle wait is no failure, so it does not make the pauses after failures grow.
  DWORD failurePause = 0;
  while (!wakeUp_.Stopping()) {
    DWORD pause = Step(failurePause);
    failurePause = pause == kIdleWait ? 0 : pause;
    if (pause > 0) wakeUp_.Wait(pause);
  }
  port_.End();
  std::lock_guard lock(mutex_);
  ended_ = true;
  endedSignal_.notify_all();
}

DWORD PortQueue::Step(DWORD lastPause) {
  std::vector<std::string> printers = PrintersOnPort(name_);
  if (printers.empty()) return kIdleWait;
  std::set<std::u16string> keys;
  for (const std::string& printer : printers) keys.insert(NameKey(printer));
  if (reopen_.exchange(false)) port_.Close();
  if (!port_.Get()) {
    std::string why;
    port_.Set(monitor_.OpenPort(name_, printers.front(), &why), why);
    if (!port_.Get()) {
      store_.Explain(keys, why);
      return Grow(lastPause);
    }
  }
  auto job = store_.Claim(keys);
  if (!job) return kIdleWait;
  auto printer = FindPrinter(job->printer);
  if (!printer || NameKey(printer->port) != NameKey(name_)) {
    // Moved to another port since the printers were listed.
    store_.Release(job->id, [](Job&) {});
    return kIdleWait;
  }
  if (JobRun(*port_.Get(), store_, wakeUp_, *job).Run()) return 0;
  // The end of the document wakes this thread too; it must not cut the pause short.
  wakeUp_.Forget();
  return Grow(lastPause);
}

}  // namespace portwise
