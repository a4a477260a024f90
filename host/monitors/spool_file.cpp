#include "host/monitors/spool_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "platform/home.h"
#include "platform/kernel/errno_map.h"

namespace portwise {

namespace {

bool FailWithErrno() {
  SetLastError(platform::ErrorOfErrno(errno));
  return false;
}

}  // namespace

bool SpoolFile::Begin() {
  Close();
  std::string path = platform::Home() + "/document-XXXXXX";
  file_ = platform::UniqueFd(mkostemp(path.data(), O_CLOEXEC));
  if (!file_) return FailWithErrno();
  unlink(path.c_str());
  return true;
}

bool SpoolFile::Append(const BYTE* data, DWORD size, DWORD* written) {
  while (*written < size) {
    const ssize_t taken = pwrite(file_.Get(), data + *written, size - *written, static_cast<off_t>(size_));
    if (taken < 0 && errno == EINTR) continue;
    if (taken < 0) return FailWithErrno();
    *written += static_cast<DWORD>(taken);
    size_ += static_cast<unsigned long long>(taken);
  }
  return true;
}

bool SpoolFile::Read(unsigned long long position, BYTE* data, DWORD size, DWORD* read) const {
  *read = 0;
  while (*read < size) {
    const ssize_t got = pread(file_.Get(), data + *read, size - *read, static_cast<off_t>(position + *read));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return FailWithErrno();
    if (got == 0) break;
    *read += static_cast<DWORD>(got);
  }
  return true;
}

void SpoolFile::Close() {
  file_ = platform::UniqueFd();
  size_ = 0;
}

}  // namespace portwise
