#include "platform/registry/key_rows.h"

#include <chrono>
#include <cstring>

#include "platform/registry/access_list.h"
#include "platform/text.h"

namespace portwise::platform {

std::vector<std::u16string_view> SplitSubKey(LPCWSTR subKey) {
  std::vector<std::u16string_view> names;
  std::u16string_view rest = subKey == nullptr ? std::u16string_view() : std::u16string_view(subKey);
  while (!rest.empty()) {
    const std::u16string_view name = rest.substr(0, rest.find(u'\\'));
    rest.remove_prefix(std::min(name.size() + 1, rest.size()));
    if (!name.empty()) names.push_back(name);
  }
  return names;
}

std::string JoinPath(std::string_view base, const std::vector<std::u16string_view>& names) {
  std::u16string joined;
  for (const std::u16string_view name : names) (joined += u'\\') += name;
  std::string path(base);
  return path += ToUtf8(FoldCase(joined));
}

std::string FoldedName(LPCWSTR name) { return name == nullptr ? std::string() : ToUtf8(FoldCase(name)); }

std::optional<KeyRow> FindKey(Connection& connection, const OpenKey& base, const std::string& path) {
  if (!base.IsRoot() && base.homeNumber != connection.HomeNumber()) throw RegistryError{ERROR_KEY_DELETED};
  {
    Query query(connection,
                "SELECT id, guarded FROM keys WHERE path = ?1 AND EXISTS (SELECT 1 FROM keys WHERE id = ?2)");
    query.Bind(0, path).Bind(1, base.id);
    if (query.Step()) return KeyRow{query.Number(0), query.Number(1) != 0};
  }
  RequireAlive(connection, base);
  return std::nullopt;
}

void RequireAlive(Connection& connection, const OpenKey& key) {
  if (key.IsRoot()) return;
  if (key.homeNumber == connection.HomeNumber() &&
      Query(connection, "SELECT 1 FROM keys WHERE id = ?1").Bind(0, key.id).Step()) {
    return;
  }
  throw RegistryError{ERROR_KEY_DELETED};
}

void RequireRight(Connection& connection, const OpenKey& key, REGSAM right) {
  if (key.IsRoot()) {
    GrantRights(connection, key.id, true, right);
    return;
  }
  if (key.homeNumber != connection.HomeNumber()) throw RegistryError{ERROR_KEY_DELETED};
  if ((key.access & right) != right) throw RegistryError{ERROR_ACCESS_DENIED};
}

void RequireLength(LPCWSTR name, std::size_t longest) {
  if (name != nullptr && std::u16string_view(name).size() > longest) throw RegistryError{ERROR_INVALID_PARAMETER};
}

void Touch(Connection& connection, std::int64_t key) {
  Query(connection, "UPDATE keys SET written = ?1 WHERE id = ?2").Bind(0, FileTimeNow()).Bind(1, key).Step();
}

std::int64_t FileTimeNow() {
  constexpr std::int64_t kSecondsFrom1601To1970 = 11644473600;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
  return (kSecondsFrom1601To1970 * 1000000 + microseconds) * 10;
}

LSTATUS CopyText(std::u16string_view text, LPWSTR buffer, DWORD size) {
  if (size <= text.size()) return ERROR_MORE_DATA;
  text.copy(buffer, text.size());
  buffer[text.size()] = 0;
  return ERROR_SUCCESS;
}

LSTATUS CopyData(std::string_view data, LPBYTE buffer, LPDWORD size) {
  if (size == nullptr) return ERROR_SUCCESS;
  const DWORD room = *size;
  *size = static_cast<DWORD>(data.size());
  if (buffer == nullptr) return ERROR_SUCCESS;
  if (room < data.size()) return ERROR_MORE_DATA;
  if (!data.empty()) std::memcpy(buffer, data.data(), data.size());
  return ERROR_SUCCESS;
}

}  // namespace portwise::platform
