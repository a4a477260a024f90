#include "settings/settings_keys.h"

#include <algorithm>
#include <iterator>

namespace portwise {
namespace {

/// Subkeys of "LOCAL:" that are the computer's own.
constexpr const char* kOwnKeys[] = {"X16", "XPML", "Network"};

void ReplaceAt(OString* line, int index, const OString& from, const OString& to) {
  if (line->Mid(index, from.Length()).EqualsNoCase(from)) {
    *line = line->Left(index) + to + line->Mid(index + from.Length());
  }
}

/// At the place of the path in "[path]", then at that in "[-path]".
void ReplaceInHeaders(OStringArray* lines, const OString& from, const OString& to) {
  if (from.IsEmpty() || to.IsEmpty()) return;
  for (int i = 0; i < lines->Size(); ++i) {
    if ((*lines)[i][0] != '[') continue;
    ReplaceAt(&(*lines)[i], 1, from, to);
    ReplaceAt(&(*lines)[i], 2, from, to);
  }
}

}  // namespace

void ListSettingsKeys(const ORegistry& registry, OStringArray* lines) {
  lines->Clear();
  OStringArray names;
  registry.EnumKeys("DATA:", &names);
  for (const OString& name : names) lines->Append(ChildPath("DATA:", name));
  names.Clear();
  registry.EnumKeys("LOCAL:", &names);
  for (const OString& name : names) {
    const bool own =
        std::any_of(std::begin(kOwnKeys), std::end(kOwnKeys), [&](const char* key) { return name == key; });
    if (!own) lines->Append(ChildPath("LOCAL:", name));
  }
}

void HeadersToLogical(const ORegistry& registry, const OString& prefix, OStringArray* lines) {
  ReplaceInHeaders(lines, registry.NativePath(prefix), prefix);
}

void HeadersToNative(const ORegistry& registry, const OString& prefix, OStringArray* lines) {
  ReplaceInHeaders(lines, prefix, registry.NativePath(prefix));
}

}  // namespace portwise
