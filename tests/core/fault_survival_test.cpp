#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <utility>
#include <vector>

#include "core/fault/exception_handler.h"
#include "core/thread_local_singleton.h"
#include "platform/home.h"
#include "tests/support/faults.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

/// Writes no dumps, which take their time.
struct QuietGuard : OExceptionHandler {
  QuietGuard() : OExceptionHandler("test", kSetLastError) {}
  void Handle(const OException& exception) override { SetLastError(static_cast<DWORD>(exception.Code())); }
};

/// The last error after a body under a guard; 0 when it came to its end.
template <class Body>
DWORD ErrorOf(Body&& body) {
  QuietGuard guard;
  SetLastError(0);
  const BOOL result = RunGuarded(guard, [&] {
    body();
    return TRUE;
  });
  EXPECT_EQ(result, GetLastError() == 0);
  return GetLastError();
}

void InThread(void (*body)()) {
  std::thread([body] {
    body();
    ThreadLocalSlot::DestroyObjects();
  }).join();
}

class FaultSurvival : public testing::Test {
 protected:
  TemporaryHome home_;
};

using SystemCall = void (*)();

template <size_t Room, SystemCall Call>
[[gnu::noinline]] int CallAndRecurse(int depth) {
  volatile char room[Room];
  room[depth % Room] = 1;
  Call();
  return zero == 0 ? CallAndRecurse<Room, Call>(depth + 1) + room[depth % Room] : depth;
}

/// With frames of several sizes, and the end of the stack anywhere in them.
template <SystemCall Call>
void OverflowIn() {
  const auto errors = []<size_t... Steps>(std::index_sequence<Steps...>) {
    return std::vector<DWORD>{ErrorOf([] {
      volatile char* const before = static_cast<char*>(__builtin_alloca(16 * Steps + 1));
      before[0] = 1;
      CallAndRecurse<16 + 48 * (Steps % 4), Call>(0);
    })...};
  };
  EXPECT_THAT(errors(std::make_index_sequence<24>()), testing::Each(1001u));
}

struct Block {
  Block* before;
  char room[700];
};
Block* blocks = nullptr;
void Allocate() { blocks = new Block{blocks, {}}; }
void AskTime() {
  SYSTEMTIME time;
  GetLocalTime(&time);
}
void Convert() {
  WCHAR wide[8];
  MultiByteToWideChar(1252, 0, "label", 5, wide, 8);
}
void Load() {
  const HMODULE library = LoadLibraryW(OString(PORTWISE_FOREIGN_LIBRARY).Wide());
  if (library) FreeLibrary(library);
}
std::shared_mutex mutex;
void LockAndUnlock() { const std::lock_guard lock(mutex); }

/// Whether the body comes to its end, in a thread with a small stack.
bool EndsInThread(SystemCall body) {
  const auto run = [](void* called) -> void* {
    reinterpret_cast<SystemCall>(called)();
    ThreadLocalSlot::DestroyObjects();
    return nullptr;
  };
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, 400 << 10);
  pthread_t thread;
  if (pthread_create(&thread, &attributes, run, reinterpret_cast<void*>(body)) != 0) return false;
  const timespec end{time(nullptr) + 30, 0};
  return pthread_timedjoin_np(thread, nullptr, &end) == 0;
}

void UseWhatHasLocks() {
  for (const SystemCall call : {AskTime, Convert, Load, LockAndUnlock}) call();
  while (blocks) delete std::exchange(blocks, blocks->before);
  for (size_t size = 1; size < 1 << 20; size *= 2) std::free(std::calloc(1, size));
}

TEST_F(FaultSurvival, StackMayEndWhereTheSystemHoldsLocks) {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the calls are the sanitizer's";
#endif
  for (const SystemCall overflow :
       {OverflowIn<Allocate>, OverflowIn<AskTime>, OverflowIn<Convert>, OverflowIn<Load>, OverflowIn<LockAndUnlock>}) {
    ASSERT_TRUE(EndsInThread(overflow));
    ASSERT_TRUE(EndsInThread(UseWhatHasLocks));
  }
  EXPECT_EQ(ErrorOf([] { std::free(reinterpret_cast<void*>(static_cast<uintptr_t>(zero) + 0x1008)); }), 487u);
  EXPECT_EQ(ErrorOf(Nothing), 0u);
}

TEST_F(FaultSurvival, FaultsWhileALibraryIsLoadedLeaveTheLoaderFree) {
  const auto system = platform::LinuxPath(u"C:\\Windows\\System32");
  std::filesystem::create_directories(system);
  const auto size = std::filesystem::file_size(PORTWISE_FOREIGN_LIBRARY);
  for (const unsigned percent : {0, 1, 3, 10, 30, 50, 70}) {
    const auto cut = std::filesystem::path(system) / "cut.dll";
    std::filesystem::copy_file(PORTWISE_FOREIGN_LIBRARY, cut, std::filesystem::copy_options::overwrite_existing);
    std::filesystem::resize_file(cut, size * percent / 100);
    EXPECT_EQ(ErrorOf([] {
                EXPECT_EQ(LoadLibraryW(u"cut.dll"), nullptr);
                EXPECT_EQ(GetLastError(), DWORD{ERROR_BAD_EXE_FORMAT});
                SetLastError(0);
              }),
              0u)
        << percent;
  }
  EXPECT_EQ(ErrorOf([] {
              SetEnvironmentVariableA("DLL_FAULT", "1");
              EXPECT_EQ(LoadLibraryW(u"detach-library.dll"), nullptr);
              EXPECT_EQ(GetLastError(), DWORD{ERROR_DLL_INIT_FAILED});
              SetEnvironmentVariableA("DLL_FAULT", nullptr);
              SetEnvironmentVariableA("DLL_FAULT_LATE", "1");
              EXPECT_TRUE(FreeLibrary(LoadLibraryW(u"detach-library.dll")));
              SetEnvironmentVariableA("DLL_FAULT_LATE", nullptr);
              SetLastError(0);
            }),
            0u);
  // Everything else that the loader runs ends the process, also when it was others who asked it to load.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto load = [](void* (*open)()) {
    setenv("FOREIGN_FAULT", "1", 1);
    ErrorOf([open] { open(); });
    _exit(0);
  };
  EXPECT_EXIT(load([]() -> void* { return LoadLibraryW(OString(PORTWISE_FOREIGN_LIBRARY).Wide()); }),
              testing::KilledBySignal(SIGABRT), "");
  EXPECT_EXIT(load([] { return dlopen(PORTWISE_FOREIGN_LIBRARY, RTLD_NOW); }), testing::KilledBySignal(SIGABRT), "");
  EXPECT_TRUE(EndsInThread(UseWhatHasLocks));
}

/// Divides 2 to the power of one less than the width by `divisor`, which is too much for a quotient.
template <int Form>
void DivideBy(long divisor) {
  const struct { long before, wanted; } memory[4] = {{0, divisor}, {0, divisor}, {0, divisor}, {0, divisor}};
  if constexpr (Form == 0) {
    register long value asm("r13") = divisor;
    asm volatile("movl $0x7FFFFFFF, %%edx; idivq %0" ::"r"(value) : "rax", "rdx");
  }
  if constexpr (Form == 1)
    asm volatile("movl $0x7FFFFFFF, %%edx; divl 40(%0,%1,8)" ::"r"(memory), "r"(zero - 4L) : "eax", "edx", "memory");
  if constexpr (Form == 2) {
    register const void* base asm("r12") = memory;
    asm volatile("movl $0x7FFFFFFF, %%edx; divl 8(%0)" ::"r"(base) : "eax", "edx", "memory");
  }
  if constexpr (Form == 3) {
    static long divisorOfAll;
    divisorOfAll = divisor;
    asm volatile("movl $0x7FFFFFFF, %%edx; divq %0" ::"m"(divisorOfAll) : "rax", "rdx");
  }
  if constexpr (Form == 4) asm volatile("movb $0x7F, %%ah; idivb %%dil" ::"D"(divisor) : "eax");
  if constexpr (Form == 5) asm volatile("movw $0x7FFF, %%dx; idivw %w0" ::"r"(divisor) : "eax", "edx");
  if constexpr (Form == 6)
    asm volatile(
        "movl $0x7FFFFFFF, %%edx; idivl 1000(%0)" ::"r"(memory[0].before - 992 + reinterpret_cast<long>(memory))
        : "eax", "edx", "memory");
}

template <size_t... Forms>
void ExpectDivisionsToldApart(std::index_sequence<Forms...>) {
  const DWORD byZero[] = {ErrorOf([] { DivideBy<Forms>(0); })...};
  const DWORD tooLarge[] = {ErrorOf([] { DivideBy<Forms>(5); })...};
  EXPECT_THAT(byZero, testing::Each(1359u));
  EXPECT_THAT(tooLarge, testing::Each(534u));
}

TEST_F(FaultSurvival, DivisionByZeroIsNoOverflow) { ExpectDivisionsToldApart(std::make_index_sequence<7>()); }

/// An aligned frame, whose caller is found by a register that calls do not keep.
[[gnu::noinline]] int RecurseAligned(int depth) {
  alignas(64) volatile char room[128];
  room[0] = static_cast<char>(depth);
  return zero == 0 ? RecurseAligned(depth + 1) + room[0] : depth;
}

[[gnu::noinline]] int RecurseInStrides(int depth) {
  volatile char room[300000];
  room[0] = static_cast<char>(depth);
  return zero == 0 ? RecurseInStrides(depth + 1) + room[0] : depth;
}

TEST_F(FaultSurvival, NoFrameStepsOverTheEndOfTheStack) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "the stack may end inside the sanitizer, which then keeps a lock";
#endif
  InThread([] {
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(ErrorOf([] { RecurseInStrides(0); }), 1001u);
      EXPECT_EQ(ErrorOf([] { RecurseAligned(0); }), 1001u);
    }
  });
}

/// The library that was built by others.
void* Foreign(const char* function) {
  static void* const library = dlopen(PORTWISE_FOREIGN_LIBRARY, RTLD_NOW);
  return library ? dlsym(library, function) : nullptr;
}

TEST_F(FaultSurvival, CodeThatExpectsNoFaultIsPassed) {
  const auto write = reinterpret_cast<int (*)(int*)>(Foreign("WriteWithStringInHand"));
  ASSERT_TRUE(write);
  int there = 0;
  EXPECT_EQ(ErrorOf([&] { write(&there); }), 0u);
  EXPECT_EQ(ErrorOf([&] { write(reinterpret_cast<int*>(static_cast<uintptr_t>(zero) + 8)); }), 487u);
  const auto bad = reinterpret_cast<LPCWSTR>(static_cast<uintptr_t>(zero) + 8);
  EXPECT_EQ(ErrorOf([&] { CreateFileW(bad, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr); }), 487u);
}

[[gnu::noinline]] int CatchOther(void (*body)()) noexcept {
  try {
    body();
  } catch (const std::exception&) {
    return 1;
  }
  return 0;
}
struct CatchingDestructor {
  void (*body)();
  ~CatchingDestructor() { CatchOther(body); }
};

TEST_F(FaultSurvival, NoexceptFunctionsWithHandlersOfTheirOwnArePassed) {
  EXPECT_EQ(ErrorOf([] { CatchOther(ReadNull); }), 487u);
  EXPECT_EQ(ErrorOf([] { CatchOther([] { CatchOther(DivideByZero); }); }), 1359u);
#ifdef __SANITIZE_ADDRESS__
  const __lsan::ScopedDisabler disabler;  // an exception that another replaces is lost
#endif
  void (*volatile fault)() = DivideByZero;
  EXPECT_EQ(ErrorOf([&fault] {
              const CatchingDestructor cleanup{WriteAt16};
              fault();
            }),
            487u)
      << "the later of two";
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto afterAFault = [](void (*body)()) {
    QuietGuard guard;
    RunGuarded(guard, [body] {
      try {
        ReadNull();
      } catch (...) {
        CatchOther(body);
      }
      return TRUE;
    });
    _exit(0);
  };
  EXPECT_EXIT(afterAFault([] { throw 5; }), testing::KilledBySignal(SIGABRT), "") << "an ordinary exception";
  EXPECT_EXIT(afterAFault([] { std::terminate(); }), testing::KilledBySignal(SIGABRT), "");
  EXPECT_EXIT(afterAFault([] {}), testing::ExitedWithCode(0), "");
}

[[gnu::noinline]] void FaultAtEachLevel(int levels) {
  try {
    ReadNull();
  } catch (...) {
  }
  if (levels > 0) FaultAtEachLevel(levels - 1);
  asm volatile("" ::: "memory");  // no tail call
}

TEST_F(FaultSurvival, FaultsThatOthersCatchDoNotAddUp) {
  using CatchAllFunction = int (*)(void (*)());
  static const auto catchAll = reinterpret_cast<CatchAllFunction>(Foreign("CatchAll"));
  ASSERT_TRUE(catchAll);
  const auto many = [] {
    for (int i = 0; i < 50; ++i) EXPECT_EQ(catchAll(ReadNull), 1);
    FaultAtEachLevel(50);
  };
  EXPECT_EQ(ErrorOf(many), 0u);
#ifndef __SANITIZE_THREAD__
  const auto overflows = [] {
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(ErrorOf([] { EXPECT_EQ(catchAll([] { OverflowStack(); }), 1); }), 0u);
    }
    EXPECT_EQ(ErrorOf([] { OverflowStack(); }), 1001u);
  };
  overflows();
  InThread(overflows);
  // What others caught within the call has left the stack without its reserve: the end then, and not a fault for ever.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto twice = [] {
    ErrorOf([] {
      for (int i = 0; i < 2; ++i) catchAll([] { OverflowStack(); });
    });
  };
  EXPECT_DEATH(twice(), "");
#endif
}

}  // namespace
}  // namespace portwise
