#pragma once

#include <windows.h>

#include <functional>
#include <string_view>

namespace portwise::platform {

/// Decodes text of a code page other than UTF-8. Bytes that mean nothing there give U+FFFD each, an unfinished
/// character at the end a single one, and set `malformed`. False when the code page is unknown.
bool DecodePage(UINT codePage, std::string_view text, const std::function<void(WCHAR)>& put, bool* malformed);

/// Encodes text; characters that the page lacks, and lone surrogates, give `replacement` and set `lost`. False when the
/// code page is unknown.
bool EncodePage(UINT codePage, std::u16string_view text, std::string_view replacement,
                const std::function<void(CHAR)>& put, bool* lost);

}  // namespace portwise::platform
