#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace portwise {

/// An open key below HKEY_LOCAL_MACHINE; paths, names and texts are UTF-8. A key that does not open reads as one
/// without values or subkeys, and takes no values.
class RegistryKey {
 public:
  static RegistryKey Open(const std::string& path);
  /// Creates the key and its parents when missing.
  static RegistryKey Create(const std::string& path);

  RegistryKey(RegistryKey&& other) noexcept;
  RegistryKey& operator=(RegistryKey&&) = delete;
  ~RegistryKey();

  explicit operator bool() const { return key_ != nullptr; }

  /// Empty when there is no such text.
  std::string GetText(const char* name) const;
  std::optional<DWORD> GetNumber(const char* name) const;
  bool SetText(const char* name, const std::string& text) const;
  bool SetNumber(const char* name, DWORD value) const;
  std::vector<std::string> Subkeys() const;

 private:
  explicit RegistryKey(HKEY key) : key_(key) {}

  HKEY key_;
};

/// Deletes the key with everything below it; false when something of it stays. A key that does not exist is deleted.
bool DeleteRegistryTree(const std::string& path);

}  // namespace portwise
