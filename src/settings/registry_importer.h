#pragma once

#include "settings/registry.h"

namespace portwise {

/// Applies registry text (settings/registry_text.h) line by line, so that a long one need not be in memory as lines. As
/// ORegistry::Import, which is this over an array.
class RegistryImporter {
 public:
  /// With `replaceKeys` each key header first empties its key. `registry` must outlive this; its base path changes.
  RegistryImporter(ORegistry& registry, bool replaceKeys) : registry_(registry), replaceKeys_(replaceKeys) {}
  RegistryImporter(const RegistryImporter&) = delete;
  RegistryImporter& operator=(const RegistryImporter&) = delete;

  void Take(WideView line);
  /// To be called after the last line; the number of lines that could not be applied.
  int Finish();

 private:
  /// What value lines belong to; those of a key that cannot be had are skipped.
  enum class Place { kOutside, kInKey, kInUnusableKey };

  void TakeHeader(WideView header);
  /// A key that is not there is deleted; a value of that name is none of a header's.
  void DeleteKeyOf(const OString& key);
  /// `backslash` tells whether one stood at the end of the line.
  void TakeValueText(WideView text, bool backslash);
  /// Text that a line end broke off is as good as it goes; bytes are not.
  void DropPending();
  bool ApplyValue(WideView text) const;
  /// `data` is what stands after "hex". Every type but that of lists is stored as binary.
  bool ApplyBytes(const OString& path, WideView data) const;

  ORegistry& registry_;
  const bool replaceKeys_;
  Place place_ = Place::kOutside;
  WideString pending_;  // the beginning of a value that goes on
  int pendingLines_ = 0;
  int skipped_ = 0;
};

}  // namespace portwise
