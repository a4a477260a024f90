#include "platform/kernel/waitable.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <mutex>
#include <optional>

#include "platform/kernel/errno_map.h"
#include "platform/kernel/unique_fd.h"
#include "platform/test_clock.h"

namespace portwise::platform {

/// A thread that is blocked, or about to be. `woken` says that the descriptor is readable.
struct Waiter {
  UniqueFd wake;
  bool woken = false;
};

namespace {

using SteadyClock = std::chrono::steady_clock;

// Guards every member of Waitable and Waiter that changes, and the spare descriptors.
constinit std::mutex stateLock;

// Wake descriptors that no thread uses just now. Not thread-local: a thread may still wait while its thread-local
// objects are being destroyed.
constexpr std::size_t kMaxSpares = 8;
std::vector<UniqueFd>& Spares() {
  static auto& spares = *new std::vector<UniqueFd>;
  return spares;
}

timespec ToTimespec(std::chrono::nanoseconds time) {
  return {static_cast<time_t>(time.count() / 1'000'000'000), static_cast<long>(time.count() % 1'000'000'000)};
}

}  // namespace

void Waitable::WakeWaiters() {
  for (Waiter* waiter : waiters_) {
    if (waiter->woken) continue;
    waiter->woken = true;
    eventfd_write(waiter->wake.Get(), 1);
  }
}

void Waitable::Signal() {
  std::lock_guard lock(stateLock);
  signalled_ = true;
  WakeWaiters();
}

void Waitable::Reset() {
  std::lock_guard lock(stateLock);
  signalled_ = false;
}

void Waitable::AddSource(std::shared_ptr<WaitSource> source) {
  std::lock_guard lock(stateLock);
  if (std::find(sources_.begin(), sources_.end(), source) != sources_.end()) return;
  sources_.push_back(std::move(source));
  WakeWaiters();
}

bool Waitable::RemoveSource(const WaitSource* source) {
  std::shared_ptr<WaitSource> removed;  // destroyed without the lock
  std::lock_guard lock(stateLock);
  const auto found =
      std::find_if(sources_.begin(), sources_.end(), [source](const auto& other) { return other.get() == source; });
  if (found == sources_.end()) return false;
  removed = std::move(*found);
  sources_.erase(found);
  WakeWaiters();
  return true;
}

void Waitable::SignalFrom(const WaitSource* source) {
  std::lock_guard lock(stateLock);
  const auto attached = [source](const auto& other) { return other.get() == source; };
  if (std::none_of(sources_.begin(), sources_.end(), attached)) return;
  signalled_ = true;
  WakeWaiters();
}

/// One call of WaitFor.
class Wait {
 public:
  Wait(std::span<const std::shared_ptr<Waitable>> objects, bool all) : objects_(objects), all_(all) {}
  ~Wait();
  Wait(const Wait&) = delete;
  Wait& operator=(const Wait&) = delete;

  DWORD Run(DWORD milliseconds);

 private:
  struct PolledSource {
    Waitable* object;
    std::shared_ptr<WaitSource> source;
  };

  bool Join();
  void CollectSources();
  bool PollOnce(const timespec* timeout);
  std::optional<DWORD> Take();

  const std::span<const std::shared_ptr<Waitable>> objects_;
  const bool all_;
  bool joined_ = false;
  Waiter waiter_;
  std::vector<PolledSource> sources_;
};

Wait::~Wait() {
  if (!joined_) return;
  std::lock_guard lock(stateLock);
  for (const auto& object : objects_) std::erase(object->waiters_, &waiter_);
  eventfd_t count;
  if (waiter_.woken) eventfd_read(waiter_.wake.Get(), &count);
  if (Spares().size() < kMaxSpares) Spares().push_back(std::move(waiter_.wake));
}

/// From here on every change of an object is noticed.
bool Wait::Join() {
  std::lock_guard lock(stateLock);
  if (!Spares().empty()) {
    waiter_.wake = std::move(Spares().back());
    Spares().pop_back();
  } else {
    waiter_.wake = UniqueFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!waiter_.wake) return false;
  }
  for (const auto& object : objects_) object->waiters_.push_back(&waiter_);
  joined_ = true;
  return true;
}

/// The sources of the objects that are not signalled. The others have nothing to wait for.
void Wait::CollectSources() {
  sources_.clear();
  std::lock_guard lock(stateLock);
  for (const auto& object : objects_) {
    if (object->signalled_) continue;
    for (const auto& source : object->sources_) sources_.push_back({object.get(), source});
  }
}

/// Waits until an object changes, a source reports or the time is over, and hands on what the sources report. False
/// when nothing happened in all the time; a null timeout never ends.
bool Wait::PollOnce(const timespec* timeout) {
  std::vector<pollfd> polled;
  polled.push_back({joined_ ? waiter_.wake.Get() : -1, POLLIN, 0});
  for (const auto& entry : sources_) polled.push_back({entry.source->PollFd(), POLLIN, 0});
  const int ready = ppoll(polled.data(), polled.size(), timeout, nullptr);
  if (ready < 0) return true;  // interrupted: the caller works out the time that is left
  for (std::size_t i = 0; i < sources_.size(); ++i) {
    if (polled[i + 1].revents == 0) continue;
    const auto& [object, source] = sources_[i];
    if (source->OnReadable()) object->SignalFrom(source.get());
  }
  return ready > 0;
}

std::optional<DWORD> Wait::Take() {
  std::lock_guard lock(stateLock);
  if (waiter_.woken) {
    eventfd_t count;
    eventfd_read(waiter_.wake.Get(), &count);
    waiter_.woken = false;
  }
  const auto signalled = [](const auto& object) { return object->signalled_; };
  if (all_) {
    if (!std::all_of(objects_.begin(), objects_.end(), signalled)) return std::nullopt;
    for (const auto& object : objects_) object->signalled_ = object->manualReset_;
    return 0;
  }
  const auto first = std::find_if(objects_.begin(), objects_.end(), signalled);
  if (first == objects_.end()) return std::nullopt;
  (*first)->signalled_ = (*first)->manualReset_;
  return static_cast<DWORD>(first - objects_.begin());
}

DWORD Wait::Run(DWORD milliseconds) {
  std::optional<SteadyClock::time_point> deadline;
  if (milliseconds != INFINITE) deadline = SteadyClock::now() + RealTime(milliseconds);
  bool over = milliseconds == 0;
  // The first rounds only look: once without joining, which is all that a wait for something signalled costs, and once
  // after it, for what changed in between.
  bool look = true;
  while (true) {
    CollectSources();
    if (look || over) {
      const timespec now{};
      if (!sources_.empty()) PollOnce(&now);
      look = !joined_;
    } else if (!deadline) {
      PollOnce(nullptr);
    } else {
      const auto left = std::max(*deadline - SteadyClock::now(), SteadyClock::duration::zero());
      const timespec timeout = ToTimespec(left);
      over = !PollOnce(&timeout) || left == SteadyClock::duration::zero();
    }
    if (const auto index = Take()) return WAIT_OBJECT_0 + *index;
    if (over) return WAIT_TIMEOUT;
    if (!joined_ && !Join()) {
      SetLastError(ErrorOfErrno(errno));
      return WAIT_FAILED;
    }
  }
}

DWORD WaitFor(std::span<const std::shared_ptr<Waitable>> objects, bool all, DWORD milliseconds) {
  return Wait(objects, all).Run(milliseconds);
}

}  // namespace portwise::platform
