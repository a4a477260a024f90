#include "core/property_set.h"

#include <cstdlib>

namespace portwise {

OString OPropertySet::GetString(const OString& name, const OString& defaultValue) const {
  const auto* value = values_.Get(name);
  return value ? **value : defaultValue;
}

LONGLONG OPropertySet::GetNumber(const OString& name, LONGLONG defaultValue) const {
  const auto* value = values_.Get(name);
  if (!value || (*value)->IsEmpty()) return defaultValue;
  return std::strtoll((*value)->InCodePage(kCodePageOneByte).c_str(), nullptr, 10);
}

LONG OPropertySet::GetInt(const OString& name, LONG defaultValue) const {
  return static_cast<LONG>(GetNumber(name, defaultValue));
}

DWORD OPropertySet::GetDword(const OString& name, DWORD defaultValue) const {
  return static_cast<DWORD>(GetNumber(name, defaultValue));
}

bool OPropertySet::GetBool(const OString& name, bool defaultValue) const {
  return GetNumber(name, defaultValue ? 1 : 0) > 0;
}

void OPropertySet::SetString(const OString& name, const OString& value) {
  values_.Set(name, std::make_unique<OString>(value));
}

}  // namespace portwise
