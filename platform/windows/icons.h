#pragma once

#include <windows.h>

namespace portwise::platform {

/// The number of the resource that an icon is made of; 0 for other handles, and for resources that have a name.
int IconResource(HICON icon);

}  // namespace portwise::platform
