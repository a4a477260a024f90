// A registry value read by its logical path, with nothing cached: open, query, close.

#include <benchmark/benchmark.h>

#include "settings/registry.h"
#include "tests/support/temporary_home.h"

namespace portwise {
namespace {

void BM_Registry_UncachedValue(benchmark::State& state) {
  TemporaryHome home;
  ORegistry registry;
  const OString path("LOCAL_MACHINE:SYSTEM/CurrentControlSet/Control/Print/Printers/Labels/Settings/Number");
  if (!registry.SetDword(path, 7)) state.SkipWithError("the registry cannot be written");
  for (auto _ : state) {
    if (registry.GetDword(path, 0) != 7) state.SkipWithError("the value is not there");
  }
}
BENCHMARK(BM_Registry_UncachedValue);

}  // namespace
}  // namespace portwise
