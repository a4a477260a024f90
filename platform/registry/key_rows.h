#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/registry/database.h"
#include "platform/registry/key_handles.h"

/// How keys are found in the database and what calls do with them. All of it throws RegistryError.
namespace portwise::platform {

/// A key's row, as far as an open needs it.
struct KeyRow {
  std::int64_t id;
  bool guarded;
};

/// The longest name of a key, and of a value, in UTF-16 units; the deepest key.
inline constexpr std::size_t kMaxKeyName = 255;
inline constexpr std::size_t kMaxValueName = 16383;
inline constexpr std::size_t kMaxDepth = 512;

/// The names along a subkey's path; empty ones (a separator too many) are left out. Null gives none.
std::vector<std::u16string_view> SplitSubKey(LPCWSTR subKey);
/// The path in the database of the key that `names` lead to from `base`.
std::string JoinPath(std::string_view base, const std::vector<std::u16string_view>& names);
/// What a value's name is looked up by; null is the default value.
std::string FoldedName(LPCWSTR name);

/// The key at `path`, as long as `base`, from which it was named, is not deleted: ERROR_KEY_DELETED.
std::optional<KeyRow> FindKey(Connection& connection, const OpenKey& base, const std::string& path);
/// ERROR_KEY_DELETED when the key is gone or belongs to another home.
void RequireAlive(Connection& connection, const OpenKey& key);
/// ERROR_ACCESS_DENIED when the handle does not carry the right.
void RequireRight(Connection& connection, const OpenKey& key, REGSAM right);
/// ERROR_INVALID_PARAMETER for text that no name of the registry can have.
void RequireLength(LPCWSTR name, std::size_t longest);

/// Marks the key as written now.
void Touch(Connection& connection, std::int64_t key);
/// The time in units of 100 ns since 1601.
std::int64_t FileTimeNow();

/// Copies text and a NUL to a buffer of `size` units. ERROR_MORE_DATA when they do not fit; the buffer then stays.
LSTATUS CopyText(std::u16string_view text, LPWSTR buffer, DWORD size);
/// The protocol of data buffers: `size` is the buffer's in and the data's out. ERROR_MORE_DATA when it does not fit;
/// a null buffer only asks for the size.
LSTATUS CopyData(std::string_view data, LPBYTE buffer, LPDWORD size);

}  // namespace portwise::platform
