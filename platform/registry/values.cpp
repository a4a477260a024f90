#include <windows.h>

#include "platform/registry/key_handles.h"
#include "platform/registry/key_rows.h"
#include "platform/text.h"

using namespace portwise::platform;

LSTATUS WINAPI RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size) {
  if (reserved != nullptr || (data != nullptr && size == nullptr)) return ERROR_INVALID_PARAMETER;
  return Answer([&]() -> LSTATUS {
    const auto open = FindKeyHandle(key);
    const std::string folded = FoldedName(name);
    Session session(Use::Read);
    RequireRight(session, *open, KEY_QUERY_VALUE);
    Query query(session, "SELECT type, data FROM entries WHERE key = ?1 AND folded = ?2");
    query.Bind(0, open->id).Bind(1, folded);
    if (!query.Step()) {
      RequireAlive(session, *open);
      return ERROR_FILE_NOT_FOUND;
    }
    if (type != nullptr) *type = static_cast<DWORD>(query.Number(0));
    return CopyData(query.Blob(1), data, size);
  });
}

LSTATUS WINAPI RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size) {
  if (reserved != 0 || (data == nullptr && size != 0)) return ERROR_INVALID_PARAMETER;
  return Answer([&]() -> LSTATUS {
    const auto open = FindKeyHandle(key);
    RequireLength(name, kMaxValueName);
    const std::string folded = FoldedName(name);
    const std::string display = name == nullptr ? std::string() : ToUtf8(name);
    Session session(Use::Write);
    RequireRight(session, *open, KEY_SET_VALUE);
    RequireAlive(session, *open);
    Query(session,
          "INSERT INTO entries(key, folded, name, type, data) VALUES (?1, ?2, ?3, ?4, ?5)"
          " ON CONFLICT(key, folded) DO UPDATE SET type = excluded.type, data = excluded.data")
        .Bind(0, open->id)
        .Bind(1, folded)
        .Bind(2, display)
        .Bind(3, type)
        .BindBlob(4, data, size)
        .Step();
    Touch(session, open->id);
    session.Commit();
    return ERROR_SUCCESS;
  });
}

LSTATUS WINAPI RegDeleteValueW(HKEY key, LPCWSTR name) {
  return Answer([&]() -> LSTATUS {
    const auto open = FindKeyHandle(key);
    const std::string folded = FoldedName(name);
    Session session(Use::Write);
    RequireRight(session, *open, KEY_SET_VALUE);
    RequireAlive(session, *open);
    Query query(session, "DELETE FROM entries WHERE key = ?1 AND folded = ?2 RETURNING 1");
    if (!query.Bind(0, open->id).Bind(1, folded).Step()) return ERROR_FILE_NOT_FOUND;
    // A row that RETURNING gives ends the statement only with the next step.
    query.Step();
    Touch(session, open->id);
    session.Commit();
    return ERROR_SUCCESS;
  });
}

LSTATUS WINAPI RegEnumValueW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameSize, LPDWORD reserved, LPDWORD type,
                             LPBYTE data, LPDWORD dataSize) {
  if (name == nullptr || nameSize == nullptr || reserved != nullptr || (data != nullptr && dataSize == nullptr)) {
    return ERROR_INVALID_PARAMETER;
  }
  return Answer([&]() -> LSTATUS {
    const auto open = FindKeyHandle(key);
    Session session(Use::Read);
    RequireRight(session, *open, KEY_QUERY_VALUE);
    Query query(session, "SELECT name, type, data FROM entries WHERE key = ?1 ORDER BY folded LIMIT 1 OFFSET ?2");
    query.Bind(0, open->id).Bind(1, index);
    if (!query.Step()) {
      RequireAlive(session, *open);
      return ERROR_NO_MORE_ITEMS;
    }
    const std::u16string text = ToUtf16(query.Text(0));
    if (const LSTATUS error = CopyText(text, name, *nameSize); error != ERROR_SUCCESS) return error;
    *nameSize = static_cast<DWORD>(text.size());
    if (type != nullptr) *type = static_cast<DWORD>(query.Number(1));
    return CopyData(query.Blob(2), data, dataSize);
  });
}
