#include "settings/registry_importer.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "core/hex.h"
#include "settings/registry_text.h"

namespace portwise {
namespace {

/// The key of a header's native path, in numeric-root form.
OString HeaderKey(WideView nativePath) {
  OString key = NativeToInternal(nativePath);
  return key.TrimRight("/");
}

/// The text inside a header's brackets. No path begins with a bracket but a key's name may end with one, so as many are
/// taken from the end as stand in front.
WideView WithoutBrackets(WideView header) {
  size_t count = std::min(header.find_first_not_of('['), header.size());
  header.remove_prefix(count);
  for (; count > 0 && header.ends_with(WCHAR(']')); --count) header.remove_suffix(1);
  return header;
}

}  // namespace

void RegistryImporter::Take(WideView line) {
  line.remove_prefix(std::min(line.find_first_not_of(TEXT(" \t")), line.size()));
  const WideView text = line.substr(0, line.find_last_not_of(TEXT(" \t\r\n\\")) + 1);
  if (text.empty()) {
    DropPending();
    place_ = Place::kOutside;
  } else if (text.front() == '[') {
    DropPending();
    TakeHeader(text);
  } else if (text.front() != ';') {  // a comment
    TakeValueText(text, line.find(WCHAR('\\'), text.size()) != WideView::npos);
  }
}

int RegistryImporter::Finish() {
  DropPending();
  return skipped_;
}

void RegistryImporter::TakeHeader(WideView header) {
  const WideView path = WithoutBrackets(header);
  // A text with a line end in it can look like a header, but its backslashes are doubled.
  if (path.find(TEXT("\\\\")) != WideView::npos) {
    place_ = Place::kInUnusableKey;
    ++skipped_;
    return;
  }
  place_ = Place::kOutside;
  if (!path.empty() && path.front() == '-') {
    DeleteKeyOf(HeaderKey(path.substr(std::min(path.find_first_not_of('-'), path.size()))));
    return;
  }
  const OString key = HeaderKey(path);
  if (!HasNumericRoot(key) || !registry_.OpenKey(key, true)) {
    place_ = Place::kInUnusableKey;
    ++skipped_;
    return;
  }
  registry_.SetBasePath(key);
  if (replaceKeys_) registry_.DeleteMatching("*");
  place_ = Place::kInKey;
}

void RegistryImporter::DeleteKeyOf(const OString& key) {
  const bool known = HasNumericRoot(key) && key.Find(WCHAR(0)) < 0;
  if (!known || (registry_.GetKeyInfo(key) && !registry_.Delete(key, true))) ++skipped_;
}

void RegistryImporter::TakeValueText(WideView text, bool backslash) {
  // No value goes on with a quote: the one before broke off.
  if (text.front() == '"') DropPending();
  if (place_ != Place::kInKey || (text.front() != '"' && pendingLines_ == 0)) {
    ++skipped_;
    return;
  }
  pending_.append(text);
  ++pendingLines_;
  // After a long name not even the first byte may have found room on the line.
  if (text.back() == ',' || (backslash && text.back() == ':')) return;
  if (!ApplyValue(pending_)) skipped_ += pendingLines_;
  pending_.clear();
  pendingLines_ = 0;
}

void RegistryImporter::DropPending() {
  OString name;
  WideView data;
  const bool text = SplitValueLine(pending_, &name, &data) && data.starts_with(WCHAR('"'));
  if (!text || !ApplyValue(pending_)) skipped_ += pendingLines_;
  pending_.clear();
  pendingLines_ = 0;
}

bool RegistryImporter::ApplyValue(WideView text) const {
  OString name;
  WideView data;
  if (!SplitValueLine(text, &name, &data) || name.Length() > ORegistry::kMaxNameUnits) return false;
  const OString path = ValuePath(name);
  if (data.starts_with(WCHAR('"'))) {
    data.remove_prefix(1);
    if (data.ends_with(WCHAR('"'))) data.remove_suffix(1);
    return registry_.SetString(path, UnescapeText(data));
  }
  constexpr WideView kNumber = TEXT("dword:");
  if (data.starts_with(kNumber)) {
    const WideView digits = data.substr(kNumber.size(), 8);
    const auto end = std::find_if(digits.begin(), digits.end(), [](WCHAR digit) { return HexValue(digit) < 0; });
    DWORD number = 0;
    return DecodeHexNumber(digits.substr(0, static_cast<size_t>(end - digits.begin())), &number) &&
           registry_.SetDword(path, number);
  }
  return data.starts_with(TEXT("hex")) && ApplyBytes(path, data.substr(3));
}

bool RegistryImporter::ApplyBytes(const OString& path, WideView data) const {
  const size_t colon = data.find(WCHAR(':'));
  std::string bytes;
  if (colon == WideView::npos || !ParseByteList(data.substr(colon + 1), &bytes)) return false;
  if (!data.starts_with(TEXT("(7)"))) {
    const auto size = static_cast<DWORD>(bytes.size());
    return registry_.SetBinary(path, bytes.data(), size) == static_cast<int>(size);
  }
  WideString units(bytes.size() / sizeof(WCHAR), WCHAR());
  std::memcpy(units.data(), bytes.data(), units.size() * sizeof(WCHAR));
  OStringArray strings;
  strings.FromWideBuffer(units, ListLayout::NulTerminated);
  return registry_.SetMultiString(path, strings);
}

bool ORegistry::Import(const OStringArray& lines, DWORD flags, int* skipped) {
  RegistryImporter importer(*this, (flags & kReplaceKeys) != 0);
  for (const OString& line : lines) importer.Take(line.View());
  const int count = importer.Finish();
  if (skipped) *skipped = count;
  return true;
}

}  // namespace portwise
