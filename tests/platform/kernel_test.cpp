#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <windows.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "core/handles.h"
#include "platform/kernel/wait_source.h"
#include "platform/test_clock.h"
#include "tests/support/last_error.h"

namespace portwise::platform {
namespace {

using namespace std::chrono_literals;

constexpr DWORD kLong = 20'000;  // ends a test that would hang

unique_handle NewEvent(bool manual, bool set) { return unique_handle(CreateEventW(nullptr, manual, set, nullptr)); }

template <class Condition>
bool Eventually(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + 10s;
  while (!condition() && std::chrono::steady_clock::now() < end) std::this_thread::sleep_for(1ms);
  return condition();
}

TEST(Handles, StaleAndForeignValuesAreRefused) {
  const HANDLE closed = CreateEventW(nullptr, TRUE, TRUE, nullptr);
  EXPECT_TRUE(CloseHandle(closed));
  const unique_handle successor = NewEvent(true, true);  // may sit in the slot that the closed one had
  for (const HANDLE handle : {HANDLE{}, INVALID_HANDLE_VALUE, reinterpret_cast<HANDLE>(0x7ffffffc), closed}) {
    EXPECT_FALSE(SetEvent(handle));
    EXPECT_EQ(WaitForSingleObject(handle, 0), WAIT_FAILED);
    EXPECT_EQ(ErrorOf(CloseHandle(handle)), ERROR_INVALID_HANDLE);
  }
  DWORD read = 0;
  EXPECT_FALSE(ReadFile(successor.Get(), &read, 1, &read, nullptr));  // open, but of another kind
  EXPECT_EQ(WaitForSingleObject(successor.Get(), 0), WAIT_OBJECT_0);
}

TEST(Waits, AutoResetEventReleasesOneWaiterEach) {
  const unique_handle event = NewEvent(false, false);
  std::atomic<int> released = 0;
  std::vector<std::thread> waiters;
  for (int i = 0; i < 6; ++i) {
    waiters.emplace_back([&] { released += WaitForSingleObject(event.Get(), kLong) == WAIT_OBJECT_0; });
  }
  for (int i = 1; i <= 6; ++i) {
    SetEvent(event.Get());
    EXPECT_TRUE(Eventually([&] { return released == i; }));
    std::this_thread::sleep_for(10ms);
    EXPECT_EQ(released, i);
  }
  for (auto& waiter : waiters) waiter.join();
  SetEvent(event.Get());
  ResetEvent(event.Get());
  EXPECT_EQ(WaitForSingleObject(event.Get(), 1), DWORD{WAIT_TIMEOUT});
}

TEST(Waits, AnyTakesTheFirstAndAllNothingUnlessEverything) {
  const unique_handle a = NewEvent(false, false), b = NewEvent(false, true), c = NewEvent(false, true);
  const HANDLE handles[] = {a.Get(), b.Get(), c.Get()};
  EXPECT_EQ(WaitForMultipleObjects(3, handles, TRUE, 20), DWORD{WAIT_TIMEOUT});
  EXPECT_EQ(WaitForMultipleObjects(3, handles, FALSE, 0), WAIT_OBJECT_0 + 1);
  EXPECT_EQ(WaitForMultipleObjects(3, handles, FALSE, 0), WAIT_OBJECT_0 + 2);
  EXPECT_EQ(WaitForMultipleObjects(3, handles, FALSE, 0), DWORD{WAIT_TIMEOUT});
}

// Waits for all in both orders, which would starve or deadlock if signals were taken one by one, and single waits in
// between. Each signal must be used exactly once.
TEST(Waits, NoSignalIsLostOrDoubledUnderContention) {
  const unique_handle a = NewEvent(false, true), b = NewEvent(false, true);
  int guarded = 0;  // only touched by who holds both
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      const HANDLE order[] = {i % 2 ? a.Get() : b.Get(), i % 2 ? b.Get() : a.Get()};
      for (int round = 0; round < 200; ++round) {
        if (WaitForMultipleObjects(2, order, TRUE, kLong) != WAIT_OBJECT_0) break;
        ++guarded;
        SetEvent(a.Get());
        SetEvent(b.Get());
        const DWORD one = WaitForMultipleObjects(2, order, FALSE, kLong);
        if (one > WAIT_OBJECT_0 + 1) break;
        SetEvent(order[one - WAIT_OBJECT_0]);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(guarded, 4 * 200);
  const HANDLE both[] = {a.Get(), b.Get()};
  EXPECT_EQ(WaitForMultipleObjects(2, both, TRUE, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForMultipleObjects(2, both, FALSE, 0), DWORD{WAIT_TIMEOUT});
}

TEST(Waits, FollowTheScaledClockAcrossTheTickWrap) {
  const unique_handle event = NewEvent(true, false);
  SetTimeScale(20);
  SetTickCount(0xFFFFFF00u);
  const DWORD before = GetTickCount();
  const auto realBefore = std::chrono::steady_clock::now();
  EXPECT_EQ(WaitForSingleObject(event.Get(), 2000), DWORD{WAIT_TIMEOUT});
  Sleep(1000);
  const auto real = std::chrono::steady_clock::now() - realBefore;
  const DWORD elapsed = GetTickCount() - before;
  EXPECT_LT(GetTickCount(), before) << "the ticks did not wrap";
  EXPECT_GE(elapsed, 3000u);
  EXPECT_GE(real, 150ms);
  EXPECT_LT(real, 3000ms);
  SetTimeScale(1000);
  EXPECT_EQ(TimeScale(), 20);
  const long long then = ClockMilliseconds();
  SetTimeScale(1);
  EXPECT_LT(ClockMilliseconds() - then, 5000) << "a change of the scale must not make the clock jump";
}

class CountingSource : public WaitSource {
 public:
  ~CountingSource() override { close(fd_); }
  int PollFd() const override { return fd_; }
  bool OnReadable() override {
    eventfd_t count = 0;
    return eventfd_read(fd_, &count) == 0;
  }
  void Trigger() { eventfd_write(fd_, 1); }

 private:
  const int fd_ = eventfd(0, EFD_NONBLOCK);
};

TEST(Waits, NoticeSourcesThatComeAndGo) {
  const unique_handle event = NewEvent(false, false);
  const auto source = std::make_shared<CountingSource>();
  std::atomic<bool> released = false;
  std::thread waiter([&] { released = WaitForSingleObject(event.Get(), kLong) == WAIT_OBJECT_0; });
  std::this_thread::sleep_for(20ms);
  AttachWaitSource(event.Get(), source);
  std::this_thread::sleep_for(20ms);
  DetachWaitSource(event.Get(), source.get());
  EXPECT_TRUE(Eventually([&] { return source.use_count() == 1; })) << "the waiting thread still polls the source";
  source->Trigger();
  std::this_thread::sleep_for(20ms);
  EXPECT_FALSE(released);
  AttachWaitSource(event.Get(), source);
  waiter.join();
  EXPECT_TRUE(released);
}

TEST(ThreadLocalStorage, AnIndexUsedAgainStartsAsNullInEveryThread) {
  const DWORD first = TlsAlloc();
  int mine = 0;
  ASSERT_TRUE(TlsSetValue(first, &mine));
  const unique_handle go = NewEvent(true, false), set = NewEvent(true, false);
  LPVOID seen = &seen;
  std::thread other([&] {
    TlsSetValue(first, &seen);
    SetEvent(set.Get());
    WaitForSingleObject(go.Get(), kLong);
    seen = TlsGetValue(first);
  });
  WaitForSingleObject(set.Get(), kLong);
  EXPECT_EQ(TlsGetValue(first), &mine);
  EXPECT_TRUE(TlsFree(first));
  EXPECT_FALSE(TlsSetValue(first, nullptr));
  ASSERT_EQ(TlsAlloc(), first);
  SetEvent(go.Get());
  other.join();
  EXPECT_EQ(seen, nullptr);
  EXPECT_TRUE(TlsFree(first));
}

}  // namespace
}  // namespace portwise::platform
