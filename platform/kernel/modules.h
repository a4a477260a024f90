#pragma once

#include <windows.h>

#include <initializer_list>
#include <string_view>

namespace portwise::platform {

struct ModuleFunction {
  std::string_view name;
  FARPROC function;
};

/// A function of any signature, for such a table.
template <class Function>
FARPROC AsFarProc(Function* function) {
  return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function));
}

/// Adds functions to a system module ("Ws2_32.dll", "Shell32.dll") that the product looks up at run time. Called from
/// static initialisers of the platform's folders; any thread.
void RegisterSystemModule(std::string_view module, std::initializer_list<ModuleFunction> functions);

/// True when `module` is a system module, and its function when it has one of that name.
bool FindSystemFunction(std::string_view module, std::string_view name, FARPROC* function);

/// The folder of the platform's shared library: libraries and programs of the same build lie beside it.
std::string_view LibraryFolder();

}  // namespace portwise::platform
