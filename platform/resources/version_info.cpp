#include <windows.h>
#include <winver.h>

#include <algorithm>
#include <filesystem>

#include "platform/kernel/fail.h"
#include "platform/kernel/module_files.h"
#include "platform/resources/module_resources.h"
#include "platform/text.h"

namespace portwise::platform {
namespace {

constexpr WORD kVersionType = 16;
constexpr WORD kOnlyVersion = 1;

/// A node of the tree of a version resource: three words, the key with its NUL, the value, the children; value and
/// children begin at multiples of 4 from the start of the resource. All within `end`.
struct Node {
  std::u16string key;
  bool isText = false;
  std::uint64_t value = 0, valueSize = 0;
  std::uint64_t children = 0, end = 0;
};

constexpr std::uint64_t RoundUp(std::uint64_t offset) { return (offset + 3) & ~std::uint64_t{3}; }

/// False when there is no whole node between `offset` and `end`.
bool ReadNode(std::string_view block, std::uint64_t offset, std::uint64_t end, Node* node) {
  struct {
    WORD length, valueLength, type;
  } header;
  const ByteView view(block.substr(0, end));
  if (!view.Read(offset, &header) || header.length < sizeof header || header.length > end - offset) return false;
  node->end = offset + header.length;
  node->key.clear();
  std::uint64_t next = offset + sizeof header;
  for (WCHAR unit = 0;; node->key += unit) {
    if (next + sizeof unit > node->end || !view.Read(next, &unit)) return false;
    next += sizeof unit;
    if (unit == 0) break;
  }
  node->isText = header.type == 1;
  node->value = std::min(RoundUp(next), node->end);
  const std::uint64_t size = header.valueLength * (node->isText ? sizeof(WCHAR) : 1);
  node->valueSize = std::min(size, node->end - node->value);
  node->children = RoundUp(node->value + node->valueSize);
  return true;
}

/// The child of that key, in any case of letters.
bool FindChild(std::string_view block, const Node& parent, std::u16string_view key, Node* child) {
  const std::u16string folded = FoldCase(key);
  for (std::uint64_t offset = parent.children; ReadNode(block, offset, parent.end, child);
       offset = RoundUp(child->end)) {
    if (FoldCase(child->key) == folded) return true;
  }
  return false;
}

/// The version resource of a module, by its name; false with the last error set.
bool FindVersion(LPCWSTR name, std::shared_ptr<const ResourceFile>* file, std::string_view* block) {
  std::error_code error;
  for (const std::string& path : ModuleFiles(name ? name : u"")) {
    if (!std::filesystem::is_regular_file(path, error)) continue;
    *file = ResourcesOfFile(path);
    const void* entry = *file ? (*file)->FindEntry(kVersionType, kOnlyVersion, nullptr) : nullptr;
    if (!entry) return false;
    WORD length = 0;
    // The block tells its own length, which counts for whoever reads it later.
    if ((*file)->EntryBytes(entry, block) && ByteView(*block).Read(0, &length) && length <= block->size()) {
      *block = block->substr(0, length);
      return length > 0 || Fail(ERROR_RESOURCE_DATA_NOT_FOUND);
    }
    return Fail(ERROR_RESOURCE_DATA_NOT_FOUND);
  }
  return Fail(ERROR_FILE_NOT_FOUND);
}

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR name, LPDWORD handle) {
  std::shared_ptr<const ResourceFile> file;
  std::string_view block;
  if (handle) *handle = 0;
  return FindVersion(name, &file, &block) ? static_cast<DWORD>(block.size()) : 0;
}

BOOL WINAPI GetFileVersionInfoW(LPCWSTR name, DWORD, DWORD size, LPVOID buffer) {
  std::shared_ptr<const ResourceFile> file;
  std::string_view block;
  if (!buffer || size < sizeof(WORD)) return Fail(ERROR_INSUFFICIENT_BUFFER);
  if (!FindVersion(name, &file, &block)) return FALSE;
  const auto copied = static_cast<WORD>(std::min<std::size_t>(size, block.size()));
  std::memcpy(buffer, block.data(), copied);
  std::memcpy(buffer, &copied, sizeof copied);
  return TRUE;
}

BOOL WINAPI VerQueryValueW(LPCVOID buffer, LPCWSTR path, LPVOID* value, PUINT length) {
  WORD size = 0;
  if (!buffer || !path || !value) return Fail(ERROR_INVALID_PARAMETER);
  std::memcpy(&size, buffer, sizeof size);
  const std::string_view block(static_cast<const char*>(buffer), size);
  Node node, child;
  bool found = ReadNode(block, 0, size, &node);
  for (std::u16string_view rest = path; found && !rest.empty();) {
    const std::u16string_view key = rest.substr(0, rest.find(u'\\'));
    rest.remove_prefix(std::min(key.size() + 1, rest.size()));
    if (key.empty()) continue;
    found = FindChild(block, node, key, &child);
    node = child;
  }
  if (!found) return Fail(ERROR_RESOURCE_TYPE_NOT_FOUND);
  *value = const_cast<char*>(block.data() + node.value);
  if (length) *length = static_cast<UINT>(node.isText ? node.valueSize / sizeof(WCHAR) : node.valueSize);
  return TRUE;
}
