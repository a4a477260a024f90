#pragma once

#include <windows.h>

#include <string_view>

namespace portwise {

/// The words for a status code of HTTP/1.1; "OK" for 200 and for any code without words of its own.
std::string_view ReasonPhrase(DWORD statusCode);

}  // namespace portwise
