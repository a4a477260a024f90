#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace portwise {

/// A value as it is stored.
struct RegistryValue {
  DWORD type = REG_NONE;
  std::string data;
};

/// An open key below HKEY_LOCAL_MACHINE; paths, names and texts are UTF-8. A key that does not open reads as one
/// without values or subkeys, and takes no values.
class RegistryKey {
 public:
  static RegistryKey Open(const std::string& path, REGSAM access = KEY_READ);
  /// Creates the key and its parents when missing.
  static RegistryKey Create(const std::string& path);

  RegistryKey(RegistryKey&& other) noexcept;
  RegistryKey& operator=(RegistryKey&&) = delete;
  ~RegistryKey();

  explicit operator bool() const { return key_ != nullptr; }

  /// Empty when there is no such text.
  std::string GetText(const char* name) const;
  std::optional<DWORD> GetNumber(const char* name) const;
  /// The strings of a REG_MULTI_SZ value.
  std::vector<std::string> GetTexts(const char* name) const;
  std::optional<RegistryValue> GetValue(const std::string& name) const;
  bool SetText(const char* name, const std::string& text) const;
  bool SetNumber(const char* name, DWORD value) const;
  bool SetValue(const std::string& name, const RegistryValue& value) const;
  /// False when there is no such value.
  bool DeleteValue(const std::string& name) const;
  std::vector<std::string> Subkeys() const;
  std::vector<std::string> ValueNames() const;

 private:
  explicit RegistryKey(HKEY key) : key_(key) {}

  HKEY key_;
};

/// Deletes the key with everything below it; false when something of it stays. A key that does not exist is deleted.
bool DeleteRegistryTree(const std::string& path);

}  // namespace portwise
