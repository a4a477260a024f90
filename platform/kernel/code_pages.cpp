#include <windows.h>

#include "platform/kernel/fail.h"
#include "platform/kernel/iconv_page.h"
#include "platform/kernel/text_target.h"
#include "platform/kernel/utf.h"

namespace portwise::platform {
namespace {

bool IsUtf8(UINT codePage) { return codePage == CP_ACP || codePage == CP_UTF8; }

/// Decodes the text; false when the code page is unknown.
bool Decode(UINT codePage, std::string_view text, TextTarget<WCHAR>* out, bool* malformed) {
  const auto put = [out](WCHAR unit) { out->Put(unit); };
  if (!IsUtf8(codePage)) return DecodePage(codePage, text, put, malformed);
  for (std::size_t i = 0; i < text.size();) PutUtf16(NextCharacter(text, &i, malformed), put);
  return true;
}

/// Encodes the text; false when the code page is unknown. `lost` is set when the page lacks a character.
bool Encode(UINT codePage, std::u16string_view text, std::string_view replacement, TextTarget<CHAR>* out, bool* lost) {
  const auto put = [out](CHAR byte) { out->Put(byte); };
  if (!IsUtf8(codePage)) return EncodePage(codePage, text, replacement, put, lost);
  for (std::size_t i = 0; i < text.size();) PutUtf8(NextCharacter(text, &i, lost), put);
  return true;
}

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

UINT WINAPI GetACP() { return CP_UTF8; }

int WINAPI MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR source, int bytes, LPWSTR target, int units) {
  std::string_view text;
  if (!SourceText(source, bytes, &text) || !IsTarget(target, units)) return Fail(ERROR_INVALID_PARAMETER);
  if (IsUtf8(codePage) && (flags & ~MB_ERR_INVALID_CHARS) != 0) return Fail(ERROR_INVALID_FLAGS);
  TextTarget<WCHAR> out(target, units);
  bool malformed = false;
  if (!Decode(codePage, text, &out, &malformed)) return Fail(ERROR_INVALID_PARAMETER);
  if (malformed && (flags & MB_ERR_INVALID_CHARS)) return Fail(ERROR_NO_UNICODE_TRANSLATION);
  return out.Result();
}

int WINAPI WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR source, int units, LPSTR target, int bytes,
                               LPCSTR defaultChar, LPBOOL usedDefaultChar) {
  std::u16string_view text;
  if (!SourceText(source, units, &text) || !IsTarget(target, bytes)) return Fail(ERROR_INVALID_PARAMETER);
  if (IsUtf8(codePage) && flags != 0) return Fail(ERROR_INVALID_FLAGS);
  // UTF-8 by its name has every character; as the ANSI code page it takes what any ANSI code page takes.
  if (codePage == CP_UTF8 && (defaultChar || usedDefaultChar)) return Fail(ERROR_INVALID_PARAMETER);
  TextTarget<CHAR> out(target, bytes);
  bool lost = false;
  if (!Encode(codePage, text, defaultChar ? defaultChar : "?", &out, &lost)) return Fail(ERROR_INVALID_PARAMETER);
  if (usedDefaultChar) *usedDefaultChar = lost;
  return out.Result();
}
