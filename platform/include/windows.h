#pragma once

#ifdef __cplusplus
#include <errhandlingapi.h>
#include <eventlog.h>
#include <fileapi.h>
#include <libloaderapi.h>
#include <sysinfoapi.h>
#include <winbase.h>
#include <windef.h>
#include <winerror.h>
#include <wingdi.h>
#include <winnls.h>
#include <winnt.h>
#include <winreg.h>
#include <winuser.h>
#else
#include <windows_c.h>
#endif
