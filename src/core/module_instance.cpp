#include "core/module_instance.h"

namespace portwise {
namespace {

HINSTANCE moduleInstance = nullptr;

}  // namespace

void SetModuleInstance(HINSTANCE instance) { moduleInstance = instance; }

HINSTANCE ModuleInstance() { return moduleInstance; }

}  // namespace portwise
