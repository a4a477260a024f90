// Settings as the monitor reads them: from the registry with nothing cached, from the cache of a port, and a printer's
// registry from facts that the thread already has. No baseline runs beside them; their bars are times.

#include <benchmark/benchmark.h>

#include "settings/driver_settings.h"
#include "tests/support/fake_spooler.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

/// A home with one printer, which the calling thread has looked up.
struct Setup {
  TemporaryHome home;
  FakeSpooler spooler;
  PrinterRegistry registry{Name(&spooler)};

  static OString Name(FakeSpooler* spooler) {
    spooler->printers["Labels"] = {
        "LPT1:", "", {{"driver", "Thermal"}}, {{"file", "C:\\a.dll"}, {"dataFile", "abcxy.dat"}}};
    return "Labels";
  }
};

/// Open, query, close.
void BM_Registry_UncachedValue(benchmark::State& state) {
  Setup setup;
  const OString path("Settings:Status/Send Timeout");
  if (!setup.registry.SetDword(path, 7)) state.SkipWithError("the registry cannot be written");
  for (auto _ : state) {
    if (setup.registry.GetDword(path, 0) != 7) state.SkipWithError("the value is not there");
  }
}
BENCHMARK(BM_Registry_UncachedValue);

/// Among the other settings of a job, as a port has them.
void BM_Settings_CachedValue(benchmark::State& state) {
  Setup setup;
  setup.registry.SetDword("Settings:Status/Send Timeout", 7);
  DriverSettings settings;
  settings.Init(setup.registry);
  settings.SetStatusMonitoringMode(1);
  benchmark::DoNotOptimize(settings.GetVerifyJobComplete() && settings.GetVerifyPageComplete());
  benchmark::DoNotOptimize(settings.GetIdlePollingInterval() + settings.GetActivePollingInterval());
  for (auto _ : state) {
    if (settings.GetSendTimeout() != 7) state.SkipWithError("the value is not there");
  }
}
BENCHMARK(BM_Settings_CachedValue);

/// Once a second the entry is old and the spooler is asked, which is part of the price.
void BM_Settings_PrinterRegistry(benchmark::State& state) {
  Setup setup;
  for (auto _ : state) {
    const PrinterRegistry registry("Labels");
    if (registry.PortName().IsEmpty()) state.SkipWithError("the printer is not known");
  }
}
BENCHMARK(BM_Settings_PrinterRegistry);

}  // namespace
}  // namespace portwise
