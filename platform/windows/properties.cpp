#include <string>

#include "platform/kernel/fail.h"
#include "platform/text.h"
#include "platform/windows/desktop.h"
#include "platform/windows/window.h"

namespace portwise::platform {
namespace {

using Json = nlohmann::json;

constexpr std::size_t kLongestName = 255;
constexpr char kProperties[] = "properties";

bool IsName(LPCWSTR name) {
  return name && !IS_INTRESOURCE(name) && *name && std::u16string_view(name).size() <= kLongestName;
}

std::uint64_t ToNumber(HANDLE value) { return reinterpret_cast<ULONG_PTR>(value); }
HANDLE ToValue(std::uint64_t number) { return reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(number)); }

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

BOOL WINAPI SetPropW(HWND handle, LPCWSTR name, HANDLE value) {
  if (!IsName(name)) return Fail(ERROR_INVALID_PARAMETER);
  const std::u16string key = FoldCase(name);
  if (IsDesktop(handle)) {
    const bool done = ChangeDesktop([&](Json& shared) { shared[kProperties][ToUtf8(key)] = ToNumber(value); });
    return done || Fail(ERROR_ACCESS_DENIED);
  }
  std::lock_guard lock(WindowLock());
  const auto window = WindowTree::Get().Find(handle);
  if (window) window->properties[key] = value;
  return window != nullptr;
}

HANDLE WINAPI GetPropW(HWND handle, LPCWSTR name) {
  if (!IsName(name)) return nullptr;
  const std::u16string key = FoldCase(name);
  if (IsDesktop(handle)) {
    std::uint64_t number = 0;
    LookAtDesktop([&](const Json& shared) {
      number = shared.value(kProperties, Json::object()).value(ToUtf8(key), std::uint64_t{0});
    });
    return ToValue(number);
  }
  std::lock_guard lock(WindowLock());
  const auto window = WindowTree::Get().Find(handle);
  if (!window) return nullptr;
  const auto found = window->properties.find(key);
  return found == window->properties.end() ? nullptr : found->second;
}

HANDLE WINAPI RemovePropW(HWND handle, LPCWSTR name) {
  if (!IsName(name)) return nullptr;
  const std::u16string key = FoldCase(name);
  if (IsDesktop(handle)) {
    std::uint64_t number = 0;
    ChangeDesktop([&](Json& shared) {
      Json& properties = shared[kProperties];
      number = properties.is_object() ? properties.value(ToUtf8(key), std::uint64_t{0}) : 0;
      if (properties.is_object()) properties.erase(ToUtf8(key));
    });
    return ToValue(number);
  }
  std::lock_guard lock(WindowLock());
  const auto window = WindowTree::Get().Find(handle);
  if (!window) return nullptr;
  const auto found = window->properties.find(key);
  if (found == window->properties.end()) return nullptr;
  const HANDLE value = found->second;
  window->properties.erase(found);
  return value;
}
