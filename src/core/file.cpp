#include "core/file.h"

#include <algorithm>

namespace portwise {
namespace {

constexpr size_t kLargestWrite = 1u << 30;

DWORD ShareMode(DWORD flags) {
  switch (flags & OFile::kShareMask) {
    case OFile::kShareNone:
      return 0;
    case OFile::kShareRead:
      return FILE_SHARE_READ;
    case OFile::kShareWrite:
      return FILE_SHARE_WRITE;
    default:
      return FILE_SHARE_READ | FILE_SHARE_WRITE;
  }
}

DWORD Disposition(DWORD flags) {
  const bool truncate = (flags & OFile::kReadWrite) && !(flags & OFile::kAppend);
  if (flags & OFile::kCreate) return truncate ? CREATE_ALWAYS : OPEN_ALWAYS;
  return truncate ? TRUNCATE_EXISTING : OPEN_EXISTING;
}

}  // namespace

bool OFile::Open(const OString& path, DWORD flags) {
  Close();
  const DWORD access = flags & kReadWrite ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ;
  file_.Reset(
      CreateFileW(path.Wide(), access, ShareMode(flags), nullptr, Disposition(flags), FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file_) {
    file_.Detach();
    return false;
  }
  if (flags & kAppend) {
    LARGE_INTEGER distance = {};
    if (!SetFilePointerEx(file_.Get(), distance, nullptr, FILE_END)) {
      file_.Reset();
      return false;
    }
  }
  return true;
}

bool OFile::Close() {
  const bool delivered = Flush();
  file_.Reset();
  return delivered;
}

LONGLONG OFile::Size() {
  LARGE_INTEGER size = {};
  if (!file_ || !Flush() || !GetFileSizeEx(file_.Get(), &size)) return -1;
  return size.QuadPart;
}

bool OFile::Truncate(LONGLONG size) {
  LARGE_INTEGER end;
  end.QuadPart = size;
  Discard();
  return file_ && SetFilePointerEx(file_.Get(), end, nullptr, FILE_BEGIN) && SetEndOfFile(file_.Get());
}

bool OFile::WriteBytes(const void* bytes, size_t size) {
  if (!file_) return false;
  const auto* next = static_cast<const BYTE*>(bytes);
  while (size > 0) {
    DWORD written = 0;
    const auto part = static_cast<DWORD>(std::min(size, kLargestWrite));
    if (!WriteFile(file_.Get(), next, part, &written, nullptr) || written == 0) return false;
    next += written;
    size -= written;
  }
  return true;
}

LONG OFile::ReadBytes(void* buffer, DWORD size) {
  DWORD read = 0;
  if (!file_ || !ReadFile(file_.Get(), buffer, size, &read, nullptr)) return -1;
  return static_cast<LONG>(read);
}

}  // namespace portwise
