#include "platform/kernel/fault_stack.h"

#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <new>
#include <optional>

#include "platform/kernel/fail.h"
#include "platform/kernel/own_memory.h"

// Where the program's first stack begins; the dynamic loader sets it.
extern "C" void* __libc_stack_end;

namespace portwise::platform {
namespace {

constexpr SIZE_T kSignalStack = 64 << 10;
// A signal stack of somebody else is used when it has this much.
constexpr SIZE_T kLeastSignalStack = 24 << 10;
constexpr SIZE_T kKeptRoom = 1 << 20;
// How far past its end one access may miss a stack that grows: what the kernel keeps free below it.
constexpr SIZE_T kGrowthGap = 1 << 20;

/// Pages that cost nothing until they are touched.
class Pages {
 public:
  explicit Pages(SIZE_T size) : size_(size) {
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory != MAP_FAILED) bytes_ = static_cast<BYTE*>(memory);
  }
  ~Pages() {
    if (bytes_) munmap(bytes_, size_);
  }
  Pages(const Pages&) = delete;
  Pages& operator=(const Pages&) = delete;

  BYTE* Bytes() const { return bytes_; }
  SIZE_T Size() const { return size_; }

 private:
  BYTE* bytes_ = nullptr;
  const SIZE_T size_;
};

SIZE_T RoundToPages(SIZE_T size) {
  const auto page = static_cast<SIZE_T>(sysconf(_SC_PAGESIZE));
  return (size + page - 1) / page * page;
}

class ThreadStack {
 public:
  ThreadStack();
  ~ThreadStack();
  ThreadStack(const ThreadStack&) = delete;
  ThreadStack& operator=(const ThreadStack&) = delete;

  bool IsUsable() const { return kept_.Bytes() && hasSignalStack_ && high_; }
  SIZE_T Reserve() const { return reserve_; }
  bool SetReserve(SIZE_T size);

  bool IsOverflow(const BYTE* address) const;
  bool Open();
  bool Close();
  void Keep(DWORD64 stackPointer);
  KeptStack Kept() const { return {keptStart_, {kept_.Bytes(), keptSize_}}; }

 private:
  bool Protect(int protection) { return mprotect(low_, reserve_, protection) == 0; }

  // The program's first stack grows by itself down to a limit, and its reserve lies below that; the stack of a thread
  // is mapped as a whole, and the reserve is its lowest part, without access.
  bool grows_ = false;
  BYTE* low_ = nullptr;
  BYTE* high_ = nullptr;
  SIZE_T guard_ = 0;
  SIZE_T reserve_ = 0;
  bool open_ = false;
  rlimit limit_{};  // of a stack that grows, before Open
  Pages signalStack_{kSignalStack};
  bool hasSignalStack_ = false;
  Pages kept_{kKeptRoom};
  DWORD64 keptStart_ = 0;
  SIZE_T keptSize_ = 0;
};

ThreadStack::ThreadStack() {
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
    void* low = nullptr;
    SIZE_T size = 0;
    pthread_attr_getstack(&attributes, &low, &size);
    pthread_attr_getguardsize(&attributes, &guard_);
    pthread_attr_destroy(&attributes);
    low_ = reinterpret_cast<BYTE*>(RoundToPages(reinterpret_cast<SIZE_T>(low)));
    high_ = static_cast<BYTE*>(low) + size;
    grows_ = __libc_stack_end >= low_ && __libc_stack_end < high_;
  }
  stack_t current{};
  sigaltstack(nullptr, &current);
  hasSignalStack_ = !(current.ss_flags & SS_DISABLE) && current.ss_size >= kLeastSignalStack;
  if (hasSignalStack_ || !signalStack_.Bytes()) return;
  const stack_t own{.ss_sp = signalStack_.Bytes(), .ss_flags = 0, .ss_size = kSignalStack};
  hasSignalStack_ = sigaltstack(&own, nullptr) == 0;
}

ThreadStack::~ThreadStack() {
  // The C library gives the stack to other threads.
  if (reserve_ > 0 && !grows_ && !open_) Protect(PROT_READ | PROT_WRITE);
  stack_t current{};
  sigaltstack(nullptr, &current);
  if (current.ss_sp != signalStack_.Bytes()) return;
  const stack_t none{.ss_sp = nullptr, .ss_flags = SS_DISABLE, .ss_size = 0};
  sigaltstack(&none, nullptr);
}

bool ThreadStack::SetReserve(SIZE_T size) {
  const SIZE_T wanted = RoundToPages(size);
  if (wanted <= reserve_) return true;
  const auto* here = static_cast<const BYTE*>(__builtin_frame_address(0));
  // The stack keeps at least three times as much for ordinary use.
  if (open_ || here < low_ + 2 * wanted || here >= high_ || static_cast<SIZE_T>(high_ - low_) < 4 * wanted)
    return false;
  if (!grows_ && mprotect(low_, wanted, PROT_NONE) != 0) return false;
  reserve_ = wanted;
  return true;
}

bool ThreadStack::IsOverflow(const BYTE* address) const {
  if (reserve_ == 0 || open_) return false;
  return grows_ ? address < low_ && address >= low_ - kGrowthGap
                : address < low_ + reserve_ && address >= low_ - guard_;
}

bool ThreadStack::Open() {
  if (grows_) {
    if (getrlimit(RLIMIT_STACK, &limit_) != 0) return false;
    const auto wanted = static_cast<rlim_t>(high_ - low_) + reserve_;
    rlimit raised = limit_;
    raised.rlim_cur = std::max(limit_.rlim_cur, std::min(wanted, limit_.rlim_max));
    open_ = raised.rlim_cur >= wanted && setrlimit(RLIMIT_STACK, &raised) == 0;
  } else {
    open_ = Protect(PROT_READ | PROT_WRITE);
  }
  return open_;
}

bool ThreadStack::Close() {
  if (!open_) return true;
  const auto* here = static_cast<const BYTE*>(__builtin_frame_address(0));
  if (here < low_ + 2 * reserve_) return false;
  // Unmapped, a stack that has grown can grow again.
  const bool closed =
      grows_ ? setrlimit(RLIMIT_STACK, &limit_) == 0 && munmap(low_ - reserve_, reserve_) == 0 : Protect(PROT_NONE);
  open_ = !closed;
  return closed;
}

void ThreadStack::Keep(DWORD64 stackPointer) {
  const auto high = reinterpret_cast<DWORD64>(high_);
  const bool inside = stackPointer >= reinterpret_cast<DWORD64>(low_) - kGrowthGap && stackPointer < high;
  // A stack pointer that points elsewhere may be that of a coroutine, or lost.
  const SIZE_T size = inside ? std::min<SIZE_T>(high - stackPointer, kKeptRoom) : SIZE_T{16} << 10;
  keptStart_ = stackPointer;
  keptSize_ = ReadOwnMemory(reinterpret_cast<const void*>(stackPointer), kept_.Bytes(), size);
}

// A plain pointer, which signal handlers can read, and a key whose destructor may run more than once: a guarded call
// that comes after it prepares the thread again.
thread_local ThreadStack* stack = nullptr;

void EndThread(void*) {
  delete stack;
  stack = nullptr;
}

std::optional<pthread_key_t> EndKey() {
  static const std::optional<pthread_key_t> key = []() -> std::optional<pthread_key_t> {
    pthread_key_t created;
    if (pthread_key_create(&created, EndThread) != 0) return std::nullopt;
    return created;
  }();
  return key;
}

bool PrepareThread() {
  if (stack) return true;
  const auto key = EndKey();
  std::unique_ptr<ThreadStack> made(new (std::nothrow) ThreadStack);
  if (!key || !made || !made->IsUsable() || pthread_setspecific(*key, made.get()) != 0) return false;
  stack = made.release();
  return true;
}

}  // namespace

bool IsStackOverflow(const void* address) { return stack && stack->IsOverflow(static_cast<const BYTE*>(address)); }
bool OpenStackReserve() { return stack && stack->Open(); }
void KeepStack(DWORD64 stackPointer) {
  if (stack) stack->Keep(stackPointer);
}
KeptStack LastKeptStack() { return stack ? stack->Kept() : KeptStack{}; }

}  // namespace portwise::platform

using namespace portwise::platform;

BOOL WINAPI SetThreadStackGuarantee(PULONG bytes) {
  if (!bytes) return Fail(ERROR_INVALID_PARAMETER);
  const auto before = static_cast<ULONG>(stack ? stack->Reserve() : 0);
  if (*bytes > 0) {
    if (!PrepareThread()) return Fail(ERROR_NOT_ENOUGH_MEMORY);
    if (!stack->SetReserve(*bytes)) return Fail(ERROR_INVALID_PARAMETER);
  }
  *bytes = before;
  return TRUE;
}

int _resetstkoflw() { return !stack || stack->Close() ? 1 : 0; }
