#pragma once

#include <windows.h>

/// What the system says of itself, for tests. Any thread.
namespace portwise::platform {

/// What GetVersionExW reports from now on; a size of 0 makes it fail. Null restores what it was.
void SetSystemVersion(const OSVERSIONINFOEXW* version);

/// What GetSystemMetrics reports for an index from now on.
void SetSystemMetric(int index, int value);

/// The locale by its name in the environment, such as "de_DE.UTF-8". Null lets the environment decide again.
void SetSystemLocale(const char* name);

}  // namespace portwise::platform
