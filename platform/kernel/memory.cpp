#include <windows.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

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

SIZE_T WINAPI VirtualQuery(LPCVOID address, MEMORY_BASIC_INFORMATION* region, SIZE_T size) {
  const auto wanted = reinterpret_cast<std::uintptr_t>(address);
  std::ifstream maps("/proc/self/maps");
  for (std::string line; size >= sizeof *region && std::getline(maps, line);) {
    std::uintptr_t begin = 0, end = 0;
    char readable = '-';
    if (std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR " %c", &begin, &end, &readable) != 3) break;
    if (wanted < begin || wanted >= end || readable != 'r') continue;
    *region = {reinterpret_cast<PVOID>(begin), end - begin, MEM_COMMIT};
    return sizeof *region;
  }
  SetLastError(ERROR_INVALID_PARAMETER);
  return 0;
}
