#include <unistd.h>
#include <windows.h>

#include <map>
#include <mutex>
#include <string>

#include "platform/kernel/ascii.h"
#include "platform/kernel/copy_text.h"
#include "platform/kernel/fail.h"

namespace portwise::platform {
namespace {

class Environment {
 public:
  Environment() {
    for (char** entry = environ; entry && *entry; ++entry) {
      const std::string_view text(*entry);
      const auto sign = text.find('=');
      if (sign != std::string_view::npos && sign > 0) variables.emplace(text.substr(0, sign), text.substr(sign + 1));
    }
  }

  std::mutex mutex;
  std::map<std::string, std::string, LessAscii> variables;
};

Environment& Variables() {
  static auto& environment = *new Environment;
  return environment;
}

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

DWORD WINAPI GetEnvironmentVariableA(LPCSTR name, LPSTR buffer, DWORD size) {
  std::lock_guard lock(Variables().mutex);
  const auto variable = Variables().variables.find(std::string_view(name ? name : ""));
  if (variable == Variables().variables.end()) return static_cast<DWORD>(Fail(ERROR_ENVVAR_NOT_FOUND));
  return CopyText<CHAR>(variable->second, buffer, size);
}

BOOL WINAPI SetEnvironmentVariableA(LPCSTR name, LPCSTR value) {
  const std::string_view text(name ? name : "");
  if (text.empty() || text.find('=') != std::string_view::npos) return Fail(ERROR_INVALID_PARAMETER);
  std::lock_guard lock(Variables().mutex);
  if (value) {
    Variables().variables.insert_or_assign(std::string(text), value);
    return TRUE;
  }
  const auto variable = Variables().variables.find(text);
  if (variable == Variables().variables.end()) return Fail(ERROR_ENVVAR_NOT_FOUND);
  Variables().variables.erase(variable);
  return TRUE;
}
