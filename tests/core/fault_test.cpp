#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "core/fault/exception_handler.h"
#include "core/source_location.h"
#include "core/thread_local_singleton.h"
#include "platform/home.h"
#include "platform/kernel/modules.h"
#include "tests/core/minidump_reader.h"
#include "tests/support/faults.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/temporary_home.h"
#include "tests/support/wine.h"

#ifdef _WIN32
#include "tests/windows/minidumps.h"
#else
#include <signal.h>
#include <unistd.h>
#endif

namespace portwise {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

#ifdef _WIN32
using platform::WholeMinidumps;
const std::string kProgram = "test-faults.exe";
constexpr int kManyDumps = 3;
#else
/// All are whole.
struct WholeMinidumps {
  ~WholeMinidumps() {}
};
const std::string kProgram = "test-faults";
constexpr int kManyDumps = 10;
#endif

struct Counted {
  static inline std::atomic<int> alive = 0;
  Counted() { ++alive; }
  ~Counted() { --alive; }
};

[[gnu::noinline]] int Recurse(int depth) {
  const Counted counted;
  const std::string text(40, static_cast<char>('a' + depth % 26));
  volatile char room[3000];
  room[depth % 3000] = text[0];
  return zero == 0 ? Recurse(depth + 1) + room[depth % 3000] : depth;
}

/// A thread that leaves nothing behind, as the library sees to when it is loaded.
std::thread Start(std::function<void()> body) {
  return std::thread([body] {
    body();
    ThreadLocalSlot::DestroyObjects();
  });
}

/// The last error and the last report of a body under a guard.
struct Outcome {
  BOOL result;
  DWORD error;
  std::string text;
};
struct RecordingReport : FaultReport {
  std::string text;
  int count = 0;
  bool ReportError(const OString& report) override {
    text = report.Narrow();
    ++count;
    return true;
  }
};
template <class Body>
Outcome Guarded(Body&& body) {
  OExceptionHandler guard("test", OExceptionHandler::kReportEventLog | OExceptionHandler::kSetLastError);
  RecordingReport report;
  guard.SetReport(&report);
  SetLastError(0);
  const BOOL result = RunGuarded(guard, [&] {
    const Counted counted;
    body();
    return TRUE;
  });
  return {result, GetLastError(), report.text};
}

void InThread(std::function<void()> body) {
  struct Starter {
    static DWORD WINAPI Run(LPVOID parameter) {
      (*static_cast<std::function<void()>*>(parameter))();
      ThreadLocalSlot::DestroyObjects();
      return 0;
    }
  };
  const HANDLE thread = CreateThread(nullptr, 0, Starter::Run, &body, 0, nullptr);
  ASSERT_NE(thread, nullptr);
  EXPECT_EQ(WaitForSingleObject(thread, 60000), WAIT_OBJECT_0);
  CloseHandle(thread);
}

class Fault : public testing::Test {
 protected:
  Fault() { Counted::alive = 0; }
  std::filesystem::path Dump(int number) const {
    char name[64];
    std::snprintf(name, sizeof name, "C:\\ProgramData\\Corvane\\Drivers\\Dump\\faultdump_%04d.dmp", number);
    return platform::LinuxPath(OString(name).View());
  }
  TemporaryHome home_;
};

TEST_F(Fault, BecomesALastErrorAndAReportInEveryThread) {
  std::string address = "Error: " + OException(ERROR_INVALID_ADDRESS).Message();
  address = address.substr(0, address.find_last_not_of("\r\n") + 1) + "\r\n";
  const struct {
    void (*body)();
    DWORD error;
    std::string text;
  } cases[] = {
      {DivideByZero, 1359, "Error: Division by zero.\r\nCaught in [test]\r\nMiniDump File: C:\\ProgramData\\"},
      {IllegalInstruction, 1359, "Error: Illegal instruction.\r\n"},
      {DivideFloat, 1359, "Error: Floating point error.\r\n"},
      {OverflowQuotient, 534, "Error: A number is too large for its type.\r\n"},
      {ReadNull, 487, address},
      {WriteAt16, 487, address},
      {ReadNowhere, 487, address},
      {CallNull, 487, address},
      {Nothing, 0, ""},
  };
  const auto runAll = [&cases] {
    for (const auto& [body, error, text] : cases) {
      if (body == OverflowQuotient && IsWine()) continue;
      if (body == DivideFloat && sizeof(void*) == 4) continue;  // where Windows does not say what it was
      const Outcome outcome = Guarded(body);
      EXPECT_EQ(outcome.result, error == 0);
      EXPECT_EQ(outcome.error, error) << text;
      EXPECT_THAT(outcome.text, StartsWith(text));
      EXPECT_EQ(Counted::alive, 0);
    }
  };
  runAll();
  InThread(runAll);
}

// What the compiler took for code that cannot throw: a call of the C library, a destructor.
[[gnu::noinline]] void CopyFromNowhere(char* to, const char* from) noexcept { std::memcpy(to, from, 64); }
[[gnu::noinline]] void KeepOn() { asm volatile("" ::: "memory"); }
struct Copier {
  char room[64];
  const char* from;
  ~Copier() { CopyFromNowhere(room, from); }
};

TEST_F(Fault, PassesWhatIsNotExpectedToThrow) {
  const auto outcome = Guarded([] {
    const Counted counted;
    const Copier copier{{}, reinterpret_cast<const char*>(static_cast<uintptr_t>(zero) + 8)};
    KeepOn();
  });
  EXPECT_EQ(outcome.error, 487u);
  const auto inside = Guarded([] {
    char room[64];
    std::memcpy(room, reinterpret_cast<const char*>(static_cast<uintptr_t>(zero) + 8), 64);
    const Counted counted;
    KeepOn();
    if (room[3] != 0) throw OException(1);
  });
  EXPECT_EQ(inside.error, 487u);
}

TEST_F(Fault, OfTheStackIsSurvivedAgainAndAgain) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "the stack may end inside the sanitizer, which then keeps a lock";
#endif
  const auto overflow = [] {
    for (int i = 0; i < 2; ++i) {
      const Outcome outcome = Guarded([] { Recurse(0); });
      EXPECT_EQ(outcome.error, 1001u);
      EXPECT_THAT(outcome.text, StartsWith("Error: The stack is used up.\r\nCaught in [test]\r\nMiniDump File: "));
      // The frame at the very end may have been cut off where the compiler expects no fault.
      EXPECT_LE(Counted::alive.exchange(0), 1) << "of thousands";
    }
  };
  overflow();
  InThread(overflow);
  Start(overflow).join();
}

TEST_F(Fault, LeavesNestedGuardsOneByOne) {
  const Outcome outer = Guarded([] {
    EXPECT_EQ(Guarded(ReadNull).error, 487u);
    EXPECT_EQ(Guarded([] { DivideByZero(); }).error, 1359u);
    try {
      IllegalInstruction();
    } catch (const OException& exception) {
      EXPECT_EQ(exception.ExceptionPointers()->ExceptionRecord->ExceptionCode, 0xC000001Du);
    }
    WriteAt16();
  });
  EXPECT_EQ(outer.error, 487u);
  EXPECT_EQ(SetFaultTranslator(nullptr), nullptr) << "as before the first guard";
}

#ifndef _WIN32
TEST_F(Fault, OutsideOfGuardsGoesToTheHost) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto host = [] {
    struct sigaction action {};
    action.sa_sigaction = [](int, siginfo_t* info, void*) { _exit(info->si_addr == nullptr ? 42 : 43); };
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSEGV, &action, nullptr);
    OExceptionHandler guard("test", 0);
    if (RunGuarded(guard, [] {
          WriteAt16();
          return TRUE;
        })) {
      _exit(1);
    }
    std::thread(ReadNull).join();
  };
  EXPECT_EXIT(host(), testing::ExitedWithCode(42), "");
  EXPECT_EXIT(
      {
        Guarded(Nothing);
        RaiseException(0xE0000001, 0, 0, nullptr);
      },
      testing::KilledBySignal(SIGABRT), "");
}
#endif

TEST_F(Fault, RaisedCarriesItsLocation) {
  std::vector<std::thread> threads;
  for (DWORD line = 1; line <= 8; ++line) {
    threads.push_back(Start([line] {
      const std::string function = "F" + std::to_string(line);
      for (int i = 0; i < 3; ++i) {
        const Outcome outcome = Guarded([&] { RaiseWithLocation(line, function.c_str(), "a.cpp", "It broke."); });
        EXPECT_EQ(outcome.error, 0xFFFFFFFFu);
        EXPECT_THAT(outcome.text, StartsWith("Error: It broke.\r\nFunction: " + function + " in a.cpp (" +
                                             std::to_string(line) + ")\r\nCaught in [test]\r\n"));
      }
    }));
  }
  for (auto& thread : threads) thread.join();
  const Outcome cut = Guarded([] { RaiseWithLocation(1, std::string(300, 'f').c_str(), nullptr, nullptr); });
  EXPECT_THAT(cut.text, HasSubstr("Function: " + std::string(259, 'f') + " in  (1)"));
  EXPECT_EQ(Guarded([] { RaiseException(0xE0000001, 0, 0, nullptr); }).error, 1287u);
  const std::pair<DWORD, DWORD> faults[] = {{0x80000002, 487},  {0xC0000006, 487},  {0xC000008C, 1287},
                                            {0xC000008D, 1359}, {0xC0000093, 1359}, {0xC00000FE, 1287}};
  for (const auto& [code, error] : faults)
    EXPECT_EQ(Guarded([code = code] { RaiseException(code, 0, 0, nullptr); }).error, error) << code;
  const ULONG_PTR other = 16;
  EXPECT_EQ(Guarded([&] { RaiseException(1359, 1, 1, &other); }).error, 1287u) << "not this thread's record";
}

/// Without carriage returns, which files of text lose on Windows.
std::string Plain(std::string text) {
  std::erase(text, '\r');
  return text;
}
std::string Captured() {
  const DWORD error = GetLastError();
  const std::string text = Plain(testing::internal::GetCapturedStderr());
  SetLastError(error);
  return text;
}

std::vector<std::string> boxes;
int answer = 0;
int WINAPI ShowBox(HWND, LPCSTR text, LPCSTR caption, UINT style) {
  boxes.push_back(std::string(caption) + "|" + std::to_string(style) + "|" + text);
  return answer;
}

TEST_F(Fault, IsReportedAsTheFlagsSay) {
  platform::RegisterSystemModule("User32.dll", {{"MessageBoxA", platform::AsFarProc(ShowBox)}});
  OException exception(5, " \tIt broke.\r\n", "at a\r\nat b");
  exception.SetLocation("Print", "port.cpp", 12);
  const std::string lines = "Function: Print in port.cpp (12)\r\nCaught in [scope]\r\n";
  const std::string box =
      "An unrecoverable error occurred, and execution cannot continue.\r\n\r\nError: It broke.\r\n" + lines;
  for (DWORD flags = 0; flags < 16; ++flags) {
    boxes.clear();
    answer = flags & 1 ? 6 : 7;
    OExceptionHandler guard("scope", flags);
    RecordingReport report;
    guard.SetReport(&report);
    testing::internal::CaptureStderr();
    SetLastError(77);
    guard.Handle(exception);
    EXPECT_EQ(Captured(),
              flags & 4 ? Plain("+++ " + kProgram + " exception: It broke.\r\n" + lines + "at a\r\nat b") : "");
    EXPECT_EQ(GetLastError(), flags & 8 ? 5u : 77u);
    EXPECT_EQ(report.text, flags & 1 ? "Error: It broke.\r\n" + lines : "");
    std::vector<std::string> expected;
    if (flags & 2) expected.push_back(kProgram + " Error|20|" + box + "\r\nTrace call stack?");
    if ((flags & 3) == 3) expected.push_back(kProgram + " Error|16|" + box + "\r\nat a\r\nat b");
    EXPECT_EQ(boxes, expected);
  }
  boxes.clear();
  OExceptionHandler guard("scope", 6);
  testing::internal::CaptureStderr();
  RunGuarded(guard, [] {
    DivideByZero();
    return TRUE;
  });
  const std::string dump = "MiniDump File: C:\\ProgramData\\Corvane\\Drivers\\Dump\\faultdump_0000.dmp\r\n";
  EXPECT_EQ(Captured(), Plain("+++ " + kProgram + " exception: Division by zero.\r\nCaught in [scope]\r\n\r\n" + dump));
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_THAT(boxes[0], StartsWith(kProgram + " Error|16|"));
  EXPECT_THAT(boxes[0], EndsWith("Caught in [scope]\r\n" + dump));
  EXPECT_EQ("MiniDump File: " + std::string(OString(guard.DumpPath()).Narrow()) + "\r\n", dump);
}

TEST_F(Fault, InTheReportItselfEndsInTheCallsFailure) {
  struct FaultyReport : FaultReport {
    bool ReportError(const OString&) override {
      ReadNull();
      return true;
    }
    OString DebugLibraryPath() override {
      DivideByZero();
      return OString();
    }
  } faulty;
  struct FaultyGuard : OExceptionHandler {
    using OExceptionHandler::OExceptionHandler;
    void Handle(const OException&) override { IllegalInstruction(); }
  };
  OExceptionHandler::SetDefaultReport(&faulty);
  OExceptionHandler guard("test", 13);
  guard.SetReport(&faulty);
  testing::internal::CaptureStderr();
  const auto fail = [] {
    WriteAt16();
    return TRUE;
  };
  {
    const WholeMinidumps whole;
    EXPECT_FALSE(RunGuarded(guard, fail));
  }
  for (int i = 1; i < 20; ++i) EXPECT_FALSE(RunGuarded(guard, fail));
  EXPECT_EQ(GetLastError(), 487u);
  EXPECT_THAT(Captured(), EndsWith("faultdump_0019.dmp\n"));
  const MinidumpReader dump(Dump(0));
  EXPECT_EQ(dump.ExceptionCode(), 0xC0000005u) << "that of the call and not of the report";
  EXPECT_EQ(dump.ExceptionParameter(0), 1u) << "writing";
  EXPECT_EQ(dump.ExceptionParameter(1), 16u);
  OExceptionHandler::SetDefaultReport(nullptr);
  FaultyGuard worse("test", 9);
  SetLastError(0);
  EXPECT_FALSE(RunGuarded(worse, fail));
  EXPECT_EQ(GetLastError(), 487u);
}

volatile uint64_t globalMarker = 0x1122334455667788;

[[gnu::noinline]] void KeepMarkerAndFault(uint64_t value) {
  volatile uint64_t marker = value;
  DivideByZero();
  marker = marker + 1;
}

/// Deeper in the stack than what handles the fault.
[[gnu::noinline]] void FaultWithMarker(uint64_t value) {
  volatile char room[8000];
  room[0] = 1;
  KeepMarkerAndFault(value);
  room[1] = room[0];
}

TEST_F(Fault, LeavesAMinidumpThatTellsWhatHappened) {
  const WholeMinidumps whole;
  std::atomic<DWORD> waiting = 0;
  std::atomic<bool> over = false;
  std::thread other([&] {
    volatile uint64_t marker = 0x0DDC0FFEE0DDF00D;
    waiting = GetCurrentThreadId();
    while (!over) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    marker = marker + 1;
  });
  while (waiting == 0) std::this_thread::yield();
  globalMarker = globalMarker + 1;
  DWORD faulting = 0;
  InThread([&] {
    faulting = GetCurrentThreadId();
    Guarded([] { FaultWithMarker(0xFEEDFACE12345678); });
  });
  over = true;
  other.join();
  const MinidumpReader dump(Dump(0));
  const auto bytes = [](uint64_t value) { return std::string(reinterpret_cast<const char*>(&value), sizeof value); };
  EXPECT_EQ(dump.At<uint64_t>(24), 0x225u);
  EXPECT_EQ(dump.ExceptionCode(), 0xC0000094u);
  EXPECT_EQ(dump.ExceptionThread(), faulting);
  EXPECT_EQ(dump.ExceptionAddress(), dump.Rip());
  const auto function = reinterpret_cast<uint64_t>(DivideByZero);
  EXPECT_GE(dump.Rip(), function);
  EXPECT_LT(dump.Rip(), function + 200);
  const auto threads = dump.Threads();
  ASSERT_TRUE(threads.contains(faulting) && threads.contains(waiting) && threads.contains(GetCurrentThreadId()));
  const auto& stack = threads.at(faulting);
  EXPECT_THAT(stack.stack, HasSubstr(bytes(0xFEEDFACE12345678)));
  EXPECT_THAT(threads.at(waiting).stack, HasSubstr(bytes(0x0DDC0FFEE0DDF00D)));
#ifndef _WIN32  // what the platform's own dumps promise
  EXPECT_EQ(stack.stackStart, dump.Rsp());
  EXPECT_EQ(stack.context.at, dump.ContextPlace());
  EXPECT_EQ(stack.context.size, 1232u);
  EXPECT_EQ(dump.Memory(stack.stackStart, 64), stack.stack.substr(0, 64));
  EXPECT_EQ(dump.At<uint64_t>(threads.at(waiting).context.at + 0x98), threads.at(waiting).stackStart);
  EXPECT_EQ(dump.Memory(reinterpret_cast<uint64_t>(&globalMarker), 8), bytes(globalMarker));
  int known = 0;
  for (const auto& module : dump.Modules()) {
    const bool ours = module.name.find("/test-faults") != std::string::npos;
    EXPECT_EQ(ours, dump.Rip() >= module.base && dump.Rip() < module.base + module.size);
    if (!ours && module.name.find("/libportwise-platform.so") == std::string::npos) continue;
    EXPECT_THAT(module.codeView, StartsWith("LEpB"));
    EXPECT_GE(module.codeView.size(), 4 + 16u);
    ++known;
  }
  EXPECT_EQ(known, 2);
  EXPECT_EQ(dump.At<uint16_t>(dump.Stream(7).at), 9);
  EXPECT_EQ(dump.At<uint32_t>(dump.Stream(15).at + 8), GetCurrentProcessId());
  EXPECT_GT(dump.At<uint32_t>(dump.Stream(12).at + 8), 0u) << "open handles";
  EXPECT_EQ(dump.At<uint32_t>(dump.Stream(14).at + 8), 0u);
#endif
}

TEST_F(Fault, DumpsFromManyThreadsAtOnceGetNamesOfTheirOwn) {
  constexpr int kThreads = kManyDumps;
  const WholeMinidumps whole;
  std::atomic<int> ready = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.push_back(Start([&] {
      ++ready;
      while (ready < kThreads) std::this_thread::yield();
      EXPECT_EQ(Guarded([] { FaultWithMarker(GetCurrentThreadId() * 0x100000001ull); }).error, 1359u);
    }));
  }
  for (auto& thread : threads) thread.join();
  for (int i = 0; i < kThreads; ++i) {
    const MinidumpReader dump(Dump(i));
    const uint64_t marker = dump.ExceptionThread() * 0x100000001ull;
    EXPECT_THAT(dump.Threads().at(dump.ExceptionThread()).stack,
                HasSubstr(std::string(reinterpret_cast<const char*>(&marker), 8)));
  }
}

TEST_F(Fault, IsReportedWhenNoDumpCanBeWritten) {
  const auto folder = Dump(0).parent_path();
  const auto expectNone = [](const char* why) {
    const Outcome outcome = Guarded(DivideByZero);
    EXPECT_EQ(outcome.error, 1359u);
    EXPECT_THAT(outcome.text, EndsWith("\r\nAttemped to generate minidump file but failed\r\n")) << why;
  };
  std::filesystem::create_directories(folder.parent_path());
  std::ofstream(folder).put('x');
  expectNone("a file where the folder should be");
  std::filesystem::remove(folder);
  {
    const FileSizeLimit full(100000);
    expectNone("a disk that is full");
  }
  for (int i = 0; i < 10000; ++i) std::ofstream{Dump(i)};
  expectNone("all names taken");
  std::filesystem::remove(Dump(9999));
  EXPECT_THAT(Guarded(DivideByZero).text, EndsWith("faultdump_9999.dmp\r\n"));
  struct Elsewhere : FaultReport {
    OString DebugLibraryPath() override { return "Shell32.dll"; }
  } elsewhere;
  std::filesystem::remove(Dump(9999));
  OExceptionHandler::SetDefaultReport(&elsewhere);
  expectNone("a debug library without the function");
  OExceptionHandler::SetDefaultReport(nullptr);
}

}  // namespace
}  // namespace portwise
