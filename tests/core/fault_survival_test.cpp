#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

#include <cstdlib>
#include <memory>
#include <thread>

#include "core/exception_handler.h"
#include "core/thread_local_singleton.h"
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

template <size_t Room>
[[gnu::noinline]] int AllocateAndRecurse(int depth) {
  volatile char room[Room];
  room[depth % Room] = 1;
  const std::unique_ptr<char[]> block(new char[700]);
  block[0] = room[depth % Room];
  return zero == 0 ? AllocateAndRecurse<Room>(depth + 1) + block[0] : depth;
}

template <size_t... Rooms>
void ExpectOverflows(std::index_sequence<Rooms...>) {
  const DWORD errors[] = {ErrorOf([] { AllocateAndRecurse<16 + 16 * Rooms>(0); })...};
  EXPECT_THAT(errors, testing::Each(1001u));
  // The heap's lock is free, and what was allocated is intact.
  for (size_t size = 1; size < 1 << 20; size *= 2) std::free(std::calloc(1, size));
}

TEST_F(FaultSurvival, StackMayEndInsideTheAllocator) {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the allocator is the sanitizer's";
#endif
  const auto all = [] { ExpectOverflows(std::make_index_sequence<24>()); };
  all();
  InThread(all);
  EXPECT_EQ(ErrorOf([] { std::free(reinterpret_cast<void*>(static_cast<uintptr_t>(zero) + 0x1008)); }), 487u);
  EXPECT_EQ(ErrorOf(Nothing), 0u);
}

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
