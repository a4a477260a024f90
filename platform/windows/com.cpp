#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/windows/com_classes.h"

namespace portwise::platform {
namespace {

// The bytes of an id are its key.
std::string KeyOf(const CLSID& id) { return {reinterpret_cast<const char*>(&id), sizeof id}; }

struct Classes {
  std::mutex mutex;
  std::map<std::string, ComFactory> factories;
};
Classes& TheClasses() {
  static auto& classes = *new Classes;
  return classes;
}

thread_local int initialized = 0;

/// The digits of "{00000000-0000-0000-0000-000000000000}" as bytes, the first digit the most significant.
bool ReadDigits(std::u16string_view text, std::vector<BYTE>* bytes) {
  constexpr std::u16string_view kShape = u"{hhhhhhhh-hhhh-hhhh-hhhh-hhhhhhhhhhhh}";
  if (text.size() != kShape.size()) return false;
  int digits = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const WCHAR unit = text[i];
    if (kShape[i] != u'h') {
      if (unit != kShape[i]) return false;
      continue;
    }
    const int letter = (unit | 0x20) - u'a';
    const bool decimal = unit >= u'0' && unit <= u'9';
    if (!decimal && (letter < 0 || letter > 5)) return false;
    const int value = decimal ? unit - u'0' : letter + 10;
    if (digits++ % 2 == 0) bytes->push_back(0);
    bytes->back() = static_cast<BYTE>(bytes->back() << 4 | value);
  }
  return true;
}

}  // namespace

void RegisterComClass(const CLSID& id, ComFactory factory) {
  std::lock_guard lock(TheClasses().mutex);
  if (factory) {
    TheClasses().factories[KeyOf(id)] = std::move(factory);
  } else {
    TheClasses().factories.erase(KeyOf(id));
  }
}

}  // namespace portwise::platform

using namespace portwise::platform;

HRESULT WINAPI CoInitializeEx(LPVOID, DWORD) { return initialized++ == 0 ? S_OK : S_FALSE; }
HRESULT WINAPI CoInitialize(LPVOID reserved) { return CoInitializeEx(reserved, COINIT_APARTMENTTHREADED); }

void WINAPI CoUninitialize() {
  if (initialized > 0) --initialized;
}

HRESULT WINAPI CLSIDFromString(LPCWSTR text, LPCLSID id) {
  std::vector<BYTE> bytes;
  *id = {};
  if (!text || !ReadDigits(text, &bytes)) return CO_E_CLASSSTRING;
  const auto number = [&](std::size_t from, std::size_t count) {
    std::uint32_t value = 0;
    for (std::size_t i = from; i < from + count; ++i) value = value << 8 | bytes[i];
    return value;
  };
  id->Data1 = number(0, 4);
  id->Data2 = static_cast<std::uint16_t>(number(4, 2));
  id->Data3 = static_cast<std::uint16_t>(number(6, 2));
  std::copy(bytes.begin() + 8, bytes.end(), id->Data4);
  return S_OK;
}

HRESULT WINAPI CoCreateInstance(REFCLSID id, LPUNKNOWN, DWORD, REFIID interface, LPVOID* object) {
  *object = nullptr;
  if (initialized == 0) return CO_E_NOTINITIALIZED;
  ComFactory factory;
  {
    std::lock_guard lock(TheClasses().mutex);
    const auto found = TheClasses().factories.find(KeyOf(id));
    if (found == TheClasses().factories.end()) return REGDB_E_CLASSNOTREG;
    factory = found->second;
  }
  return factory(interface, object);
}
