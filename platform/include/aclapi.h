#pragma once

#include <winnt.h>

enum SE_OBJECT_TYPE { SE_UNKNOWN_OBJECT_TYPE = 0, SE_REGISTRY_KEY = 4 };

/// Replaces the access list of a registry key; returns an error code. Only SE_REGISTRY_KEY and the DACL.
extern "C" DWORD WINAPI SetSecurityInfo(HANDLE handle, SE_OBJECT_TYPE type, SECURITY_INFORMATION information,
                                        PSID owner, PSID group, PACL dacl, PACL sacl);
