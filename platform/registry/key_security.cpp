#include <aclapi.h>
#include <windows.h>

#include "platform/registry/access_list.h"
#include "platform/registry/key_handles.h"
#include "platform/registry/key_rows.h"
#include "platform/registry/security_layout.h"

namespace portwise::platform {
namespace {

constexpr ACCESS_MASK kWriteList = 0x40000;

/// A null list grants everyone everything, unlike an empty one.
std::string OpenList() {
  const Trustee& everyone = kTrustees[0];
  const EntryHeader entry{kAllow, kObjectInherit | kContainerInherit,
                          static_cast<WORD>(sizeof(EntryHeader) + everyone.size), KEY_ALL_ACCESS};
  const ACL header{kListRevision, 0, static_cast<WORD>(sizeof(ACL) + entry.size), 1, 0};
  std::string list(reinterpret_cast<const char*>(&header), sizeof header);
  list.append(reinterpret_cast<const char*>(&entry), sizeof entry);
  return list.append(reinterpret_cast<const char*>(everyone.bytes), everyone.size);
}

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

DWORD WINAPI SetSecurityInfo(HANDLE handle, SE_OBJECT_TYPE type, SECURITY_INFORMATION information, PSID, PSID,
                             PACL dacl, PACL) {
  constexpr SECURITY_INFORMATION kModes = PROTECTED_DACL_SECURITY_INFORMATION | UNPROTECTED_DACL_SECURITY_INFORMATION;
  if (type != SE_REGISTRY_KEY || (information & ~kModes) != DACL_SECURITY_INFORMATION ||
      (information & kModes) == kModes) {
    return ERROR_INVALID_PARAMETER;
  }
  const LSTATUS result = Answer([&]() -> LSTATUS {
    const auto open = FindKeyHandle(static_cast<HKEY>(handle));
    const std::string list =
        dacl == nullptr ? OpenList() : std::string(reinterpret_cast<const char*>(dacl), dacl->AclSize);
    if (!IsSoundList(list)) return ERROR_INVALID_ACL;
    Session session(Use::Write);
    RequireRight(session, *open, kWriteList);
    Query row(session, "SELECT protected FROM keys WHERE id = ?1");
    if (!row.Bind(0, open->id).Step()) return ERROR_KEY_DELETED;
    // Without either flag the key stays as protected as it is.
    const bool isProtected =
        (information & kModes) == 0 ? row.Number(0) != 0 : (information & PROTECTED_DACL_SECURITY_INFORMATION) != 0;
    StoreList(session, open->id, open->path, list, isProtected);
    session.Commit();
    return ERROR_SUCCESS;
  });
  return static_cast<DWORD>(result);
}
