#pragma once

#include "core/ostring_array.h"
#include "settings/registry.h"

namespace portwise {

/// The logical paths of the keys that make up a printer's shareable settings, in place of what `lines` held: the
/// subkeys of "DATA:", then those of "LOCAL:" but for the ones that belong to the computer. The registry must know the
/// root "DATA:".
void ListSettingsKeys(const ORegistry& registry, OStringArray* lines);

/// In the headers of registry text, replaces the native path of `prefix`, a logical path, by `prefix` itself, and back,
/// ASCII case ignored. What follows the prefix stays native. Nothing is done when `prefix` does not resolve.
void HeadersToLogical(const ORegistry& registry, const OString& prefix, OStringArray* lines);
void HeadersToNative(const ORegistry& registry, const OString& prefix, OStringArray* lines);

}  // namespace portwise
