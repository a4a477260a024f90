#include <windows.h>

#include <algorithm>
#include <cstring>

#include "platform/error_text.h"
#include "platform/kernel/fail.h"

using namespace portwise::platform;

DWORD WINAPI FormatMessageA(DWORD flags, LPCVOID, DWORD messageId, DWORD, LPSTR buffer, DWORD size, void*) {
  constexpr DWORD kKnown = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS;
  const auto fail = [](DWORD error) { return static_cast<DWORD>(Fail(error)); };
  if (!(flags & FORMAT_MESSAGE_FROM_SYSTEM) || (flags & ~kKnown) || !buffer) return fail(ERROR_INVALID_PARAMETER);
  std::string text;
  if (!FindErrorText(messageId, &text)) return fail(ERROR_MR_MID_NOT_FOUND);
  text += "\r\n";
  if (flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) {
    // The size is then the least to allocate, and the buffer the place for its address.
    char* memory = static_cast<char*>(LocalAlloc(LMEM_FIXED, std::max<SIZE_T>(size, text.size() + 1)));
    if (!memory) return 0;
    std::memcpy(buffer, &memory, sizeof memory);
    buffer = memory;
  } else if (size <= text.size()) {
    return fail(ERROR_INSUFFICIENT_BUFFER);
  }
  std::memcpy(buffer, text.c_str(), text.size() + 1);
  return static_cast<DWORD>(text.size());
}
