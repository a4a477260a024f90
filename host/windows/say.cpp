#include "host/windows/say.h"

#include <cstdio>
#include <mutex>

namespace portwise {

void Say(const std::string& line) {
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

std::string ErrorText(DWORD error) { return "error " + std::to_string(error); }

std::string Shown(std::string_view bytes) {
  std::string shown;
  for (const char byte : bytes) {
    const auto code = static_cast<unsigned char>(byte);
    if (code >= ' ' && code != 127 && code != '\\') {
      shown += byte;
      continue;
    }
    char text[5];
    std::snprintf(text, sizeof text, "\\x%02X", code);
    shown += text;
  }
  return shown;
}

}  // namespace portwise
