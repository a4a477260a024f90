// What 500 open TCP ports cost: the processor and the memory while they are monitored on demand and nobody demands
// anything, and how late their polls are while all are monitored always.

#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "core/handles.h"
#include "monitor/entry_points.h"
#include "monitor/port_list.h"
#include "settings/registry.h"
#include "tests/support/fake_port_link.h"
#include "tests/support/fake_spooler.h"
#include "tests/support/temporary_home.h"
#include "tests/support/test_plugin.h"

namespace portwise {
namespace {

constexpr int kPorts = 500;
constexpr DWORD kIdleInterval = 5000;  // ms, the default

using Clock = std::chrono::steady_clock;

/// Says back what it hears, to any number of ports.
class EchoPrinter {
 public:
  EchoPrinter() {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ::bind(listener, reinterpret_cast<sockaddr*>(&address), size);
    ::listen(listener, kPorts);
    ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    sockets_.push_back({listener, POLLIN, 0});
  }
  ~EchoPrinter() {
    over_ = true;
    thread_.join();
    for (const pollfd& socket : sockets_) ::close(socket.fd);
  }

  unsigned Port() const { return port_; }

 private:
  void Serve() {
    while (!over_) {
      if (::poll(sockets_.data(), sockets_.size(), 100) <= 0) continue;
      for (size_t at = sockets_.size(); at-- > 1;) {
        if (sockets_[at].revents != 0 && !Answer(sockets_[at].fd)) {
          ::close(sockets_[at].fd);
          sockets_.erase(sockets_.begin() + static_cast<std::ptrdiff_t>(at));
        }
      }
      if (sockets_[0].revents != 0) sockets_.push_back({::accept(sockets_[0].fd, nullptr, nullptr), POLLIN, 0});
    }
  }
  static bool Answer(int socket) {
    char bytes[256];
    const ssize_t count = ::recv(socket, bytes, sizeof bytes, MSG_DONTWAIT);
    return count > 0 && ::send(socket, bytes, static_cast<size_t>(count), MSG_NOSIGNAL) == count;
  }

  std::vector<pollfd> sockets_;
  unsigned port_ = 0;
  std::atomic<bool> over_ = false;
  std::thread thread_{[this] { Serve(); }};
};

double ProcessorSeconds() {
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double ResidentKiB() {
  std::ifstream statm("/proc/self/statm");
  double all = 0, resident = 0;
  statm >> all >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
}

/// The ports, each with a printer and its plug-in, registered and not yet open.
class ManyPorts {
 public:
  explicit ManyPorts(DWORD mode) {
    const std::filesystem::path file = home_.Path() / "xy#abc-u.dll";
    std::filesystem::copy_file(TEST_PLUGIN_2, file);
    library_.Reset(LoadLibraryW(OString(file.c_str()).Wide()));
    Plugin().capabilities.connections = 0xF;
    Plugin().length = 4;
    Plugin().status[0] = Plugin().status[1] = 1;
    for (int index = 0; index < kPorts; ++index) {
      const std::string port = "IP_" + std::to_string(index), printer = "Labels" + std::to_string(index);
      RegisterPort(port.c_str(), "", "127.0.0.1", printer_.Port());
      spooler_.printers[printer] = {
          port,
          "",
          {{"driver", "Thermal"}, {"attributes", PRINTER_ATTRIBUTE_ENABLE_BIDI}},
          {{"file", (home_.Path() / "a.dll").string()}, {"dataFile", (home_.Path() / "abcxy.dat").string()}}};
      ORegistry().SetDword(
          OString("PRINT:Printers/") + printer.c_str() + "/PrinterDriverData/Settings/Status/Status Monitoring Mode",
          mode);
    }
    CreatePortList();
  }
  ~ManyPorts() {
    for (const HANDLE port : open_) lmClosePortW(port);
    DestroyPortList();
  }

  /// False when one cannot be opened.
  bool Open() {
    MONITOR2 below = {};
    below.cbSize = sizeof below;
    for (int index = 0; index < kPorts; ++index) {
      OString port = OString("IP_") + std::to_string(index).c_str();
      OString printer = OString("Labels") + std::to_string(index).c_str();
      HANDLE handle = nullptr;
      if (!lmOpenPortEx2W(MonitorTable(), nullptr, const_cast<LPWSTR>(port.Wide()), const_cast<LPWSTR>(printer.Wide()),
                          &handle, &below)) {
        return false;
      }
      open_.push_back(handle);
    }
    return true;
  }

  TestPlugin& Plugin() {
    static const auto state =
        reinterpret_cast<TestPlugin* (*)()>(reinterpret_cast<void*>(GetProcAddress(library_.Get(), "TestPluginState")));
    return *state();
  }

 private:
  TemporaryHome home_;
  FakeSpooler spooler_;
  EchoPrinter printer_;
  unique_module library_;
  std::vector<HANDLE> open_;
};

void BM_Ports_Idle(benchmark::State& state) {
  constexpr auto kTime = std::chrono::seconds(20);
  ManyPorts ports(1);
  const double memory = ResidentKiB();
  if (!ports.Open()) state.SkipWithError("a port cannot be opened");
  for (auto _ : state) {
    std::this_thread::sleep_for(std::chrono::seconds(3));
    const double before = ProcessorSeconds();
    std::this_thread::sleep_for(kTime);
    const double seconds = ProcessorSeconds() - before;
    state.SetIterationTime(seconds);
    state.counters["core_percent"] = 100 * seconds / static_cast<double>(kTime.count());
    state.counters["KiB_per_port"] = (ResidentKiB() - memory) / kPorts;
  }
}
BENCHMARK(BM_Ports_Idle)->UseManualTime()->Iterations(1);

/// How much more than the interval lies between the beginnings of two polls of a port, the exchange itself included.
void BM_Ports_Polling(benchmark::State& state) {
  std::mutex mutex;
  std::map<const void*, Clock::time_point> last;
  std::vector<double> late;
  ManyPorts ports(2);
  ports.Plugin().onCall = [&](const std::string& function, PortwiseBlock* block) {
    if (function != "status") return;
    const std::lock_guard lock(mutex);
    const Clock::time_point now = Clock::now();
    const auto [found, first] = last.emplace(block, now);
    if (first) return;
    late.push_back(std::chrono::duration<double, std::milli>(now - found->second).count() - kIdleInterval);
    found->second = now;
  };
  if (!ports.Open()) state.SkipWithError("a port cannot be opened");
  for (auto _ : state) {
    std::this_thread::sleep_for(std::chrono::seconds(22));
    const std::lock_guard lock(mutex);
    if (late.size() < 2 * kPorts) state.SkipWithError("ports are not polled");
    std::sort(late.begin(), late.end());
    state.counters["late_p99_ms"] = late.empty() ? 0 : late[late.size() * 99 / 100];
    state.counters["late_median_ms"] = late.empty() ? 0 : late[late.size() / 2];
    state.counters["polls"] = static_cast<double>(late.size());
    state.SetIterationTime(1);
  }
}
BENCHMARK(BM_Ports_Polling)->UseManualTime()->Iterations(1);

}  // namespace
}  // namespace portwise
