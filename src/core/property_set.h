#pragma once

#include <memory>

#include "core/hash_map.h"

namespace portwise {

/// Named values kept as text: numbers in decimal, booleans as 0 and 1. One thread at a time.
class OPropertySet {
 public:
  OPropertySet() = default;
  virtual ~OPropertySet() = default;

  bool Has(const OString& name) const { return values_.Find(name) >= 0; }
  /// The default is for a name that is not there; a number whose text is empty gives its default too. Numbers outside
  /// 32 bits are clamped.
  OString GetString(const OString& name, const OString& defaultValue = OString()) const;
  LONG GetInt(const OString& name, LONG defaultValue = 0) const;
  DWORD GetDword(const OString& name, DWORD defaultValue = 0) const;
  /// True when the number is greater than 0.
  bool GetBool(const OString& name, bool defaultValue = false) const;

  void SetString(const OString& name, const OString& value);
  void SetInt(const OString& name, LONG value) { SetString(name, OString::FromInt(value)); }
  void SetDword(const OString& name, DWORD value) { SetString(name, OString::FromUnsigned(value)); }
  void SetBool(const OString& name, bool value) { SetInt(name, value ? 1 : 0); }

  void Clear() { values_.Clear(); }
  /// All names and their values, in the map's order.
  const OStringMap<std::unique_ptr<OString>>& Values() const { return values_; }

 private:
  LONGLONG GetNumber(const OString& name, LONGLONG defaultValue) const;

  OStringMap<std::unique_ptr<OString>> values_;
};

}  // namespace portwise
