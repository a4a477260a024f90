#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>
#include <vector>

#include "core/fault/exception_handler.h"
#include "core/file.h"
#include "core/folders.h"
#include "core/synchronizer.h"
#include "core/thread_local_singleton.h"
#include "core/worker_thread.h"
#include "platform/home.h"
#include "tests/support/files.h"
#include "tests/support/last_error.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

std::string Content(const OString& path) { return ReadBytes(platform::LinuxPath(path.View())); }

TEST(OFile, WritesLinesInItsCodePageAndHonoursItsFlags) {
  TemporaryHome home;
  const OString path("C:\\Logs\\a.txt");
  ASSERT_TRUE(CreateFolder("C:\\Logs\\"));
  OFile file;
  EXPECT_EQ(ErrorOf(file.Open(path, OFile::kReadWrite)), ERROR_FILE_NOT_FOUND);
  ASSERT_TRUE(file.Open(path, OFile::kReadWrite | OFile::kCreate | OFile::kShareRead));
  OFile other;
  EXPECT_FALSE(other.Open(path, OFile::kReadWrite | OFile::kAppend));
  EXPECT_FALSE(other.Open(path, OFile::kShareWrite)) << "the first one reads too";
  EXPECT_TRUE(other.Open(path, 0));
  file.SetCodePage(1252);
  EXPECT_TRUE(file.WriteLine(TEXT("caf\u00E9")));
  const std::string big(3000, 'x');
  // All that the buffer has room for, one more, and more than it ever has.
  for (const size_t size : {1018u, 1u, 1981u}) EXPECT_TRUE(file.Write(big.data(), size));
  EXPECT_TRUE(file.WriteLine());
  EXPECT_EQ(file.Size(), 3008);
  EXPECT_TRUE(file.Close());
  EXPECT_EQ(Content(path), "caf\xE9\r\n" + big + "\r\n");
  ASSERT_TRUE(file.Open(path, OFile::kReadWrite | OFile::kAppend));
  EXPECT_TRUE(file.WriteString("end"));
  file.Close();
  EXPECT_EQ(Content(path).substr(3008), "end");
  ASSERT_TRUE(file.Open(path, 0));
  file.Write("x", 1);
  EXPECT_FALSE(file.Flush()) << "opened for reading only";
  ASSERT_TRUE(other.Open(path, OFile::kReadWrite));
  EXPECT_EQ(other.Size(), 0) << "truncated";
}

TEST(Folders, AreCreatedWithTheirParents) {
  TemporaryHome home;
  EXPECT_TRUE(CreateFolder("C:\\a\\b/c"));
  EXPECT_TRUE(CreateFolder("C:\\a\\b\\c\\"));
  EXPECT_EQ(LibraryTempFolder(), CommonApplicationDataFolder() + "\\Corvane\\Drivers\\Temp");
  OFile file;
  ASSERT_TRUE(file.Open("C:\\a\\file", OFile::kReadWrite | OFile::kCreate));
  EXPECT_FALSE(CreateFolder("C:\\a\\file"));
  EXPECT_FALSE(CreateFolder("C:\\a\\file\\x"));
}

TEST(OSemaphore, GivesWayWithoutWaiting) {
  OSemaphore lock;
  ASSERT_TRUE(lock.TryLock());
  EXPECT_FALSE(lock.TryLock()) << "the holder itself must not get it twice this way";
  std::atomic<bool> got = false;
  std::thread waiting([&] {
    lock.Lock();
    got = true;
    Sleep(50);
    lock.Unlock();
  });
  Sleep(30);
  EXPECT_FALSE(got);
  lock.Unlock();
  // Whether the other waits or holds it by now, the lock is wanted.
  EXPECT_FALSE(lock.TryLock());
  waiting.join();
  EXPECT_TRUE(got);
  EXPECT_TRUE(lock.TryLock());
  lock.Unlock();
}

TEST(ThreadLocalSingleton, IsOnePerThreadAndEndsWithTheLibraryAtLast) {
  static std::atomic<int> alive = 0;
  struct Last : ThreadLocalObject {
    Last() { ++alive; }
    ~Last() override {
      Sleep(10);
      --alive;
    }
  };
  struct Counted : Last {
    ~Counted() override { ThreadLocalSingleton<Last>::Instance(); }
  };
  std::latch made(4), destroyed(1);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, ends = i == 1] {
      EXPECT_EQ(ThreadLocalSingleton<Counted>::Instance(), ThreadLocalSingleton<Counted>::Instance());
      if (ends) ThreadLocalSlot::DestroyObjects();
      made.count_down();
      destroyed.wait();
    });
  }
  made.wait();
  ThreadLocalSingleton<Counted>::Instance();
  EXPECT_EQ(alive, 4);
  ThreadLocalSlot::DestroyAllObjects();
  EXPECT_EQ(alive, 0);
  destroyed.count_down();
  for (auto& thread : threads) thread.join();
  WorkerThread worker;
  ASSERT_TRUE(worker.Start([](void*) { ThreadLocalSingleton<Counted>::Instance(); }, nullptr));
  worker.Join();
  EXPECT_EQ(alive, 0) << "whoever waits for a worker may unload the library";
}

TEST(RunGuarded, TurnsEveryFailureIntoALastError) {
  const auto lastErrorOf = [](auto&& body) {
    OExceptionHandler guard("test", OExceptionHandler::kSetLastError);
    SetLastError(0);
    EXPECT_EQ(RunGuarded(guard, body), FALSE);
    return GetLastError();
  };
  EXPECT_EQ(lastErrorOf([]() -> BOOL { throw OException(1117); }), 1117u);
  EXPECT_EQ(lastErrorOf([]() -> BOOL { throw CMemoryException::Instance(); }), 14u);
  EXPECT_EQ(lastErrorOf([]() -> BOOL { throw std::bad_alloc(); }), 14u);
  EXPECT_EQ(lastErrorOf([]() -> BOOL { throw std::out_of_range("x"); }), 1359u);
  EXPECT_FALSE(OException(ERROR_ACCESS_DENIED).Message().empty()) << "the system's text is used";
}

}  // namespace
}  // namespace portwise
