#pragma once

/// Security descriptors and access lists, as far as keys of the registry carry them.

#include <windef.h>

/// An access list in its self-relative form: the header, then `AceCount` entries.
struct ACL {
  BYTE AclRevision;
  BYTE Sbz1;
  WORD AclSize;
  WORD AceCount;
  WORD Sbz2;
};
using PACL = ACL*;
using PSID = void*;
using PSECURITY_DESCRIPTOR = void*;
using SECURITY_INFORMATION = DWORD;

#define DACL_SECURITY_INFORMATION 0x4u
#define PROTECTED_DACL_SECURITY_INFORMATION 0x80000000u
#define UNPROTECTED_DACL_SECURITY_INFORMATION 0x20000000u

extern "C" BOOL WINAPI GetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, LPBOOL present, PACL* dacl,
                                                 LPBOOL defaulted);
