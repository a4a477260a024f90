#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <new>
#include <thread>

#include "core/exception.h"
#include "platform/eventlog/event_reader.h"
#include "platform/home.h"
#include "platform/text.h"
#include "plugin/plugin_context.h"
#include "tests/support/fake_printer.h"
#include "tests/support/faults.h"
#include "tests/support/monitor_fixture.h"

namespace portwise {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

struct Injection {
  const char* name;
  void (*fail)();
  DWORD error;
  const char* text;
  bool isFault;
};

const Injection kInjections[] = {
    {"division by zero", DivideByZero, 1359, "Error: Division by zero.\r\n", true},
    {"null pointer", ReadNull, 487, "Error: ", true},
// The stack may end inside the sanitizer, which then keeps a lock; Wine ends the process.
#if !defined __SANITIZE_THREAD__ && !defined _WIN32
    {"stack overflow", [] { OverflowStack(); }, 1001, "Error: The stack is used up.\r\n", true},
#endif
    {"own exception", [] { throw OException(4711, "It broke."); }, 4711, "Error: It broke.\r\n", false},
    {"memory exception", [] { throw CMemoryException::Instance(); }, 14, "Error: ", false},
    {"out of memory", [] { throw std::bad_alloc(); }, 14, "Error: ", false},
    {"standard exception", [] { throw std::runtime_error("Bad luck."); }, 1359, "Error: Bad luck.\r\n", false},
};

class FaultInjection : public MonitorFixture {
 protected:
  /// Prints over TCP on a thread of its own, until it is finished.
  class Neighbour;

  /// From now on the operation of the monitor below fails, until Disarm.
  void Arm(std::string_view operation, void (*fail)()) {
    below_.onCall = [operation, fail](std::string_view called) {
      if (called == operation) fail();
    };
  }
  void Disarm() { below_.onCall = nullptr; }

  /// The texts of the monitor's log entries since the last call.
  std::vector<std::string> NewReports() {
    std::vector<platform::Event> events;
    EXPECT_EQ(platform::ReadEvents(&lastEvent_, {}, 1000, &events), ERROR_SUCCESS);
    std::vector<std::string> texts;
    for (const platform::Event& event : events) {
      EXPECT_EQ(event.id, 0xC0FF0600u);
      texts.push_back(platform::ToUtf8(event.strings.at(0)));
    }
    return texts;
  }

  /// How many dumps there are; they are removed.
  static int TakeDumps() {
    const auto folder = platform::LinuxPath(TEXT("C:\\ProgramData\\Corvane\\Drivers\\Dump"));
    return std::max(static_cast<int>(std::filesystem::remove_all(folder)) - 1, 0);
  }

  std::int64_t lastEvent_ = 0;
};

class FaultInjection::Neighbour {
 public:
  explicit Neighbour(FaultInjection& test) {
    AddTcpPort("IP_1", printer_.Port());
    port_ = test.Open("IP_1", "Others");
    thread_ = std::thread([this] {
      EXPECT_TRUE(Start(port_, 999));
      do {
        const std::string line = "label " + std::to_string(sent_++) + "\n";
        EXPECT_TRUE(Write(port_, line));
        expected_ += line;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
      } while (!over_);
      printed_ = lmEndDocPortW(port_);
      ThreadLocalSlot::DestroyObjects();
    });
    EXPECT_TRUE(printer_.Accept());
  }
  void Finish() {
    over_ = true;
    // The end of the job waits for the printer to read it.
    const std::string all = printer_.Receive(~std::size_t{0});
    printer_.Close();
    thread_.join();
    EXPECT_TRUE(printed_);
    EXPECT_EQ(all, expected_);
    EXPECT_GT(sent_, 5);
    EXPECT_TRUE(lmClosePortW(port_));
  }

 private:
  FakePrinter printer_;
  HANDLE port_ = nullptr;
  std::atomic<bool> over_ = false;
  int sent_ = 0;
  std::string expected_;
  BOOL printed_ = FALSE;
  std::thread thread_;
};

TEST_F(FaultInjection, InEveryOperationCostsOneCallAndOneReport) {
  spooler_.printers["Labels"] = {"FILE:", ""};
  spooler_.printers["Others"] = {"IP_1", ""};
  Neighbour neighbour(*this);
  DWORD job = 100;
  for (const Injection& injection : kInjections) {
    for (const std::string operation : {"open", "start", "write", "read", "data", "end", "close"}) {
      SCOPED_TRACE(operation + ": " + injection.name);
      ++job;
      const bool opens = operation == "open";
      const HANDLE port = opens ? nullptr : Open("FILE:");
      if (!opens && operation != "start") {
        ASSERT_TRUE(Start(port, job));
      }
      const auto call = [&]() -> BOOL {
        BYTE byte = 0;
        DWORD count = 0;
        WCHAR word[3] = {};
        if (opens) return Open("FILE:") != nullptr;
        if (operation == "start") return Start(port, job);
        if (operation == "write") return Write(port, "x");
        if (operation == "read") return lmReadPortW(port, &byte, 1, &count);
        if (operation == "data") return lmGetPrinterDataFromPortW(port, 1, nullptr, word, 3, word, 5, &count);
        if (operation == "end") return lmEndDocPortW(port);
        return lmClosePortW(port);
      };
      Arm(operation, injection.fail);
      SetLastError(1);
      EXPECT_FALSE(call());
      EXPECT_EQ(GetLastError(), injection.error);
      const auto reports = NewReports();
      ASSERT_EQ(reports.size(), 1u);
      EXPECT_THAT(reports[0], AllOf(StartsWith("Port: FILE:\tPrinter: Labels\r\n" + std::string(injection.text)),
                                    HasSubstr("\r\nCaught in [lm")));
      EXPECT_EQ(reports[0].find("MiniDump File: ") != std::string::npos, injection.isFault);
      EXPECT_EQ(TakeDumps(), injection.isFault ? 1 : 0);
      if (operation == "write" || operation == "read") {
        SetLastError(1);
        EXPECT_FALSE(call());
        EXPECT_EQ(GetLastError(), 1u) << "a report that is held back leaves the last error";
        EXPECT_TRUE(NewReports().empty()) << "one a job";
        EXPECT_EQ(TakeDumps(), 0);
      }
      Disarm();
      if (port && operation != "close") {
        const bool isOpen = operation != "start" && operation != "end";
        EXPECT_TRUE(!isOpen || (Write(port, "goes on") && lmEndDocPortW(port)));
        EXPECT_TRUE(lmClosePortW(port));
      }
      // The next job's first failure is told again, in whatever operation it comes.
      const HANDLE other = Open("FILE:");
      ASSERT_TRUE(Start(other, ++job));
      Arm("write", [] { throw OException(5); });
      EXPECT_FALSE(Write(other, "x"));
      Disarm();
      EXPECT_EQ(NewReports().size(), 1u);
      EXPECT_TRUE(lmEndDocPortW(other) && lmClosePortW(other));
      EXPECT_EQ(Ports()->Size(), 1) << "the neighbour's";
    }
  }
  neighbour.Finish();
}

TEST_F(FaultInjection, InThePluginsCallsOfTheConnectionIsReportedOnceAJob) {
  const HANDLE port = Open("FILE:");
  PluginContext plugin("Labels", "FILE:", static_cast<PortContext*>(port)->PrinterConnection());
  for (const DWORD job : {70, 71}) {
    ASSERT_TRUE(Start(port, job));
    Arm("write", ReadNull);
    for (int i = 0; i < 20; ++i) EXPECT_EQ(plugin.Block()->write(plugin.Block(), "x", 1, nullptr), 0u);
    EXPECT_FALSE(Write(port, "x"));
    EXPECT_THAT(NewReports(), testing::ElementsAre(HasSubstr("Caught in [PluginCallback]")));
    EXPECT_EQ(TakeDumps(), 1);
    Disarm();
    EXPECT_TRUE(lmEndDocPortW(port));
  }
  EXPECT_TRUE(lmClosePortW(port));
}

TEST_F(FaultInjection, ThatCannotBeReportedStillCostsOneCall) {
  const HANDLE port = Open("FILE:");
  ASSERT_TRUE(port);
  // Neither the dump's folder nor the event log can be made.
  const std::filesystem::path common = platform::LinuxPath(TEXT("C:\\ProgramData\\Corvane"));
  std::filesystem::remove_all(common);
  std::filesystem::create_directories(common.parent_path());
  std::ofstream(common).put('x');
  std::filesystem::remove_all(home_.Path() / "registry.db");
  std::filesystem::create_directory(home_.Path() / "registry.db");
  DWORD job = 1;
  for (const Injection& injection : kInjections) {
    ASSERT_TRUE(Start(port, ++job));
    Arm("write", injection.fail);
    EXPECT_FALSE(Write(port, "x"));
    EXPECT_EQ(GetLastError(), injection.error);
    Disarm();
    EXPECT_TRUE(Write(port, "y") && lmEndDocPortW(port));
  }
  EXPECT_TRUE(lmClosePortW(port));
}

TEST_F(FaultInjection, InTheCallersOwnArgumentsCostsThatCall) {
  WCHAR name[] = TEXT("FILE:"), printer[] = TEXT("Labels");
  const auto nowhere = reinterpret_cast<PHANDLE>(static_cast<uintptr_t>(zero) + 8);
  EXPECT_FALSE(lmOpenPortEx2W(MonitorTable(), below_.Monitor(), name, printer, nowhere, &below_.table));
  EXPECT_EQ(GetLastError(), 487u);
  EXPECT_EQ(below_.calls, (std::vector<std::string>{"open FILE:", "close"}));
  EXPECT_EQ(Ports()->Size(), 0);
  EXPECT_EQ(NewReports().size(), 1u);
  // A port that is none: not even its job can be asked for, and the next report must not wait for this one.
  SetLastError(1);
  EXPECT_FALSE(Write(nowhere, "x"));
  EXPECT_EQ(GetLastError(), 487u);
  const HANDLE port = Open("FILE:");
  ASSERT_TRUE(Start(port, 7));
  Arm("write", ReadNull);
  std::thread([&] {
    EXPECT_FALSE(Write(port, "x"));
    ThreadLocalSlot::DestroyObjects();
  }).join();
  EXPECT_EQ(NewReports().size(), 1u);
  Disarm();
  EXPECT_TRUE(lmClosePortW(port));
  EXPECT_EQ(Ports()->Size(), 0);
}

}  // namespace
}  // namespace portwise
