// A job of 64 MiB over loopback TCP, from the first byte that the printer gets to the last, beside a bare loop of sends
// with the same buffers.
//
// The printer polls. One that sleeps is woken by the sender's processor, which a printer elsewhere is not, and it
// sleeps whenever the sender has rested for a moment: on a virtual machine this costs more than the sending itself. How
// jobs do with such a printer is measured, too.

#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "monitor/entry_points.h"
#include "monitor/port_list.h"
#include "settings/registry.h"
#include "tests/support/fake_port_monitor.h"
#include "tests/support/fake_spooler.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

constexpr size_t kJob = size_t{64} << 20;
constexpr size_t kBuffer = 64 * 1024;

using Clock = std::chrono::steady_clock;

/// A printer that only counts: takes one connection at a time and notes when its first and its last byte came.
class CountingPrinter {
 public:
  explicit CountingPrinter(bool sleeps) : flags_(sleeps ? 0 : MSG_DONTWAIT) {
    listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ::bind(listener_, reinterpret_cast<sockaddr*>(&address), size);
    ::listen(listener_, 4);
    ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
  }
  ~CountingPrinter() { ::close(listener_); }

  unsigned Port() const { return port_; }

  /// Receives one connection to its end while `send` runs; the seconds from the first to the last byte.
  template <class Send>
  double Receive(Send send) {
    Clock::time_point first, last;
    size_t total = 0;
    std::thread receiver([&] {
      std::vector<char> buffer(256 * 1024);
      const int connection = ::accept(listener_, nullptr, nullptr);
      for (ssize_t got; (got = ::recv(connection, buffer.data(), buffer.size(), flags_)) != 0;) {
        if (got < 0 && errno == EAGAIN) continue;
        if (got < 0) break;
        last = Clock::now();
        if (total == 0) first = last;
        total += static_cast<size_t>(got);
      }
      ::close(connection);
    });
    send();
    receiver.join();
    return total == kJob ? std::chrono::duration<double>(last - first).count() : 0;
  }

 private:
  const int flags_;
  int listener_;
  unsigned port_ = 0;
};

const std::string& JobData() {
  static const std::string data = [] {
    std::mt19937 random(9);
    std::string made(kJob, '\0');
    for (char& byte : made) byte = static_cast<char>(random());
    return made;
  }();
  return data;
}

template <class Send>
void Measure(benchmark::State& state, CountingPrinter& printer, Send send) {
  for (auto _ : state) {
    const double seconds = printer.Receive(send);
    if (seconds <= 0) state.SkipWithError("not all of the job arrived");
    state.SetIterationTime(seconds);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kJob));
}

void MeasureMonitor(benchmark::State& state, bool printerSleeps) {
  TemporaryHome home;
  FakeSpooler spooler;
  FakePortMonitor below;
  CountingPrinter printer(printerSleeps);
  spooler.printers["Labels"] = {"IP_1", ""};
  ORegistry registry;
  registry.SetBasePath("PRINT:Monitors/Standard TCP//IP Port/Ports/IP_1");
  registry.SetString("IPAddress", "127.0.0.1");
  registry.SetDword("PortNumber", printer.Port());
  registry.SetDword("Protocol", 1);
  CreatePortList();
  HANDLE port = nullptr;
  WCHAR name[] = TEXT("IP_1"), labels[] = TEXT("Labels"), document[] = TEXT("bench");
  lmOpenPortEx2W(MonitorTable(), below.Monitor(), name, labels, &port, &below.table);
  std::string data = JobData();
  Measure(state, printer, [&] {
    DOC_INFO_1W info = {document, nullptr, nullptr};
    lmStartDocPortW(port, labels, 1, 1, reinterpret_cast<LPBYTE>(&info));
    for (size_t at = 0; at < data.size();) {
      DWORD written = 0;
      lmWritePortW(port, reinterpret_cast<LPBYTE>(data.data() + at),
                   static_cast<DWORD>(std::min(kBuffer, data.size() - at)), &written);
      at += written;
    }
    lmEndDocPortW(port);
  });
  lmClosePortW(port);
  DestroyPortList();
}

void BM_Job_Monitor(benchmark::State& state) { MeasureMonitor(state, false); }
BENCHMARK(BM_Job_Monitor)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

void BM_Job_Monitor_sleeping_printer(benchmark::State& state) { MeasureMonitor(state, true); }
BENCHMARK(BM_Job_Monitor_sleeping_printer)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

/// From the start of a document to its end, where the port itself takes no time.
void BM_Job_Empty(benchmark::State& state) {
  TemporaryHome home;
  FakeSpooler spooler;
  FakePortMonitor below;
  spooler.printers["Labels"] = {"FILE:", ""};
  CreatePortList();
  HANDLE port = nullptr;
  WCHAR name[] = TEXT("FILE:"), labels[] = TEXT("Labels"), document[] = TEXT("bench");
  lmOpenPortEx2W(MonitorTable(), below.Monitor(), name, labels, &port, &below.table);
  DWORD job = 0;
  for (auto _ : state) {
    DOC_INFO_1W info = {document, nullptr, nullptr};
    lmStartDocPortW(port, labels, ++job, 1, reinterpret_cast<LPBYTE>(&info));
    lmEndDocPortW(port);
  }
  lmClosePortW(port);
  DestroyPortList();
}
BENCHMARK(BM_Job_Empty)->Unit(benchmark::kMicrosecond);

/// Sends the job's buffers one after the other, each when `look` has seen it.
template <class Look>
void MeasureSends(benchmark::State& state, bool printerSleeps, Look look) {
  CountingPrinter printer(printerSleeps);
  const std::string& data = JobData();
  Measure(state, printer, [&] {
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(printer.Port()));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) state.SkipWithError("connect");
    for (size_t at = 0; at < data.size();) {
      const std::string_view buffer = std::string_view(data).substr(at, kBuffer);
      look(buffer);
      const ssize_t sent = ::send(socket, buffer.data(), buffer.size(), MSG_NOSIGNAL);
      if (sent <= 0) break;
      at += static_cast<size_t>(sent);
    }
    ::close(socket);
  });
}

void BM_Job_bare_send(benchmark::State& state) {
  MeasureSends(state, false, [](std::string_view) {});
}
BENCHMARK(BM_Job_bare_send)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

void BM_Job_bare_send_sleeping_printer(benchmark::State& state) {
  MeasureSends(state, true, [](std::string_view) {});
}
BENCHMARK(BM_Job_bare_send_sleeping_printer)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

/// The least that one does who looks for commands in what he sends.
void BM_Job_searched_send_sleeping_printer(benchmark::State& state) {
  MeasureSends(state, true, [](std::string_view buffer) {
    size_t found = 0;
    for (size_t at = buffer.find('<'); at != buffer.npos; at = buffer.find('<', at + 1)) ++found;
    benchmark::DoNotOptimize(found);
  });
}
BENCHMARK(BM_Job_searched_send_sleeping_printer)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

}  // namespace
}  // namespace portwise
