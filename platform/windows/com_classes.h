#pragma once

#include <objbase.h>

#include <functional>

namespace portwise::platform {

/// Makes an object; its answer is that of CoCreateInstance.
using ComFactory = std::function<HRESULT(REFIID interface, void** object)>;

/// Makes CoCreateInstance find a class from now on; null ends that. Any thread.
void RegisterComClass(const CLSID& id, ComFactory factory);

}  // namespace portwise::platform
