#include "platform/kernel/system_modules.h"

#include <map>
#include <mutex>
#include <string>

#include "platform/kernel/ascii.h"

namespace portwise::platform {
namespace {

// A module's handle is the address of its row, which stays where it is.
using Functions = std::map<std::string, FARPROC, std::less<>>;
struct Table {
  std::mutex mutex;
  std::map<std::string, Functions, LessAscii> modules;
};

Table& Modules() {
  static auto& table = *new Table;
  return table;
}

HMODULE HandleOf(const Functions& functions) { return reinterpret_cast<HMODULE>(const_cast<Functions*>(&functions)); }

}  // namespace

void RegisterSystemModule(std::string_view module, std::initializer_list<ModuleFunction> functions) {
  std::lock_guard lock(Modules().mutex);
  Functions& row = Modules().modules[std::string(module)];
  for (const auto& [name, function] : functions) row[std::string(name)] = function;
}

bool FindSystemFunction(std::string_view module, std::string_view name, FARPROC* function) {
  std::lock_guard lock(Modules().mutex);
  *function = nullptr;
  const auto row = Modules().modules.find(module);
  if (row == Modules().modules.end()) return false;
  const auto found = row->second.find(name);
  if (found != row->second.end()) *function = found->second;
  return true;
}

HMODULE FindSystemModule(std::string_view name) {
  std::lock_guard lock(Modules().mutex);
  const auto row = Modules().modules.find(name);
  return row == Modules().modules.end() ? nullptr : HandleOf(row->second);
}

std::string_view SystemModuleName(HMODULE module) {
  std::lock_guard lock(Modules().mutex);
  for (const auto& [name, functions] : Modules().modules) {
    if (HandleOf(functions) == module) return name;
  }
  return {};
}

}  // namespace portwise::platform
