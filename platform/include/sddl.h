#pragma once

#include <winnt.h>

#define SDDL_REVISION_1 1

/// Builds a self-relative security descriptor from its text form; free it with LocalFree. FALSE with
/// ERROR_INVALID_PARAMETER or ERROR_INVALID_ACL when the text is malformed or names a trustee or right that is not
/// known here (known: WD, BA, SY; KR, KW, KA, GA, GR, GW and hexadecimal masks).
extern "C" BOOL WINAPI ConvertStringSecurityDescriptorToSecurityDescriptorW(LPCWSTR text, DWORD revision,
                                                                            PSECURITY_DESCRIPTOR* descriptor,
                                                                            PULONG size);
