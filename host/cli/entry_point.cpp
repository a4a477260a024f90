#include "host/cli/entry_point.h"

#include "host/cli/client.h"
#include "platform/text.h"

namespace portwise {

EntryPoint::EntryPoint(const std::string& target) {
  const auto comma = target.rfind(',');
  const std::string library = target.substr(0, comma), name = target.substr(comma + 1);
  library_ = LoadLibraryW(platform::ToUtf16(library).c_str());
  if (!library_) throw CommandError("the library " + library + " cannot be loaded");
  function_ = GetProcAddress(library_, (name + "W").c_str());
  wide_ = function_ || name.ends_with('W');
  if (!function_) function_ = GetProcAddress(library_, name.c_str());
  if (!function_) throw CommandError(library + " has no entry point " + name);
}

void EntryPoint::Call(const std::string& commandLine, int show) const {
  using Wide = void(CALLBACK*)(HWND, HINSTANCE, LPWSTR, int);
  using Ansi = void(CALLBACK*)(HWND, HINSTANCE, LPSTR, int);
  void* const function = reinterpret_cast<void*>(function_);
  // The function may write into its command line.
  if (wide_) {
    std::u16string line = platform::ToUtf16(commandLine);
    return reinterpret_cast<Wide>(function)(nullptr, library_, line.data(), show);
  }
  std::string line = commandLine;
  return reinterpret_cast<Ansi>(function)(nullptr, library_, line.data(), show);
}

}  // namespace portwise
