#include "core/property_set.h"

#include <algorithm>
#include <climits>

#include "core/decimal.h"

namespace portwise {

OString OPropertySet::GetString(const OString& name, const OString& defaultValue) const {
  const auto* value = values_.Get(name);
  return value ? **value : defaultValue;
}

LONGLONG OPropertySet::GetNumber(const OString& name, LONGLONG defaultValue) const {
  const auto* value = values_.Get(name);
  if (!value || (*value)->IsEmpty()) return defaultValue;
  return ReadDecimal((*value)->View());
}

LONG OPropertySet::GetInt(const OString& name, LONG defaultValue) const {
  // A value that was stored as unsigned keeps its bits.
  return static_cast<LONG>(std::clamp<LONGLONG>(GetNumber(name, defaultValue), INT_MIN, UINT_MAX));
}

DWORD OPropertySet::GetDword(const OString& name, DWORD defaultValue) const {
  return static_cast<DWORD>(std::clamp<LONGLONG>(GetNumber(name, defaultValue), INT_MIN, UINT_MAX));
}

bool OPropertySet::GetBool(const OString& name, bool defaultValue) const {
  return GetNumber(name, defaultValue ? 1 : 0) > 0;
}

void OPropertySet::SetString(const OString& name, const OString& value) {
  values_.Set(name, std::make_unique<OString>(value));
}

}  // namespace portwise
