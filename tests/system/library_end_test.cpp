#include <gtest/gtest.h>
#include <windows.h>
#include <winspool.h>

#include <unistd.h>
#include <winsplp.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <stdexcept>

#include "host/registry_key.h"
#include "tests/support/fake_port_monitor.h"
#include "tests/support/fake_spooler.h"
#include "tests/support/network_settings.h"
#include "tests/support/temporary_home.h"
#include "tests/support/web_client.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace portwise {
namespace {

/// Runs when the library is gone from the process, or has been told of the process's end: none of its threads may be
/// left then, since there is nothing left that they could use.
void ExpectNoThreads() {
  const auto threads = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), std::filesystem::directory_iterator());
  };
#if defined(__SANITIZE_THREAD__)
  constexpr int kOwn = 3;  // the sanitizer has one of its own, and another after a fork
#else
  constexpr int kOwn = 1;
#endif
  for (int i = 0; i < 200 && threads() > kOwn; ++i) Sleep(20);
  if (threads() > kOwn) _exit(4);
}

/// Loads the library, opens a port and ends the process, maybe after freeing the library. The exit code is 0 when
/// everything went as it should.
[[noreturn]] void EndWithAnOpenPort(const char16_t* name, bool free) {
#if defined(__SANITIZE_ADDRESS__)
  __lsan_disable();  // nobody closes the port
#endif
  std::atexit(ExpectNoThreads);
  FakeSpooler spooler;
  spooler.printers["Labels"] = {platform::ToUtf8(name), ""};
  const RegistryKey network =
      RegistryKey::Create(R"(SYSTEM\CurrentControlSet\Control\Print\Monitors\Standard TCP/IP Port\Ports\IP_1)");
  network.SetText("IPAddress", "127.0.0.1");
  network.SetNumber("PortNumber", 1);
  network.SetNumber("Protocol", 1);
  FakePortMonitor below;
  const unsigned networkPort = free ? 0 : test::FreePort();
  test::ConfigureNetworkService(networkPort);
  if (free) below.table.pfnReadPort = nullptr;  // no status thread, which would keep the library
  const HMODULE library = LoadLibraryW(u"portwise.dll");
  const auto initialize = reinterpret_cast<decltype(&InitializePrintMonitor2)>(
      reinterpret_cast<void*>(GetProcAddress(library, "InitializePrintMonitor2")));
  MONITORINIT init{};
  HANDLE monitor = nullptr, port = nullptr;
  MONITOR2* const table = initialize(&init, &monitor);
  std::u16string portName = name, printer = u"Labels";
  if (!table->pfnOpenPortEx(monitor, below.Monitor(), portName.data(), printer.data(), &port, &below.table)) _exit(2);
  WebClient client(0);  // sends nothing and never closes
  if (!free && !client.Connect(networkPort)) _exit(5);
  Sleep(300);  // whatever runs for the port, runs
  if (free) {
    if (!FreeLibrary(library) || GetModuleHandleW(u"portwise.dll")) _exit(3);
    // Nobody may ask the library about it any more.
    try {
      throw std::runtime_error("an exception");
    } catch (const std::exception&) {
    }
  }
  std::exit(0);
}

TEST(LibraryEnd, MayComeWithPortsOpen) {
  const TemporaryHome home;
  EXPECT_EXIT(EndWithAnOpenPort(u"FILE:", true), testing::ExitedWithCode(0), "") << "freed";
  EXPECT_EXIT(EndWithAnOpenPort(u"IP_1", false), testing::ExitedWithCode(0), "")
      << "with a status thread and a client of the network service";
}

}  // namespace
}  // namespace portwise
