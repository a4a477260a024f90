#include <sddl.h>
#include <windows.h>

#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/kernel/fail.h"
#include "platform/registry/security_layout.h"
#include "platform/text.h"

namespace portwise::platform {
namespace {

struct Word {
  std::string_view letters;
  DWORD value;
};

constexpr Word kRights[] = {
    {"KA", KEY_ALL_ACCESS}, {"KR", KEY_READ},     {"KW", KEY_WRITE},
    {"GA", 0x10000000},     {"GR", GENERIC_READ}, {"GW", GENERIC_WRITE},
};
constexpr Word kEntryTypes[] = {{"A", kAllow}, {"D", kDeny}};
constexpr Word kEntryFlags[] = {
    {"CI", kContainerInherit}, {"OI", kObjectInherit},  {"NP", kNoPropagate},
    {"IO", kInheritOnly},      {"ID", kInheritedEntry},
};
constexpr Word kListFlags[] = {{"P", kListProtected}, {"AI", kInherited}, {"AR", kInheritRequested}};

/// Takes words off the front of `text` until it is empty or begins with none, and adds their values up.
template <std::size_t count>
DWORD TakeWords(std::string_view& text, const Word (&words)[count]) {
  DWORD value = 0;
  for (bool taken = true; taken;) {
    taken = false;
    for (const Word& word : words) {
      if (!text.starts_with(word.letters)) continue;
      text.remove_prefix(word.letters.size());
      value |= word.value;
      taken = true;
    }
  }
  return value;
}

std::optional<DWORD> ParseRights(std::string_view text) {
  if (text.starts_with("0x") || text.starts_with("0X")) {
    DWORD value = 0;
    text.remove_prefix(2);
    if (text.empty() || text.size() > 8) return std::nullopt;
    for (const char digit : text) {
      const std::size_t position = std::string_view("0123456789abcdef").find(static_cast<char>(digit | 0x20));
      if (position == std::string_view::npos) return std::nullopt;
      value = value * 16 + static_cast<DWORD>(position);
    }
    return value;
  }
  const DWORD value = TakeWords(text, kRights);
  if (!text.empty()) return std::nullopt;
  return value;
}

/// Appends the entry "type;flags;rights;object;inherited object;trustee" to `list`. False when it is malformed.
bool AppendEntry(std::string_view text, std::string& list) {
  std::string_view fields[6];
  for (int index = 0; index < 6; ++index) {
    const std::size_t end = text.find(';');
    if ((end == std::string_view::npos) != (index == 5)) return false;
    fields[index] = text.substr(0, end);
    text.remove_prefix(index == 5 ? text.size() : end + 1);
  }
  const Word* type = nullptr;
  for (const Word& word : kEntryTypes) {
    if (fields[0] == word.letters) type = &word;
  }
  const DWORD flags = TakeWords(fields[1], kEntryFlags);
  const std::optional<DWORD> rights = ParseRights(fields[2]);
  if (type == nullptr || !fields[1].empty() || !rights || !fields[3].empty() || !fields[4].empty()) return false;
  for (const Trustee& trustee : kTrustees) {
    if (fields[5] != trustee.letters) continue;
    const EntryHeader entry{static_cast<BYTE>(type->value), static_cast<BYTE>(flags),
                            static_cast<WORD>(sizeof(EntryHeader) + trustee.size), *rights};
    list.append(reinterpret_cast<const char*>(&entry), sizeof entry);
    list.append(reinterpret_cast<const char*>(trustee.bytes), trustee.size);
    return true;
  }
  return false;
}

/// The descriptor's bytes, or an error code.
DWORD ParseDescriptor(std::string_view text, std::string& descriptor) {
  DescriptorHeader header{kDescriptorRevision, 0, kSelfRelative, 0, 0, 0, 0};
  std::string entries;
  WORD count = 0;
  if (!text.empty()) {
    if (!text.starts_with("D:")) return ERROR_INVALID_PARAMETER;
    text.remove_prefix(2);
    header.control = static_cast<WORD>(header.control | kListPresent | TakeWords(text, kListFlags));
    header.list = sizeof header;
    while (!text.empty()) {
      const std::size_t end = text.find(')');
      if (text.front() != '(' || end == std::string_view::npos) return ERROR_INVALID_PARAMETER;
      if (!AppendEntry(text.substr(1, end - 1), entries)) return ERROR_INVALID_ACL;
      text.remove_prefix(end + 1);
      ++count;
      if (entries.size() > 0xFFFF - sizeof(ACL)) return ERROR_INVALID_ACL;
    }
  }
  descriptor.assign(reinterpret_cast<const char*>(&header), sizeof header);
  if (header.list != 0) {
    const ACL list{kListRevision, 0, static_cast<WORD>(sizeof(ACL) + entries.size()), count, 0};
    descriptor.append(reinterpret_cast<const char*>(&list), sizeof list);
    descriptor += entries;
  }
  return ERROR_SUCCESS;
}

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

BOOL WINAPI ConvertStringSecurityDescriptorToSecurityDescriptorW(LPCWSTR text, DWORD revision,
                                                                 PSECURITY_DESCRIPTOR* descriptor, PULONG size) {
  if (text == nullptr || descriptor == nullptr || revision != SDDL_REVISION_1) return Fail(ERROR_INVALID_PARAMETER);
  std::string bytes;
  if (const DWORD error = ParseDescriptor(ToUtf8(text), bytes); error != ERROR_SUCCESS) return Fail(error);
  void* memory = LocalAlloc(LMEM_FIXED, bytes.size());
  if (memory == nullptr) return Fail(ERROR_NOT_ENOUGH_MEMORY);
  std::memcpy(memory, bytes.data(), bytes.size());
  *descriptor = memory;
  if (size != nullptr) *size = static_cast<ULONG>(bytes.size());
  return TRUE;
}

BOOL WINAPI GetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, LPBOOL present, PACL* dacl, LPBOOL defaulted) {
  if (descriptor == nullptr || present == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  DescriptorHeader header;
  std::memcpy(&header, descriptor, sizeof header);
  if (header.revision != kDescriptorRevision || !(header.control & kSelfRelative)) {
    return Fail(ERROR_INVALID_SECURITY_DESCR);
  }
  *present = (header.control & kListPresent) != 0;
  if (!*present) return TRUE;
  if (dacl != nullptr) {
    *dacl = header.list == 0 ? nullptr : reinterpret_cast<PACL>(static_cast<BYTE*>(descriptor) + header.list);
  }
  if (defaulted != nullptr) *defaulted = (header.control & kListDefaulted) != 0;
  return TRUE;
}
