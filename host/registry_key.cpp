#include "host/registry_key.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/text.h"

namespace portwise {

using platform::ToUtf16;
using platform::ToUtf8;

namespace {

/// The registry's longest key name, with its terminator.
constexpr DWORD kNameUnits = 256;

std::u16string Units(const std::string& data) {
  std::u16string units(data.size() / sizeof(WCHAR), u'\0');
  std::memcpy(units.data(), data.data(), units.size() * sizeof(WCHAR));
  return units;
}

}  // namespace

RegistryKey RegistryKey::Open(const std::string& path, REGSAM access) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, ToUtf16(path).c_str(), 0, access, &key) != ERROR_SUCCESS) key = nullptr;
  return RegistryKey(key);
}

RegistryKey RegistryKey::Create(const std::string& path) {
  HKEY key = nullptr;
  if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, ToUtf16(path).c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                      KEY_READ | KEY_WRITE, nullptr, &key, nullptr) != ERROR_SUCCESS)
    key = nullptr;
  return RegistryKey(key);
}

RegistryKey::RegistryKey(RegistryKey&& other) noexcept : key_(std::exchange(other.key_, nullptr)) {}

RegistryKey::~RegistryKey() {
  if (key_) RegCloseKey(key_);
}

std::optional<RegistryValue> RegistryKey::GetValue(const std::string& name) const {
  std::u16string wideName = ToUtf16(name);
  RegistryValue value;
  value.data.resize(512);
  while (key_) {
    auto size = static_cast<DWORD>(value.data.size());
    LSTATUS result = RegQueryValueExW(key_, wideName.c_str(), nullptr, &value.type,
                                      reinterpret_cast<LPBYTE>(value.data.data()), &size);
    // What is asked for may grow between two calls.
    const bool grew = result == ERROR_MORE_DATA && size > value.data.size();
    value.data.resize(size);
    if (grew) continue;
    if (result != ERROR_SUCCESS) break;
    return value;
  }
  return std::nullopt;
}

std::string RegistryKey::GetText(const char* name) const {
  auto value = GetValue(name);
  if (!value || (value->type != REG_SZ && value->type != REG_EXPAND_SZ)) return {};
  std::u16string text = Units(value->data);
  return ToUtf8(text.substr(0, text.find(u'\0')));
}

std::vector<std::string> RegistryKey::GetTexts(const char* name) const {
  std::vector<std::string> texts;
  auto value = GetValue(name);
  if (!value || value->type != REG_MULTI_SZ) return texts;
  std::u16string units = Units(value->data);
  for (std::size_t start = 0; start < units.size() && units[start] != u'\0';) {
    std::size_t end = std::min(units.find(u'\0', start), units.size());
    texts.push_back(ToUtf8(units.substr(start, end - start)));
    start = end + 1;
  }
  return texts;
}

std::optional<DWORD> RegistryKey::GetNumber(const char* name) const {
  auto value = GetValue(name);
  DWORD number = 0;
  if (!value || value->data.size() != sizeof number) return std::nullopt;
  std::memcpy(&number, value->data.data(), sizeof number);
  return number;
}

bool RegistryKey::SetText(const char* name, const std::string& text) const {
  std::u16string wide = ToUtf16(text);
  return SetValue(name, {REG_SZ, {reinterpret_cast<const char*>(wide.c_str()), (wide.size() + 1) * sizeof(WCHAR)}});
}

bool RegistryKey::SetNumber(const char* name, DWORD value) const {
  return SetValue(name, {REG_DWORD, {reinterpret_cast<const char*>(&value), sizeof value}});
}

bool RegistryKey::SetValue(const std::string& name, const RegistryValue& value) const {
  return key_ &&
         RegSetValueExW(key_, ToUtf16(name).c_str(), 0, value.type, reinterpret_cast<const BYTE*>(value.data.data()),
                        static_cast<DWORD>(value.data.size())) == ERROR_SUCCESS;
}

bool RegistryKey::DeleteValue(const std::string& name) const {
  return key_ && RegDeleteValueW(key_, ToUtf16(name).c_str()) == ERROR_SUCCESS;
}

std::vector<std::string> RegistryKey::Subkeys() const {
  std::vector<std::string> names;
  WCHAR name[kNameUnits];
  while (key_ && RegEnumKeyW(key_, static_cast<DWORD>(names.size()), name, kNameUnits) == ERROR_SUCCESS)
    names.push_back(ToUtf8(name));
  return names;
}

std::vector<std::string> RegistryKey::ValueNames() const {
  // The registry's longest value name.
  constexpr DWORD kValueNameUnits = 16384;
  std::vector<std::string> names;
  std::u16string name(kValueNameUnits, u'\0');
  for (;;) {
    DWORD units = kValueNameUnits;
    if (!key_ || RegEnumValueW(key_, static_cast<DWORD>(names.size()), name.data(), &units, nullptr, nullptr, nullptr,
                               nullptr) != ERROR_SUCCESS)
      return names;
    names.push_back(ToUtf8(std::u16string_view(name).substr(0, units)));
  }
}

bool DeleteRegistryTree(const std::string& path) {
  std::vector<std::string> subkeys = RegistryKey::Open(path).Subkeys();
  bool deleted = true;
  for (const std::string& name : subkeys) deleted = DeleteRegistryTree(path + "\\" + name) && deleted;
  LSTATUS result = RegDeleteKeyW(HKEY_LOCAL_MACHINE, ToUtf16(path).c_str());
  return deleted && (result == ERROR_SUCCESS || result == ERROR_FILE_NOT_FOUND);
}

}  // namespace portwise
