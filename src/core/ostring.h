#pragma once

#include <windows.h>

#include <compare>
#include <string_view>

#include "core/code_page.h"

namespace portwise {

/// Text as UTF-16 and, on demand, as bytes in the string's code page.
///
/// Copies share their text until one of them is written; the count of sharers is kept with interlocked operations, so
/// copies of one text may live in different threads. One OString object itself belongs to one thread at a time, but
/// any number of threads may read it at once. Positions and lengths are in UTF-16 units; -1 means not found.
class OString {
 public:
  OString() noexcept = default;
  /// Null gives the empty text.
  OString(const WCHAR* text);
  OString(WideView text);
  OString(const WideString& text) : OString(WideView(text)) {}
  /// The text's bytes are in `codePage`, which also becomes the code page of the 8-bit form.
  OString(const char* text, UINT codePage = kCodePageAnsi);
  OString(std::string_view text, UINT codePage = kCodePageAnsi);
  OString(const OString& other) noexcept;
  OString(OString&& other) noexcept : text_(other.text_) { other.text_ = nullptr; }
  OString& operator=(const OString& other) noexcept;
  OString& operator=(OString&& other) noexcept;
  ~OString();

  /// The decimal text of a number.
  static OString FromInt(LONGLONG value);
  static OString FromUnsigned(ULONGLONG value);

  int Length() const;
  bool IsEmpty() const { return Length() == 0; }
  void Clear();

  /// The text, NUL-terminated; valid until the string is written or destroyed.
  const WCHAR* Wide() const;
  WideView View() const;
  /// The 8-bit form in the string's code page, NUL-terminated; made when first asked for, and shared with the text.
  const char* Narrow() const;
  std::string_view NarrowView() const;
  /// The bytes of the text in another code page.
  std::string InCodePage(UINT codePage) const { return ToNarrow(View(), codePage); }
  UINT CodePage() const;
  /// The code page of the 8-bit form from now on; the text stays.
  void SetCodePage(UINT codePage);

  /// The unit at `index`; NUL outside the text.
  WCHAR operator[](int index) const;

  OString& operator+=(const OString& other);
  OString& operator+=(WCHAR unit);
  friend OString operator+(OString left, const OString& right) { return left += right; }

  /// By UTF-16 units. The second form ignores the case of a-z and A-Z only.
  int Compare(const OString& other) const;
  int CompareNoCase(const OString& other) const;
  bool EqualsNoCase(const OString& other) const { return CompareNoCase(other) == 0; }
  bool StartsWithNoCase(const OString& prefix) const;
  friend bool operator==(const OString& left, const OString& right) { return left.View() == right.View(); }
  friend std::strong_ordering operator<=>(const OString& left, const OString& right) {
    return left.Compare(right) <=> 0;
  }

  int Find(WCHAR unit, int start = 0) const;
  int Find(const OString& text, int start = 0) const;
  int ReverseFind(WCHAR unit) const;
  /// The last position of any unit of `set`.
  int ReverseFindAny(const OString& set) const;
  /// Replaces every occurrence, case-sensitively and without looking at what was put in; returns their number.
  int Replace(const OString& from, const OString& to);

  /// Parts of the text. A start outside it is moved to its nearer end, a length past its end is cut; -1 is the rest.
  OString Left(int length) const;
  OString Mid(int start, int length = -1) const;
  OString Right(int length) const;

  /// Removes units of `set` at both ends, the left end or the right end.
  OString& Trim(const OString& set);
  OString& TrimLeft(const OString& set);
  OString& TrimRight(const OString& set);

  /// Lower case by the user's default locale.
  OString ToLower() const;

 private:
  struct Text;

  static Text* NewText(WideView text, UINT codePage);
  static void Release(Text* text);
  void Assign(WideView text);

  Text* text_ = nullptr;
};

}  // namespace portwise
