#include "fuzz/check.h"
#include "settings/registry.h"
#include "tests/support/temporary_home.h"

using namespace portwise;

namespace {

constexpr const char* kKey = "LOCAL_MACHINE:SOFTWARE/Fuzz";

OStringArray ExportKey() {
  ORegistry registry;
  OStringArray lines;
  PORTWISE_CHECK(registry.Export(kKey, &lines, ORegistry::kDeleteFirst));
  return lines;
}

}  // namespace

/// Whatever text is imported, an export of what came of it restores the key.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const TemporaryHome home;
  ORegistry registry;
  registry.Delete(kKey, true);
  OStringArray lines;
  lines.FromNarrowBuffer(fuzz::Bytes(data, size), ListLayout::Lines, kCodePageUtf8);
  lines.Insert(0, "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Fuzz]");
  int skipped = -1;
  registry.Import(lines, size % 2, &skipped);
  PORTWISE_CHECK(skipped >= 0 && skipped <= lines.Size());
  if (!registry.GetKeyInfo(kKey)) return 0;  // the text deleted it

  const OStringArray exported = ExportKey();
  registry.Import(exported, 0, &skipped);
  PORTWISE_CHECK(skipped == 0);
  const OStringArray again = ExportKey();
  PORTWISE_CHECK(again.Size() == exported.Size());
  for (int i = 0; i < again.Size(); ++i) PORTWISE_CHECK(again[i] == exported[i]);
  return 0;
}
