#include "core/ostring.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>

#include "core/ascii_case.h"

namespace portwise {
namespace {

constexpr WCHAR kEmpty[] = {0};

int CompareNoCaseUnits(WideView left, WideView right) {
  const size_t common = std::min(left.size(), right.size());
  for (size_t i = 0; i < common; ++i) {
    const WCHAR a = LowerAscii(left[i]), b = LowerAscii(right[i]);
    if (a != b) return a < b ? -1 : 1;
  }
  return left.size() == right.size() ? 0 : left.size() < right.size() ? -1 : 1;
}

int Position(size_t found) { return found == WideView::npos ? -1 : static_cast<int>(found); }

}  // namespace

/// The shared text. Immutable but for the 8-bit form, which the first reader that needs it publishes.
struct OString::Text {
  volatile LONG references = 1;
  UINT codePage = kCodePageAnsi;
  WideString wide;
  std::atomic<std::string*> narrow{nullptr};

  ~Text() { delete narrow.load(std::memory_order_relaxed); }

  const std::string& Narrow() {
    std::string* known = narrow.load(std::memory_order_acquire);
    if (known) return *known;
    auto made = std::make_unique<std::string>(ToNarrow(wide, codePage));
    if (narrow.compare_exchange_strong(known, made.get(), std::memory_order_acq_rel)) return *made.release();
    return *known;
  }
};

OString::Text* OString::NewText(WideView text, UINT codePage) {
  auto made = std::make_unique<Text>();
  made->codePage = codePage;
  made->wide.assign(text);
  return made.release();
}

void OString::Release(Text* text) {
  if (text && InterlockedDecrement(&text->references) == 0) delete text;
}

OString::OString(const WCHAR* text) : OString(text ? WideView(text) : WideView()) {}

OString::OString(WideView text) {
  if (!text.empty()) text_ = NewText(text, kCodePageAnsi);
}

OString::OString(const char* text, UINT codePage)
    : OString(text ? std::string_view(text) : std::string_view(), codePage) {}

OString::OString(std::string_view text, UINT codePage) {
  if (!text.empty() || codePage != kCodePageAnsi) text_ = NewText(ToWide(text, codePage), codePage);
}

OString::OString(const OString& other) noexcept : text_(other.text_) {
  if (text_) InterlockedIncrement(&text_->references);
}

OString& OString::operator=(const OString& other) noexcept {
  if (other.text_) InterlockedIncrement(&other.text_->references);
  Release(text_);
  text_ = other.text_;
  return *this;
}

OString& OString::operator=(OString&& other) noexcept {
  std::swap(text_, other.text_);
  return *this;
}

OString::~OString() { Release(text_); }

OString OString::FromInt(LONGLONG value) { return OString(std::string_view(std::to_string(value))); }

OString OString::FromUnsigned(ULONGLONG value) { return OString(std::string_view(std::to_string(value))); }

int OString::Length() const { return text_ ? static_cast<int>(text_->wide.size()) : 0; }

void OString::Clear() { Assign(WideView()); }

const WCHAR* OString::Wide() const { return text_ ? text_->wide.c_str() : kEmpty; }

WideView OString::View() const { return text_ ? WideView(text_->wide) : WideView(); }

const char* OString::Narrow() const { return text_ ? text_->Narrow().c_str() : ""; }

std::string_view OString::NarrowView() const { return text_ ? std::string_view(text_->Narrow()) : std::string_view(); }

UINT OString::CodePage() const { return text_ ? text_->codePage : kCodePageAnsi; }

void OString::SetCodePage(UINT codePage) {
  if (codePage == CodePage()) return;
  Text* made = NewText(View(), codePage);
  Release(text_);
  text_ = made;
}

WCHAR OString::operator[](int index) const {
  return index >= 0 && index < Length() ? text_->wide[static_cast<size_t>(index)] : WCHAR();
}

/// The code page stays; `text` may be a part of this string's own text.
void OString::Assign(WideView text) {
  Text* made = text.empty() && CodePage() == kCodePageAnsi ? nullptr : NewText(text, CodePage());
  Release(text_);
  text_ = made;
}

OString& OString::operator+=(const OString& other) {
  if (other.IsEmpty()) return *this;
  // Read with a barrier: what another thread did with the text before it let go of it comes first.
  const bool alone = text_ && InterlockedCompareExchange(&text_->references, 1, 1) == 1;
  if (alone && text_ != other.text_) {
    delete text_->narrow.exchange(nullptr);
    text_->wide.append(other.View());
  } else {
    WideString joined(View());
    joined.append(other.View());
    Assign(joined);
  }
  return *this;
}

OString& OString::operator+=(WCHAR unit) { return *this += OString(WideView(&unit, 1)); }

int OString::Compare(const OString& other) const {
  const int order = View().compare(other.View());
  return order < 0 ? -1 : order > 0 ? 1 : 0;
}

int OString::CompareNoCase(const OString& other) const { return CompareNoCaseUnits(View(), other.View()); }

bool OString::StartsWithNoCase(const OString& prefix) const {
  return Length() >= prefix.Length() &&
         CompareNoCaseUnits(View().substr(0, static_cast<size_t>(prefix.Length())), prefix.View()) == 0;
}

int OString::Find(WCHAR unit, int start) const {
  return Position(View().find(unit, static_cast<size_t>(std::max(start, 0))));
}

int OString::Find(const OString& text, int start) const {
  return Position(View().find(text.View(), static_cast<size_t>(std::max(start, 0))));
}

int OString::ReverseFind(WCHAR unit) const { return Position(View().rfind(unit)); }

int OString::ReverseFindAny(const OString& set) const { return Position(View().find_last_of(set.View())); }

int OString::Replace(const OString& from, const OString& to) {
  if (from.IsEmpty()) return 0;
  const WideView text = View();
  WideString result;
  int count = 0;
  size_t at = 0;
  for (size_t found; (found = text.find(from.View(), at)) != WideView::npos; ++count) {
    result.append(text, at, found - at).append(to.View());
    at = found + from.View().size();
  }
  if (count > 0) Assign(result.append(text, at));
  return count;
}

OString OString::Left(int length) const { return Mid(0, std::max(length, 0)); }

OString OString::Mid(int start, int length) const {
  const int from = std::clamp(start, 0, Length());
  const int count = length < 0 ? Length() - from : std::min(length, Length() - from);
  if (from == 0 && count == Length()) return *this;
  OString result(View().substr(static_cast<size_t>(from), static_cast<size_t>(count)));
  if (CodePage() != kCodePageAnsi) result.SetCodePage(CodePage());
  return result;
}

OString OString::Right(int length) const { return Mid(Length() - std::clamp(length, 0, Length())); }

OString& OString::Trim(const OString& set) { return TrimRight(set).TrimLeft(set); }

OString& OString::TrimLeft(const OString& set) {
  const size_t kept = View().find_first_not_of(set.View());
  if (kept != 0) Assign(kept == WideView::npos ? WideView() : View().substr(kept));
  return *this;
}

OString& OString::TrimRight(const OString& set) {
  const size_t last = View().find_last_not_of(set.View());
  const size_t kept = last == WideView::npos ? 0 : last + 1;
  if (kept != View().size()) Assign(View().substr(0, kept));
  return *this;
}

OString OString::ToLower() const {
  if (IsEmpty()) return *this;
  WideString lower(View());
  LCMapStringW(LOCALE_USER_DEFAULT, LCMAP_LOWERCASE, Wide(), Length(), lower.data(), Length());
  OString result(lower);
  if (CodePage() != kCodePageAnsi) result.SetCodePage(CodePage());
  return result;
}

}  // namespace portwise
