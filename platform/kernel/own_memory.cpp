#include "platform/kernel/own_memory.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace portwise::platform {
namespace {

/// For systems that forbid the call.
ssize_t ReadMemoryFile(const void* address, void* buffer, std::size_t size) {
  const int file = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
  if (file < 0) return 0;
  const ssize_t count = pread(file, buffer, size, reinterpret_cast<off_t>(address));
  close(file);
  return count;
}

}  // namespace

std::size_t ReadOwnMemory(const void* address, void* buffer, std::size_t size) {
  const iovec local{buffer, size};
  const iovec remote{const_cast<void*>(address), size};
  // Not through the C library's function, whose arguments an address sanitizer would check.
  ssize_t count = syscall(SYS_process_vm_readv, getpid(), &local, 1ul, &remote, 1ul, 0ul);
  if (count < 0) count = ReadMemoryFile(address, buffer, size);
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

}  // namespace portwise::platform
