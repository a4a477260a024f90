#include "xpml/general/variables.h"

#include <string>

namespace portwise {
namespace {

// Values up to here are read without a need for memory.
constexpr DWORD kShortValue = 80;

}  // namespace

void SetVariable(std::string_view name, std::string_view value) {
  SetEnvironmentVariableA(std::string(name).c_str(), std::string(value).c_str());
}

void SetVariable(std::string_view name, ULONGLONG value) { SetVariable(name, std::to_string(value)); }

void AppendVariable(std::string_view name, TextBuffer& text) {
  const std::string terminated(name);
  char shortValue[kShortValue];
  DWORD length = GetEnvironmentVariableA(terminated.c_str(), shortValue, kShortValue);
  if (length < kShortValue) {
    text.Append(shortValue, length);
    return;
  }
  const size_t before = text.Length();
  // Another thread may make the value longer in between.
  for (DWORD size = 0; length >= size;) {
    size = length;
    char* const content = text.Resize(before + size);
    if (!content) break;
    length = GetEnvironmentVariableA(terminated.c_str(), content + before, size);
    if (length < size) return text.Truncate(before + length);
  }
  text.Truncate(before);
}

}  // namespace portwise
