#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "platform/kernel/copy_text.h"
#include "platform/kernel/fail.h"
#include "platform/text.h"

namespace portwise::platform {
namespace {

/// The host's name without its domain, or what PORTWISE_COMPUTER_NAME says, as a Windows computer name.
std::u16string ComputerName() {
  char host[256] = "localhost";
  const char* given = std::getenv("PORTWISE_COMPUTER_NAME");
  if (!given) gethostname(host, sizeof host - 1);
  std::u16string name = ToUtf16(given ? given : host);
  name.resize(std::min({name.size(), name.find(u'.'), std::size_t{MAX_COMPUTERNAME_LENGTH}}));
  std::transform(name.begin(), name.end(), name.begin(), UpperUnit);
  return name;
}

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

BOOL WINAPI GetComputerNameW(LPWSTR name, LPDWORD size) {
  if (!size) return Fail(ERROR_INVALID_PARAMETER);
  const std::u16string text = ComputerName();
  *size = CopyText(text, name, *size);
  return *size <= text.size() ? TRUE : Fail(ERROR_BUFFER_OVERFLOW);
}
