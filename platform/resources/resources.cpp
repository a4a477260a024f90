#include <windows.h>

#include <algorithm>
#include <charconv>

#include "platform/kernel/copy_text.h"
#include "platform/resources/module_resources.h"
#include "platform/text.h"

namespace portwise::platform {
namespace {

/// A number, "#" and a number, or text.
ResourceName NameOf(LPCWSTR name) {
  if (IS_INTRESOURCE(name)) return static_cast<WORD>(reinterpret_cast<ULONG_PTR>(name));
  if (*name == u'#') {
    const std::string digits = ToUtf8(name + 1);
    WORD number = 0;
    const char* end = digits.data() + digits.size();
    if (const auto [stop, error] = std::from_chars(digits.data(), end, number); error == std::errc() && stop == end) {
      return number;
    }
  }
  return std::u16string(name);
}

HRSRC FindIn(HMODULE module, LPCWSTR type, LPCWSTR name, const WORD* language) {
  const auto file = ResourcesOfModule(module);
  const void* entry = file ? file->FindEntry(NameOf(type), NameOf(name), language) : nullptr;
  return static_cast<HRSRC>(const_cast<void*>(entry));
}

/// The bytes of a resource of the module; false with the last error set.
bool BytesOf(HMODULE module, HRSRC resource, std::string_view* bytes) {
  const auto file = ResourcesOfModule(module);
  if (!file) return false;
  if (file->EntryBytes(resource, bytes)) return true;
  SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
  return false;
}

/// The text at `position` of a block of strings, each a count of units and the units. Null when it is empty or the
/// block ends before it.
const WCHAR* TextInBlock(std::string_view bytes, UINT position, WORD* length) {
  const ByteView block(bytes);
  std::uint64_t offset = 0;
  *length = 0;
  for (UINT index = 0; block.Read(offset, length); ++index) {
    std::string_view text;
    if (index == position && *length > 0 && block.Part(offset + sizeof *length, *length * sizeof(WCHAR), &text)) {
      return reinterpret_cast<const WCHAR*>(text.data());
    }
    if (index == position) break;
    offset += sizeof *length + *length * sizeof(WCHAR);
  }
  return nullptr;
}

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

HRSRC WINAPI FindResourceW(HMODULE module, LPCWSTR name, LPCWSTR type) { return FindIn(module, type, name, nullptr); }

HRSRC WINAPI FindResourceExW(HMODULE module, LPCWSTR type, LPCWSTR name, WORD language) {
  return FindIn(module, type, name, language == 0 ? nullptr : &language);
}

HGLOBAL WINAPI LoadResource(HMODULE module, HRSRC resource) {
  std::string_view bytes;
  return BytesOf(module, resource, &bytes) ? const_cast<char*>(bytes.data()) : nullptr;
}

LPVOID WINAPI LockResource(HGLOBAL resource) { return resource; }

DWORD WINAPI SizeofResource(HMODULE module, HRSRC resource) {
  std::string_view bytes;
  return BytesOf(module, resource, &bytes) ? static_cast<DWORD>(bytes.size()) : 0;
}

int WINAPI LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int size) {
  constexpr UINT kBlock = 16;
  if (!buffer || size < 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  const HRSRC resource = FindResourceW(module, MAKEINTRESOURCEW((id & 0xFFFF) / kBlock + 1), RT_STRING);
  std::string_view block;
  WORD length = 0;
  const bool found = resource && BytesOf(module, resource, &block);
  const WCHAR* text = found ? TextInBlock(block, id % kBlock, &length) : nullptr;
  if (found && !text) SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
  if (size == 0) {
    std::memcpy(buffer, &text, sizeof text);
    return text ? length : 0;
  }
  const int copied = text ? std::min<int>(length, size - 1) : 0;
  if (copied > 0) std::memcpy(buffer, text, static_cast<std::size_t>(copied) * sizeof(WCHAR));
  buffer[copied] = 0;
  return copied;
}
