#pragma once

#include <errhandlingapi.h>
#include <eventlog.h>
#include <winbase.h>
#include <windef.h>
#include <winerror.h>
#include <winnls.h>
#include <winnt.h>
#include <winreg.h>
