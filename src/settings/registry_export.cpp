#include <zlib.h>

#include <string>

#include "core/hex.h"
#include "settings/registry.h"
#include "settings/registry_text.h"

namespace portwise {
namespace {

void AppendAscii(WideString* line, std::string_view text) { line->append(text.begin(), text.end()); }

void AppendQuoted(WideString* line, const OString& text) {
  line->push_back('"');
  line->append(EscapeText(text).View());
  line->push_back('"');
}

OString Header(std::string_view opening, const OString& key) {
  return OString(opening) + InternalToNative(key) + OString("]");
}

/// The bytes of a list of texts as the registry lays it out.
std::string ListBytes(const OStringArray& strings) {
  const WideString buffer = strings.ToWideBuffer(ListLayout::NulTerminated);
  return std::string(reinterpret_cast<const char*>(buffer.data()), buffer.size() * sizeof(WCHAR));
}

/// The text of one value of the base key; nothing when the value cannot be read.
void ExportValue(const ORegistry& registry, const OString& name, OStringArray* lines) {
  const OString path = ValuePath(name);
  DWORD type = REG_NONE;
  DWORD size = 0;
  if (!registry.GetValueInfo(path, &type, &size)) return;
  WideString line;
  AppendQuoted(&line, name);
  line.push_back('=');
  if (type == REG_SZ) {
    if (size > ORegistry::kMaxTextBytes) return;
    AppendQuoted(&line, registry.GetString(path));
  } else if (type == REG_DWORD) {
    AppendAscii(&line, "dword:" + EncodeHexNumber(registry.GetDword(path), HexLetters::Lower));
  } else if (type == REG_MULTI_SZ) {
    OStringArray strings;
    if (!registry.GetMultiString(path, &strings) && size > 0) return;
    AppendAscii(&line, "hex(7):");
    AppendByteList(ListBytes(strings), &line, lines);
  } else {
    std::string bytes(size, '\0');
    const int length = registry.GetBinary(path, bytes.data(), size);
    if (length < 0) return;
    bytes.resize(static_cast<size_t>(length));
    AppendAscii(&line, type == REG_BINARY ? "hex:" : "hex(" + std::to_string(type) + "):");
    AppendByteList(bytes, &line, lines);
  }
  lines->Append(line);
}

/// The checksum of the lines from `first` on: their UTF-16 units, each line with its NUL.
DWORD Checksum(const OStringArray& lines, int first) {
  uLong checksum = 0;
  for (int i = first; i < lines.Size(); ++i) {
    const auto size = (static_cast<size_t>(lines[i].Length()) + 1) * sizeof(WCHAR);
    checksum = crc32_z(checksum, reinterpret_cast<const Bytef*>(lines[i].Wide()), size);
  }
  return static_cast<DWORD>(checksum);
}

}  // namespace

bool ORegistry::Export(const OString& path, OStringArray* lines, DWORD flags) {
  OString key;
  if (!ResolveKey(path, &key)) return false;
  const int first = lines->Size();
  if (flags & kDeleteFirst) {
    lines->Append(Header("[-", key));
    lines->Append(OString());
  }
  lines->Append(Header("[", key));
  SetBasePath(key);
  OStringArray names;
  EnumValues(key, &names);
  for (const OString& name : names) {
    if (name != kChecksumName) ExportValue(*this, name, lines);
  }
  lines->Append(OString());
  names.Clear();
  EnumKeys(key, &names);
  for (const OString& name : names) Export(ChildPath(key, name), lines, 0);
  if (flags & kStoreChecksum) SetDword(ChildPath(key, kChecksumName), Checksum(*lines, first));
  return true;
}

}  // namespace portwise
