#include "platform/windows/message_queue.h"

#include <algorithm>

#include "platform/test_clock.h"
#include "platform/windows/desktop.h"
#include "platform/windows/window.h"

namespace portwise::platform {
namespace {

constexpr std::size_t kMostPosted = 10000;
constexpr UINT kShortestPeriod = 10;
constexpr UINT kLongestPeriod = 0x7FFFFFFF;

/// The end of a thread that has windows.
class QueueOwner {
 public:
  explicit QueueOwner(std::shared_ptr<MessageQueue> queue) : queue_(std::move(queue)) {}
  ~QueueOwner() {
    std::lock_guard lock(WindowLock());
    queue_->End();
    WindowTree::Get().RemoveOf(*queue_);
  }
  const std::shared_ptr<MessageQueue>& Queue() const { return queue_; }

 private:
  const std::shared_ptr<MessageQueue> queue_;
};

thread_local std::unique_ptr<QueueOwner> owner;

}  // namespace

std::mutex& WindowLock() {
  static auto& mutex = *new std::mutex;
  return mutex;
}

bool MessageFilter::Takes(HWND messageWindow, UINT message) const {
  const HWND threadOnly = reinterpret_cast<HWND>(LONG_PTR{-1});
  if (window == threadOnly ? messageWindow != nullptr : window && !WindowTree::Get().IsWithin(messageWindow, window)) {
    return false;
  }
  return (first == 0 && last == 0) || (message >= first && message <= last);
}

bool MessageQueue::Post(const MSG& message) {
  if (ended_ || posted_.size() >= kMostPosted) return false;
  posted_.push_back(message);
  Signal();
  return true;
}

void MessageQueue::PostQuit(int code) {
  quit_ = code;
  Signal();
}

bool MessageQueue::Send(std::shared_ptr<SentCall> call) {
  if (ended_) return false;
  sent_.push_back(std::move(call));
  Signal();
  return true;
}

std::shared_ptr<SentCall> MessageQueue::TakeSent() {
  if (sent_.empty()) return nullptr;
  auto call = std::move(sent_.front());
  sent_.pop_front();
  return call;
}

bool MessageQueue::Take(const MessageFilter& filter, bool remove, MSG* message) {
  const auto posted = std::find_if(posted_.begin(), posted_.end(),
                                   [&](const MSG& entry) { return filter.Takes(entry.hwnd, entry.message); });
  if (posted != posted_.end()) {
    *message = *posted;
    // Keys go to where the focus is when their turn comes.
    const bool isKey = message->message >= WM_KEYDOWN && message->message <= WM_CHAR;
    if (isKey && focus && WindowTree::Get().IsWithin(focus, message->hwnd)) message->hwnd = focus;
    if (remove) posted_.erase(posted);
    return true;
  }
  if (quit_) {
    *message = {nullptr, WM_QUIT, static_cast<WPARAM>(*quit_), 0, GetTickCount(), {}};
    if (remove) quit_.reset();
    return true;
  }
  const long long now = ClockMilliseconds();
  const auto due = std::find_if(timers_.begin(), timers_.end(), [&](const Timer& timer) {
    return timer.due <= now && filter.Takes(timer.window, WM_TIMER);
  });
  if (due == timers_.end()) return false;
  *message = {due->window, WM_TIMER, due->id, reinterpret_cast<LPARAM>(due->procedure), GetTickCount(), {}};
  if (remove) {
    // However late it is, it comes once; and behind the others, so that a short period leaves them their turn.
    due->due = now + due->period;
    std::rotate(due, due + 1, timers_.end());
  }
  return true;
}

DWORD MessageQueue::UntilTimer(const MessageFilter& filter) const {
  long long next = -1;
  for (const Timer& timer : timers_) {
    if (filter.Takes(timer.window, WM_TIMER) && (next < 0 || timer.due < next)) next = timer.due;
  }
  if (next < 0) return INFINITE;
  return static_cast<DWORD>(std::max(next - ClockMilliseconds(), 0ll));
}

UINT_PTR MessageQueue::SetTimer(HWND window, UINT_PTR id, UINT period, TIMERPROC procedure) {
  period = std::clamp(period, kShortestPeriod, kLongestPeriod);
  const auto same = [&](const Timer& timer) { return timer.window == window && timer.id == id; };
  auto timer = std::find_if(timers_.begin(), timers_.end(), same);
  if (timer == timers_.end()) {
    if (!window) id = ++lastTimer_;
    timer = timers_.insert(timers_.end(), {window, id, 0, nullptr, 0});
  }
  timer->period = period;
  timer->procedure = procedure;
  timer->due = ClockMilliseconds() + period;
  Signal();
  return id == 0 ? 1 : id;
}

bool MessageQueue::KillTimer(HWND window, UINT_PTR id) {
  return std::erase_if(timers_, [&](const Timer& timer) { return timer.window == window && timer.id == id; }) > 0;
}

void MessageQueue::ForgetWindow(HWND window) {
  std::erase_if(posted_, [window](const MSG& message) { return message.hwnd == window; });
  std::erase_if(timers_, [window](const Timer& timer) { return timer.window == window; });
  if (focus == window) focus = nullptr;
  if (capture == window) capture = nullptr;
}

void MessageQueue::End() {
  ended_ = true;
  posted_.clear();
  timers_.clear();
  while (const auto call = TakeSent()) FinishCall(*call, std::nullopt);
}

std::shared_ptr<MessageQueue> CurrentQueue() {
  if (!owner) owner = std::make_unique<QueueOwner>(std::make_shared<MessageQueue>(GetCurrentThreadId()));
  return owner->Queue();
}

MessageQueue* CurrentQueueIfAny() { return owner ? owner->Queue().get() : nullptr; }

void FinishCall(SentCall& call, std::optional<LRESULT> result) {
  call.result = result;
  call.done = true;
  if (call.sender) call.sender->Signal();
}

void RunSentCalls(MessageQueue& queue) {
  while (true) {
    std::shared_ptr<SentCall> call;
    {
      std::lock_guard lock(WindowLock());
      call = queue.TakeSent();
    }
    if (!call) return;
    const auto result = call->run();
    std::lock_guard lock(WindowLock());
    FinishCall(*call, result);
  }
}

std::optional<LRESULT> AwaitCall(const std::shared_ptr<SentCall>& call, DWORD timeout) {
  const std::shared_ptr<Waitable> queues[] = {call->sender};
  const long long end = ClockMilliseconds() + timeout;
  while (true) {
    RunSentCalls(*call->sender);
    {
      std::lock_guard lock(WindowLock());
      if (call->done) {
        if (!call->result) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        // What arrived meanwhile is still to be seen by whoever waits for messages.
        call->sender->Signal();
        return call->result;
      }
      if (call->sender->HasSent()) continue;
      call->sender->Reset();
    }
    const long long left = end - ClockMilliseconds();
    if (timeout != INFINITE && left <= 0) {
      SetLastError(ERROR_TIMEOUT);
      call->sender->Signal();
      return std::nullopt;
    }
    WaitFor(queues, false, timeout == INFINITE ? INFINITE : static_cast<DWORD>(left));
  }
}

std::optional<LRESULT> RunOn(const std::shared_ptr<MessageQueue>& queue, std::function<std::optional<LRESULT>()> run,
                             DWORD timeout) {
  if (queue.get() == CurrentQueueIfAny()) {
    const auto result = run();
    if (!result) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return result;
  }
  auto call = std::make_shared<SentCall>();
  call->run = std::move(run);
  call->sender = CurrentQueue();
  {
    std::lock_guard lock(WindowLock());
    if (!queue->Send(call)) call->done = true;
  }
  return AwaitCall(call, timeout);
}

bool WaitForMessage(const MessageFilter& filter, MSG* message, const std::function<bool()>& stop) {
  const auto queue = CurrentQueue();
  const std::shared_ptr<Waitable> queues[] = {queue};
  while (true) {
    RunSentCalls(*queue);
    DWORD wait;
    {
      std::lock_guard lock(WindowLock());
      if (queue->HasSent()) continue;
      if (stop && stop()) return false;
      if (queue->Take(filter, true, message)) return true;
      queue->Reset();
      wait = queue->UntilTimer(filter);
    }
    WaitFor(queues, false, wait);
  }
}

}  // namespace portwise::platform
