#include "platform/dump/thread_capture.h"

#include <signal.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "platform/kernel/cpu_context.h"
#include "platform/kernel/own_memory.h"

namespace portwise::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kThreadTime{50};
constexpr milliseconds kAllTime{1000};
constexpr SIZE_T kStackRoom = 128 << 10;

// One request at a time. A thread that was asked and answers too late finds another thread's request, or none.
enum class Stage { kNone, kAsked, kTaking, kTaken };
std::atomic<Stage> stage = Stage::kNone;
std::atomic<pid_t> asked = 0;
CONTEXT takenContext;                // written by the thread that has moved the stage to kTaking
alignas(16) BYTE taken[kStackRoom];  // and so is this
SIZE_T takenSize;

void OnAsked(int, siginfo_t*, void* machine) {
  const int error = errno;
  Stage expected = Stage::kAsked;
  if (asked == gettid() && stage.compare_exchange_strong(expected, Stage::kTaking)) {
    ContextOf(*static_cast<const ucontext_t*>(machine), &takenContext);
    takenSize = ReadOwnMemory(reinterpret_cast<const void*>(takenContext.Rsp), taken, kStackRoom);
    stage = Stage::kTaken;
  }
  errno = error;
}

/// The highest real-time signal that the process does not use yet; from then on it is ours. 0 when all are in use.
int TakeSignal() {
  for (int number = SIGRTMAX; number >= SIGRTMIN; --number) {
    struct sigaction current {};
    if (sigaction(number, nullptr, &current) != 0 || (current.sa_flags & SA_SIGINFO) || current.sa_handler != SIG_DFL) {
      continue;
    }
    struct sigaction action {};
    action.sa_sigaction = OnAsked;
    action.sa_flags = SA_SIGINFO | SA_RESTART | SA_ONSTACK;
    sigfillset(&action.sa_mask);
    if (sigaction(number, &action, nullptr) == 0) return number;
  }
  return 0;
}

CapturedThread Capture(pid_t id, int number) {
  CapturedThread thread;
  thread.id = static_cast<DWORD>(id);
  asked = id;
  stage = Stage::kAsked;
  const bool sent = syscall(SYS_tgkill, getpid(), id, number) == 0;
  const auto deadline = steady_clock::now() + kThreadTime;
  while (sent && stage != Stage::kTaken && steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::microseconds(20));
  }
  // Withdrawn, unless the thread is just answering, which takes no longer than the copy.
  Stage expected = Stage::kAsked;
  if (!stage.compare_exchange_strong(expected, Stage::kNone)) {
    while (stage != Stage::kTaken) std::this_thread::yield();
    thread.answered = true;
    thread.context = takenContext;
    thread.stack.assign(taken, taken + takenSize);
  }
  stage = Stage::kNone;
  return thread;
}

}  // namespace

std::vector<CapturedThread> CaptureOtherThreads() {
  static const int number = TakeSignal();
  std::vector<CapturedThread> threads;
  const auto deadline = steady_clock::now() + kAllTime;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task", error)) {
    const pid_t id = std::stoi(entry.path().filename().string());
    if (id == gettid()) continue;
    const bool ask = number != 0 && steady_clock::now() < deadline;
    threads.push_back(ask ? Capture(id, number) : CapturedThread{static_cast<DWORD>(id), false, {}, {}});
  }
  return threads;
}

}  // namespace portwise::platform
