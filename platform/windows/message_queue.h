#pragma once

#include <windows.h>

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/kernel/waitable.h"

namespace portwise::platform {

class MessageQueue;

/// The lock of all windows, queues and menus of the process. Held for moments only; never while a window procedure, or
/// anything else that is not the platform's, runs.
std::mutex& WindowLock();

/// Something that another thread is asked to do with a window of its own, such as to take a message.
struct SentCall {
  /// What to do, without the lock; nothing when the window has gone.
  std::function<std::optional<LRESULT>()> run;
  std::shared_ptr<MessageQueue> sender;
  // Under the lock.
  bool done = false;
  std::optional<LRESULT> result;
};

struct Timer {
  HWND window;
  UINT_PTR id;
  UINT period;
  TIMERPROC procedure;
  long long due;  // by ClockMilliseconds
};

/// Which messages are asked for.
struct MessageFilter {
  HWND window = nullptr;  // null for any; -1 for those of the thread itself
  UINT first = 0, last = 0;

  bool Takes(HWND messageWindow, UINT message) const;
};

/// The messages of one thread. It is signalled whenever something arrives. Members are used under the lock.
class MessageQueue final : public Waitable {
 public:
  explicit MessageQueue(DWORD thread) : Waitable(true, false), thread_(thread) {}

  DWORD Thread() const { return thread_; }

  /// False when the thread has ended or ten thousand messages wait.
  bool Post(const MSG& message);
  void PostQuit(int code);
  bool Send(std::shared_ptr<SentCall> call);
  bool HasSent() const { return !sent_.empty(); }
  std::shared_ptr<SentCall> TakeSent();

  /// The next message that the filter takes: posted ones in their order, then the end, then a timer that is due. It
  /// stays there unless `remove`.
  bool Take(const MessageFilter& filter, bool remove, MSG* message);
  /// Milliseconds to the next timer; INFINITE without one.
  DWORD UntilTimer(const MessageFilter& filter) const;

  /// Replaces the one with the same window and number. For no window, or with `id` 0, it finds a number of its own.
  UINT_PTR SetTimer(HWND window, UINT_PTR id, UINT period, TIMERPROC procedure);
  bool KillTimer(HWND window, UINT_PTR id);

  /// Forgets what a window that has gone would still get.
  void ForgetWindow(HWND window);
  /// Nothing is taken any more, and what was sent fails.
  void End();

  // What the thread points at and types into.
  HWND focus = nullptr, capture = nullptr;

 private:
  const DWORD thread_;
  bool ended_ = false;
  std::deque<MSG> posted_;
  std::deque<std::shared_ptr<SentCall>> sent_;
  std::optional<int> quit_;
  std::vector<Timer> timers_;
  UINT_PTR lastTimer_ = 0x7FFF;
};

/// The calling thread's, made when it is first asked for. When the thread ends its windows go, too.
std::shared_ptr<MessageQueue> CurrentQueue();
/// Null when the thread has none.
MessageQueue* CurrentQueueIfAny();

/// Carries out what other threads sent, until nothing is left. Without the lock.
void RunSentCalls(MessageQueue& queue);

/// Does it on the thread of the queue and returns the answer: at once when that is the calling thread, otherwise with
/// the calling thread's own sent calls served meanwhile. Nothing, with the last error ERROR_INVALID_WINDOW_HANDLE, when
/// the window or its thread has gone; ERROR_TIMEOUT after so long. Without the lock.
std::optional<LRESULT> RunOn(const std::shared_ptr<MessageQueue>& queue, std::function<std::optional<LRESULT>()> run,
                             DWORD timeout = INFINITE);

/// Waits for a call to be done by somebody who then calls FinishCall, in the same way.
std::optional<LRESULT> AwaitCall(const std::shared_ptr<SentCall>& call, DWORD timeout);
/// With the lock.
void FinishCall(SentCall& call, std::optional<LRESULT> result);

/// Waits for the next message of the calling thread and takes it, after all that was sent has been carried out.
/// `stop` ends the wait early, without a message: it is asked under the lock whenever something arrives.
bool WaitForMessage(const MessageFilter& filter, MSG* message, const std::function<bool()>& stop = nullptr);

}  // namespace portwise::platform
