#include "platform/spooler/packer.h"

#include <winspool.h>

#include <cstring>

namespace portwise::platform {

template <class Structure>
BOOL Packer<Structure>::Write(LPBYTE buffer, DWORD size, LPDWORD needed) {
  std::size_t fixed = structures_.size() * sizeof(Structure);
  std::size_t variable = characters_.size() * sizeof(WCHAR);
  *needed = static_cast<DWORD>(fixed + variable);
  if (fixed + variable == 0) return TRUE;
  if (!buffer || size < *needed) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return FALSE;
  }
  auto* characters = reinterpret_cast<LPWSTR>(buffer + fixed);
  for (const TextPlace& text : texts_) structures_[text.structure].*text.member = characters + text.offset;
  std::memcpy(buffer, structures_.data(), fixed);
  std::memcpy(buffer + fixed, characters_.data(), variable);
  return TRUE;
}

template class Packer<PRINTER_INFO_2W>;
template class Packer<JOB_INFO_1W>;

}  // namespace portwise::platform
