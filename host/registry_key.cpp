#include "host/registry_key.h"

#include <utility>

#include "platform/text.h"

namespace portwise {

using platform::ToUtf16;
using platform::ToUtf8;

namespace {

/// The registry's longest key name, with its terminator.
constexpr DWORD kNameUnits = 256;

}  // namespace

RegistryKey RegistryKey::Open(const std::string& path) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, ToUtf16(path).c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) key = nullptr;
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

std::string RegistryKey::GetText(const char* name) const {
  std::u16string wideName = ToUtf16(name);
  std::u16string text(256, u'\0');
  while (key_) {
    DWORD type = REG_NONE;
    DWORD size = static_cast<DWORD>(text.size() * sizeof(WCHAR));
    LSTATUS result =
        RegQueryValueExW(key_, wideName.c_str(), nullptr, &type, reinterpret_cast<LPBYTE>(text.data()), &size);
    if (result == ERROR_MORE_DATA && size > text.size() * sizeof(WCHAR)) {
      text.resize(size / sizeof(WCHAR) + 1);
      continue;
    }
    if (result != ERROR_SUCCESS || (type != REG_SZ && type != REG_EXPAND_SZ)) break;
    text.resize(size / sizeof(WCHAR));
    return ToUtf8(text.substr(0, text.find(u'\0')));
  }
  return {};
}

std::optional<DWORD> RegistryKey::GetNumber(const char* name) const {
  DWORD value = 0;
  DWORD size = sizeof(value);
  if (!key_ || RegQueryValueExW(key_, ToUtf16(name).c_str(), nullptr, nullptr, reinterpret_cast<LPBYTE>(&value),
                                &size) != ERROR_SUCCESS)
    return std::nullopt;
  if (size != sizeof(value)) return std::nullopt;
  return value;
}

bool RegistryKey::SetText(const char* name, const std::string& text) const {
  std::u16string wide = ToUtf16(text);
  return key_ && RegSetValueExW(key_, ToUtf16(name).c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(wide.c_str()),
                                static_cast<DWORD>((wide.size() + 1) * sizeof(WCHAR))) == ERROR_SUCCESS;
}

bool RegistryKey::SetNumber(const char* name, DWORD value) const {
  return key_ && RegSetValueExW(key_, ToUtf16(name).c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value),
                                sizeof(value)) == ERROR_SUCCESS;
}

std::vector<std::string> RegistryKey::Subkeys() const {
  std::vector<std::string> names;
  WCHAR name[kNameUnits];
  while (key_ && RegEnumKeyW(key_, static_cast<DWORD>(names.size()), name, kNameUnits) == ERROR_SUCCESS)
    names.push_back(ToUtf8(name));
  return names;
}

bool DeleteRegistryTree(const std::string& path) {
  std::vector<std::string> subkeys = RegistryKey::Open(path).Subkeys();
  bool deleted = true;
  for (const std::string& name : subkeys) deleted = DeleteRegistryTree(path + "\\" + name) && deleted;
  LSTATUS result = RegDeleteKeyW(HKEY_LOCAL_MACHINE, ToUtf16(path).c_str());
  return deleted && (result == ERROR_SUCCESS || result == ERROR_FILE_NOT_FOUND);
}

}  // namespace portwise
