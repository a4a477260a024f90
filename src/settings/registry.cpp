#include "settings/registry.h"

#include <cstring>
#include <memory>
#include <new>

namespace portwise {
namespace {

/// The units that a name buffer of an enumeration holds, with the NUL.
constexpr DWORD kNameUnits = ORegistry::kMaxNameUnits + 1;

const RootRow (&RootRows())[9] {
  // Never destroyed: ports may be closed after the library's static objects are gone.
  struct Table {
    RootRow rows[9];
  };
  static const Table& table = *new Table{{
      {"CLASSES_ROOT:", "0:"},
      {"CURRENT_USER:", "1:"},
      {"LOCAL_MACHINE:", "2:"},
      {"USERS:", "3:"},
      {"USER:", "1:SOFTWARE/Corvane/Drivers"},
      {"LOCAL:", "2:SOFTWARE/Corvane/Drivers"},
      {"GLOBAL:", "2:SOFTWARE/Corvane/Drivers/Global Settings"},
      {"CONTROL:", "2:SYSTEM/CurrentControlSet/Control"},
      {"PRINT:", "2:SYSTEM/CurrentControlSet/Control/Print"},
  }};
  return table.rows;
}

DWORD TextBytes(WideView text) { return static_cast<DWORD>(text.size() * sizeof(WCHAR)); }

}  // namespace

OString ORegistry::TranslateRoots(const OString& key) const { return ReplaceRoots(key, RootRows()); }

unique_registry_key ORegistry::OpenKey(const OString& key, bool create) const {
  HKEY root = nullptr;
  OString subKey;
  if (!ParseRoot(key, &root, &subKey)) return {};
  unique_registry_key open;
  for (const REGSAM access : {KEY_READ | KEY_WRITE, KEY_READ}) {
    if (RegOpenKeyExW(root, subKey.Wide(), 0, access | extraAccess_, open.Put()) == ERROR_SUCCESS) return open;
  }
  if (!create) return {};
  const LSTATUS result = RegCreateKeyExW(root, subKey.Wide(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                         KEY_READ | KEY_WRITE | extraAccess_, nullptr, open.Put(), nullptr);
  return result == ERROR_SUCCESS ? std::move(open) : unique_registry_key();
}

bool ORegistry::Translate(OString* key) const {
  *key = CollapseSeparators(TranslateRoots(*key));
  return HasNumericRoot(*key);
}

bool ORegistry::Resolve(OString* key, OString* name) const {
  const bool whole = name->IsEmpty();
  const OString path = JoinPath(NormalizePath(*key), NormalizePath(*name));
  if (!SplitPath(path, key, name)) return false;
  if (whole) {
    *key = path;
    name->Clear();
  }
  return Translate(key);
}

bool ORegistry::ResolveKey(const OString& path, OString* key) const {
  *key = JoinPath(NormalizePath(basePath_), NormalizePath(path));
  key->TrimRight("/");
  return Translate(key);
}

OString ORegistry::NativePath(const OString& path) const {
  OString key;
  return ResolveKey(path, &key) ? InternalToNative(key) : OString();
}

unique_registry_key ORegistry::OpenKeyOf(const OString& path, bool create, OString* name) const {
  OString key = basePath_;
  *name = path;
  return Resolve(&key, name) ? OpenKey(key, create) : unique_registry_key();
}

int ORegistry::GetValueRaw(const OString& path, void* buffer, DWORD size, DWORD) const {
  OString name;
  const unique_registry_key key = OpenKeyOf(path, false, &name);
  if (!key) return -1;
  // The caller's buffer stays as it is when the read fails. One byte at least, since a null buffer only asks for the
  // length.
  BYTE small[64];
  std::unique_ptr<BYTE[]> large;
  if (size > sizeof small) large.reset(new (std::nothrow) BYTE[size]);
  BYTE* const data = large ? large.get() : small;
  if (size > sizeof small && !large) return -1;
  DWORD length = size;
  if (RegQueryValueExW(key.Get(), name.Wide(), nullptr, nullptr, data, &length) != ERROR_SUCCESS) return -1;
  if (length > size) return -1;
  if (length > 0) std::memcpy(buffer, data, length);
  return static_cast<int>(length);
}

int ORegistry::SetValueRaw(const OString& path, const void* data, DWORD size, DWORD type) const {
  OString name;
  const unique_registry_key key = OpenKeyOf(path, true, &name);
  if (!key) return -1;
  const auto* bytes = static_cast<const BYTE*>(data);
  if (RegSetValueExW(key.Get(), name.Wide(), 0, type, bytes, size) != ERROR_SUCCESS) return -1;
  return static_cast<int>(size);
}

bool ORegistry::GetExactly(const OString& path, void* value, DWORD size, DWORD type) const {
  BYTE data[sizeof(DWORD)];
  if (GetValueRaw(path, data, size, type) != static_cast<int>(size)) return false;
  std::memcpy(value, data, size);
  return true;
}

OString ORegistry::GetString(const OString& path, const OString& defaultValue) const {
  WCHAR text[kMaxTextBytes / sizeof(WCHAR)];
  const int bytes = GetValueRaw(path, text, sizeof text, REG_SZ);
  if (bytes < 1) return defaultValue;
  const WideView units(text, static_cast<size_t>(bytes) / sizeof(WCHAR));
  return units.substr(0, units.find(WCHAR(0)));
}

bool ORegistry::SetString(const OString& path, const OString& value) const {
  const DWORD size = TextBytes(value.View()) + sizeof(WCHAR);
  return SetValueRaw(path, value.Wide(), size, REG_SZ) == static_cast<int>(size);
}

DWORD ORegistry::GetDword(const OString& path, DWORD defaultValue) const {
  DWORD value = 0;
  return GetExactly(path, &value, sizeof value, REG_DWORD) ? value : defaultValue;
}

bool ORegistry::SetDword(const OString& path, DWORD value) const {
  return SetValueRaw(path, &value, sizeof value, REG_DWORD) == sizeof value;
}

LONG ORegistry::GetInt(const OString& path, LONG defaultValue) const {
  LONG value = 0;
  return GetExactly(path, &value, sizeof value, REG_BINARY) ? value : defaultValue;
}

bool ORegistry::SetInt(const OString& path, LONG value) const {
  return SetBinary(path, &value, sizeof value) == sizeof value;
}

bool ORegistry::GetBool(const OString& path, bool defaultValue) const {
  BYTE value = 0;
  return GetExactly(path, &value, sizeof value, REG_BINARY) ? value != 0 : defaultValue;
}

bool ORegistry::SetBool(const OString& path, bool value) const {
  const BYTE byte = value ? 1 : 0;
  return SetBinary(path, &byte, sizeof byte) == sizeof byte;
}

int ORegistry::GetBinary(const OString& path, void* buffer, DWORD size) const {
  return GetValueRaw(path, buffer, size, REG_BINARY);
}

int ORegistry::SetBinary(const OString& path, const void* data, DWORD size) const {
  return SetValueRaw(path, data, size, REG_BINARY);
}

bool ORegistry::GetMultiString(const OString& path, OStringArray* strings) const {
  WCHAR text[kMaxTextBytes / sizeof(WCHAR)];
  const int bytes = GetValueRaw(path, text, sizeof text, REG_MULTI_SZ);
  if (bytes < 1) return false;
  strings->FromWideBuffer(WideView(text, static_cast<size_t>(bytes) / sizeof(WCHAR)), ListLayout::NulTerminated);
  return true;
}

bool ORegistry::SetMultiString(const OString& path, const OStringArray& strings) const {
  const WideString buffer = strings.ToWideBuffer(ListLayout::NulTerminated);
  const DWORD size = TextBytes(buffer);
  return SetValueRaw(path, buffer.data(), size, REG_MULTI_SZ) == static_cast<int>(size);
}

bool ORegistry::GetKeyInfo(const OString& path, DWORD* subKeys, DWORD* values) const {
  OString parent = basePath_;
  OString name = path;
  if (!Resolve(&parent, &name)) return false;
  const unique_registry_key key = OpenKey(ChildPath(parent, name), false);
  return key && RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, subKeys, nullptr, nullptr, values, nullptr,
                                 nullptr, nullptr, nullptr) == ERROR_SUCCESS;
}

bool ORegistry::GetValueInfo(const OString& path, DWORD* type, DWORD* size) const {
  OString name;
  const unique_registry_key key = OpenKeyOf(path, false, &name);
  return key && RegQueryValueExW(key.Get(), name.Wide(), nullptr, type, nullptr, size) == ERROR_SUCCESS;
}

/// `next(key, index, buffer)` gives one name and its error code.
template <class Next>
int ORegistry::Enumerate(const OString& path, OStringArray* names, Next next) const {
  OString resolved = path;
  OString none;
  if (!Resolve(&resolved, &none)) return -1;
  const unique_registry_key key = OpenKey(resolved, false);
  if (!key) return -1;
  names->Clear();
  WCHAR name[kNameUnits];
  for (DWORD index = 0; next(key.Get(), index, name) == ERROR_SUCCESS; ++index) names->Append(name);
  names->Sort();
  return names->Size();
}

int ORegistry::EnumKeys(const OString& path, OStringArray* names) const {
  return Enumerate(path, names,
                   [](HKEY key, DWORD index, WCHAR* name) { return RegEnumKeyW(key, index, name, kNameUnits); });
}

int ORegistry::EnumValues(const OString& path, OStringArray* names) const {
  return Enumerate(path, names, [](HKEY key, DWORD index, WCHAR* name) {
    DWORD units = kNameUnits;
    return RegEnumValueW(key, index, name, &units, nullptr, nullptr, nullptr, nullptr);
  });
}

int ORegistry::KeepMatching(const OString& path, OStringArray* names,
                            int (ORegistry::*enumerate)(const OString&, OStringArray*) const) const {
  OString key = basePath_;
  OString pattern = path;
  if (!Resolve(&key, &pattern)) return -1;
  if (!HasWildcard(pattern)) return (this->*enumerate)(path, names);
  OStringArray all;
  if ((this->*enumerate)(key, &all) < 0) return -1;
  names->Clear();
  for (const OString& name : all) {
    if (MatchesWildcard(name, pattern)) names->Append(name);
  }
  return names->Size();
}

int ORegistry::EnumKeysMatching(const OString& path, OStringArray* names) const {
  return KeepMatching(path, names, &ORegistry::EnumKeys);
}

int ORegistry::EnumValuesMatching(const OString& path, OStringArray* names) const {
  return KeepMatching(path, names, &ORegistry::EnumValues);
}

bool ORegistry::Delete(const OString& path, bool recursive) const {
  OString key = basePath_;
  OString name = path;
  if (!Resolve(&key, &name)) return false;
  const OString full = ChildPath(key, name);
  // An empty name is the key's default value, and never the key itself. No key has a backslash in its name.
  if (name.IsEmpty() || name.Find('\\') >= 0 || !GetKeyInfo(full)) return DeleteValue(key, name);
  if (recursive) {
    // What is below goes only when the key itself can go.
    if (!OpenKey(key, false)) return false;
    OStringArray subKeys;
    EnumKeys(full, &subKeys);
    for (const OString& subKey : subKeys) Delete(ChildPath(full, subKey), true);
  }
  return DeleteKey(key, name);
}

bool ORegistry::DeleteMatching(const OString& path, bool recursive) const {
  OString key = basePath_;
  OString pattern = path;
  if (!Resolve(&key, &pattern)) return false;
  if (!HasWildcard(pattern)) return Delete(path, recursive);
  OStringArray subKeys;
  OStringArray values;
  EnumKeysMatching(path, &subKeys);
  EnumValuesMatching(path, &values);
  for (const OString& name : subKeys) Delete(ChildPath(key, name), recursive);
  // Not by path: a value's name may hold separators, or be that of a subkey that was kept.
  for (const OString& name : values) DeleteValue(key, name);
  return true;
}

bool ORegistry::DeleteKey(const OString& parent, const OString& subKey) const {
  if (subKey.IsEmpty()) return false;
  const unique_registry_key key = OpenKey(parent, false);
  return key && RegDeleteKeyW(key.Get(), subKey.Wide()) == ERROR_SUCCESS;
}

bool ORegistry::DeleteValue(const OString& key, const OString& name) const {
  const unique_registry_key open = OpenKey(key, false);
  return open && RegDeleteValueW(open.Get(), name.Wide()) == ERROR_SUCCESS;
}

}  // namespace portwise
