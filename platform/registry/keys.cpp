#include <windows.h>

#include <algorithm>

#include "platform/registry/access_list.h"
#include "platform/registry/key_handles.h"
#include "platform/registry/key_rows.h"
#include "platform/registry/security_layout.h"
#include "platform/text.h"

namespace portwise::platform {
namespace {

using Names = std::vector<std::u16string_view>;

HKEY Grant(const Session& session, const KeyRow& row, std::string path, REGSAM access) {
  const REGSAM granted = GrantRights(session, row.id, row.guarded, access);
  return AddKeyHandle({row.id, std::move(path), granted, session->HomeNumber()});
}

/// The access list of the descriptor that `security` carries, empty when there is none. Throws RegistryError.
std::string_view ListOf(LPSECURITY_ATTRIBUTES security) {
  if (security == nullptr || security->lpSecurityDescriptor == nullptr) return {};
  BOOL present = FALSE;
  PACL list = nullptr;
  if (!GetSecurityDescriptorDacl(security->lpSecurityDescriptor, &present, &list, nullptr)) {
    throw RegistryError{ERROR_INVALID_SECURITY_DESCR};
  }
  if (!present || list == nullptr) return {};
  const std::string_view bytes(reinterpret_cast<const char*>(list), list->AclSize);
  if (!IsSoundList(bytes)) throw RegistryError{ERROR_INVALID_ACL};
  return bytes;
}

void RequireNames(const Names& names, std::string_view base) {
  const std::size_t depth = names.size() + static_cast<std::size_t>(std::count(base.begin(), base.end(), '\\'));
  const bool fit = std::all_of(names.begin(), names.end(), [](auto name) { return name.size() <= kMaxKeyName; });
  if (!fit || depth > kMaxDepth) throw RegistryError{ERROR_INVALID_PARAMETER};
}

/// Makes the missing keys along `names` below `base`, the last one with `list` when that is not empty.
KeyRow MakeKeys(const Session& session, const OpenKey& base, const Names& names, std::string_view list) {
  // The deepest key that is there, and the number of names that lead to it.
  std::size_t depth = names.size();
  std::optional<KeyRow> row;
  while (!row) {
    --depth;
    row = FindKey(session, base, JoinPath(base.path, Names(names.begin(), names.begin() + depth)));
  }
  GrantRights(session, row->id, row->guarded, KEY_CREATE_SUB_KEY);
  Touch(session, row->id);
  std::string path;
  for (; depth < names.size(); ++depth) {
    path = JoinPath(base.path, Names(names.begin(), names.begin() + depth + 1));
    const std::string name = ToUtf8(names[depth]);
    Query insert(session,
                 "INSERT INTO keys(path, parent, name, written, guarded) VALUES (?1, ?2, ?3, ?4, ?5) RETURNING id");
    insert.Bind(0, path).Bind(1, row->id).Bind(2, name).Bind(3, FileTimeNow()).Bind(4, row->guarded);
    insert.Step();
    row->id = insert.Number(0);
    insert.Step();
  }
  // As on Windows, a list given at creation takes the place of what the key would inherit.
  if (!list.empty()) StoreList(session, row->id, path, list, true);
  return *row;
}

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

LSTATUS WINAPI RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result) {
  if (result == nullptr || options != 0) return ERROR_INVALID_PARAMETER;
  return Answer([&]() -> LSTATUS {
    const auto base = FindKeyHandle(key);
    std::string path = JoinPath(base->path, SplitSubKey(subKey));
    Session session(Use::Read);
    const auto row = FindKey(session, *base, path);
    if (!row) return ERROR_FILE_NOT_FOUND;
    *result = Grant(session, *row, std::move(path), access);
    return ERROR_SUCCESS;
  });
}

LSTATUS WINAPI RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR, DWORD options, REGSAM access,
                               LPSECURITY_ATTRIBUTES security, PHKEY result, LPDWORD disposition) {
  if (result == nullptr || subKey == nullptr || reserved != 0 || options != REG_OPTION_NON_VOLATILE) {
    return ERROR_INVALID_PARAMETER;
  }
  return Answer([&]() -> LSTATUS {
    const auto base = FindKeyHandle(key);
    const Names names = SplitSubKey(subKey);
    const std::string path = JoinPath(base->path, names);
    const std::string_view list = ListOf(security);
    RequireNames(names, base->path);
    // A key that is there needs no wait for other writers.
    {
      Session session(Use::Read);
      if (const auto row = FindKey(session, *base, path)) {
        *result = Grant(session, *row, path, access);
        if (disposition != nullptr) *disposition = REG_OPENED_EXISTING_KEY;
        return ERROR_SUCCESS;
      }
    }
    Session session(Use::Write);
    auto row = FindKey(session, *base, path);
    const bool isNew = !row;
    if (isNew) {
      row = MakeKeys(session, *base, names, list);
      session.Commit();
      // Who makes a key gets the rights asked for, whatever its list says.
      row->guarded = false;
    }
    *result = Grant(session, *row, path, access);
    if (disposition != nullptr) *disposition = isNew ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    return ERROR_SUCCESS;
  });
}

LSTATUS WINAPI RegCloseKey(HKEY key) { return RemoveKeyHandle(key) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE; }

LSTATUS WINAPI RegDeleteKeyW(HKEY key, LPCWSTR subKey) {
  if (subKey == nullptr) return ERROR_INVALID_PARAMETER;
  return Answer([&]() -> LSTATUS {
    const auto base = FindKeyHandle(key);
    const Names names = SplitSubKey(subKey);
    if (names.empty() && base->IsRoot()) return ERROR_ACCESS_DENIED;
    const std::string path = JoinPath(base->path, names);
    Session session(Use::Write);
    const auto row = FindKey(session, *base, path);
    if (!row) return ERROR_FILE_NOT_FOUND;
    GrantRights(session, row->id, row->guarded, DELETE);
    if (Query(session, "SELECT 1 FROM keys WHERE parent = ?1").Bind(0, row->id).Step()) return ERROR_ACCESS_DENIED;
    Query(session, "UPDATE keys SET written = ?1 WHERE id = (SELECT parent FROM keys WHERE id = ?2)")
        .Bind(0, FileTimeNow())
        .Bind(1, row->id)
        .Step();
    Query(session, "DELETE FROM entries WHERE key = ?1").Bind(0, row->id).Step();
    Query(session, "DELETE FROM keys WHERE id = ?1").Bind(0, row->id).Step();
    session.Commit();
    return ERROR_SUCCESS;
  });
}

LSTATUS WINAPI RegEnumKeyW(HKEY key, DWORD index, LPWSTR name, DWORD size) {
  if (name == nullptr) return ERROR_INVALID_PARAMETER;
  return Answer([&]() -> LSTATUS {
    const auto open = FindKeyHandle(key);
    Session session(Use::Read);
    RequireRight(session, *open, KEY_ENUMERATE_SUB_KEYS);
    Query query(session, "SELECT name FROM keys WHERE parent = ?1 ORDER BY path LIMIT 1 OFFSET ?2");
    query.Bind(0, open->id).Bind(1, index);
    if (query.Step()) return CopyText(ToUtf16(query.Text(0)), name, size);
    RequireAlive(session, *open);
    return ERROR_NO_MORE_ITEMS;
  });
}

namespace {

struct NameLengths {
  DWORD count = 0;
  DWORD longestName = 0;
  DWORD longestData = 0;
};

/// `sql` gives the names below a key and the sizes of their data.
NameLengths Measure(const Session& session, std::int64_t key, const char* sql) {
  NameLengths lengths;
  Query query(session, sql);
  query.Bind(0, key);
  for (; query.Step(); ++lengths.count) {
    lengths.longestName = std::max(lengths.longestName, static_cast<DWORD>(ToUtf16(query.Text(0)).size()));
    lengths.longestData = std::max(lengths.longestData, static_cast<DWORD>(query.Number(1)));
  }
  return lengths;
}

template <typename Value>
void Store(Value* target, Value value) {
  if (target != nullptr) *target = value;
}

}  // namespace

LSTATUS WINAPI RegQueryInfoKeyW(HKEY key, LPWSTR className, LPDWORD classSize, LPDWORD reserved, LPDWORD subKeys,
                                LPDWORD maxSubKeyLength, LPDWORD maxClassLength, LPDWORD values,
                                LPDWORD maxValueNameLength, LPDWORD maxValueLength, LPDWORD securityDescriptor,
                                PFILETIME lastWriteTime) {
  if (reserved != nullptr || (className != nullptr && classSize == nullptr)) return ERROR_INVALID_PARAMETER;
  return Answer([&]() -> LSTATUS {
    const auto open = FindKeyHandle(key);
    Session session(Use::Read);
    RequireRight(session, *open, KEY_QUERY_VALUE);
    Query row(session, "SELECT written, list FROM keys WHERE id = ?1");
    if (!row.Bind(0, open->id).Step()) return ERROR_KEY_DELETED;
    const NameLengths keys = Measure(session, open->id, "SELECT name, 0 FROM keys WHERE parent = ?1");
    const NameLengths entries = Measure(session, open->id, "SELECT name, length(data) FROM entries WHERE key = ?1");
    // Keys have no classes.
    if (className != nullptr && *classSize > 0) *className = 0;
    Store(classSize, DWORD{0});
    Store(maxClassLength, DWORD{0});
    Store(subKeys, keys.count);
    Store(maxSubKeyLength, keys.longestName);
    Store(values, entries.count);
    Store(maxValueNameLength, entries.longestName);
    Store(maxValueLength, entries.longestData);
    Store(securityDescriptor, static_cast<DWORD>(sizeof(DescriptorHeader) + row.Blob(1).size()));
    const auto written = static_cast<std::uint64_t>(row.Number(0));
    Store(lastWriteTime, FILETIME{static_cast<DWORD>(written), static_cast<DWORD>(written >> 32)});
    return ERROR_SUCCESS;
  });
}
