#pragma once

#include <windows.h>

#include <cstdint>
#include <string_view>

#include "platform/registry/database.h"

/// Who may do what with a key.
///
/// There are three trustees: everyone, the administrators and the system. The process is all three when root or the
/// owner of the home folder runs it, and only everyone otherwise (see SetRegistryRole). The entries that apply to a key
/// are those of its own list, then, unless that is protected, the inheritable ones of the key above, and so on up to
/// the first protected list. When none is protected, the root grants everyone everything. A key that was given an
/// unprotected empty list is thus as if it had none. Entries count in this order: what one has denied, none after it
/// allows, and the other way round.
namespace portwise::platform {

/// The standard and specific rights in place of the generic ones; bits that choose a view of the registry are dropped.
ACCESS_MASK MapGenericRights(ACCESS_MASK access);

/// The rights that the process has to a key.
ACCESS_MASK AllowedRights(Connection& connection, std::int64_t key);

/// What an open key is granted of `requested`, which may ask for the maximum; throws RegistryError with
/// ERROR_ACCESS_DENIED when that is less than asked for. `guarded` is the key's mark in the database.
REGSAM GrantRights(Connection& connection, std::int64_t key, bool guarded, REGSAM requested);

/// Whether the bytes are an access list whose entries lie within it.
bool IsSoundList(std::string_view list);

/// Sets the list of a key and marks the keys below as guarded. The session is one that writes.
void StoreList(Connection& connection, std::int64_t key, std::string_view path, std::string_view list,
               bool isProtected);

}  // namespace portwise::platform
