#include "platform/registry/access_list.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstring>

#include "platform/home.h"
#include "platform/registry/registry_control.h"
#include "platform/registry/security_layout.h"

namespace portwise::platform {
namespace {

constexpr ACCESS_MASK kGenericAll = 0x10000000;
constexpr ACCESS_MASK kGenericExecute = 0x20000000;
constexpr ACCESS_MASK kMaximumAllowed = 0x02000000;
constexpr ACCESS_MASK kViewBits = 0x300;

std::atomic<RegistryRole> role = RegistryRole::Actual;

bool IsAdministrator() {
  if (role == RegistryRole::Everyone) return false;
  const uid_t user = geteuid();
  struct stat home {};
  return user == 0 || (stat(Home().c_str(), &home) == 0 && home.st_uid == user);
}

bool AppliesTo(bool administrator, std::string_view trustee) {
  for (const Trustee& known : kTrustees) {
    if (trustee.size() >= known.size && std::memcmp(trustee.data(), known.bytes, known.size) == 0) {
      return administrator || !known.administrative;
    }
  }
  return false;
}

/// Calls `visit(head, trustee)` for each entry; false when the list is not sound.
template <typename Visit>
bool ForEachEntry(std::string_view list, Visit&& visit) {
  ACL header;
  if (list.size() < sizeof header) return false;
  std::memcpy(&header, list.data(), sizeof header);
  if (header.AclRevision < 2 || header.AclRevision > 4 || header.AclSize > list.size()) return false;
  std::size_t position = sizeof header;
  for (unsigned index = 0; index < header.AceCount; ++index) {
    EntryHeader entry;
    if (position + sizeof entry > header.AclSize) return false;
    std::memcpy(&entry, list.data() + position, sizeof entry);
    if (entry.size < sizeof entry || position + entry.size > header.AclSize) return false;
    visit(entry, list.substr(position + sizeof entry, entry.size - sizeof entry));
    position += entry.size;
  }
  return true;
}

}  // namespace

void SetRegistryRole(RegistryRole newRole) { role = newRole; }

ACCESS_MASK MapGenericRights(ACCESS_MASK access) {
  ACCESS_MASK mapped = access & ~(kGenericAll | kGenericExecute | GENERIC_READ | GENERIC_WRITE | kViewBits);
  if (access & kGenericAll) mapped |= KEY_ALL_ACCESS;
  if (access & (GENERIC_READ | kGenericExecute)) mapped |= KEY_READ;
  if (access & GENERIC_WRITE) mapped |= KEY_WRITE;
  return mapped;
}

ACCESS_MASK AllowedRights(Connection& connection, std::int64_t key) {
  const bool administrator = IsAdministrator();
  ACCESS_MASK allowed = 0;
  ACCESS_MASK denied = 0;
  Query query(connection,
              "WITH RECURSIVE up(parent, list, protected, level) AS ("
              " SELECT parent, list, protected, 0 FROM keys WHERE id = ?1"
              " UNION ALL SELECT keys.parent, keys.list, keys.protected, level + 1"
              " FROM up JOIN keys ON keys.id = up.parent WHERE NOT up.protected)"
              " SELECT list, protected, level FROM up ORDER BY level");
  query.Bind(0, key);
  while (query.Step()) {
    const std::int64_t level = query.Number(2);
    ForEachEntry(query.Blob(0), [&](const EntryHeader& entry, std::string_view trustee) {
      const bool reaches = level == 0
                               ? !(entry.flags & kInheritOnly)
                               : (entry.flags & kContainerInherit) && (level == 1 || !(entry.flags & kNoPropagate));
      if (!reaches || !AppliesTo(administrator, trustee)) return;
      const ACCESS_MASK mask = MapGenericRights(entry.mask);
      if (entry.type == kAllow) allowed |= mask & ~denied;
      if (entry.type == kDeny) denied |= mask & ~allowed;
    });
    if (query.Number(1) != 0) return allowed;
  }
  return allowed | (KEY_ALL_ACCESS & ~denied);
}

REGSAM GrantRights(Connection& connection, std::int64_t key, bool guarded, REGSAM requested) {
  const ACCESS_MASK allowed = guarded ? AllowedRights(connection, key) : KEY_ALL_ACCESS;
  const REGSAM wanted = MapGenericRights(requested & ~kMaximumAllowed);
  if (wanted & ~allowed) throw RegistryError{ERROR_ACCESS_DENIED};
  return requested & kMaximumAllowed ? allowed : wanted;
}

bool IsSoundList(std::string_view list) {
  return ForEachEntry(list, [](const EntryHeader&, std::string_view) {});
}

void StoreList(Connection& connection, std::int64_t key, std::string_view path, std::string_view list,
               bool isProtected) {
  Query(connection, "UPDATE keys SET list = ?1, protected = ?2 WHERE id = ?3")
      .BindBlob(0, list.data(), list.size())
      .Bind(1, isProtected)
      .Bind(2, key)
      .Step();
  // "]" is the character after the separator, so the range holds every path below this one.
  Query(connection,
        "UPDATE keys SET guarded = 1 WHERE NOT guarded"
        " AND (id = ?1 OR (path >= ?2 || '\\' AND path < ?2 || ']'))")
      .Bind(0, key)
      .Bind(1, path)
      .Step();
}

}  // namespace portwise::platform
