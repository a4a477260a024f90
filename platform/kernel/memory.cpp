#include <windows.h>

#include <algorithm>
#include <cstdlib>

HLOCAL WINAPI LocalAlloc(UINT flags, SIZE_T bytes) {
  const SIZE_T size = std::max<SIZE_T>(bytes, 1);
  void* memory = flags & LMEM_ZEROINIT ? std::calloc(size, 1) : std::malloc(size);
  if (!memory) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return memory;
}

HLOCAL WINAPI LocalFree(HLOCAL memory) {
  std::free(memory);
  return nullptr;
}
