#include "tests/windows/file_size_limit.h"

#include <atomic>

#include "tests/windows/stand_ins.h"

namespace portwise {
namespace {

std::atomic<long long> limit = 0;  // 0 is none

BOOL WINAPI LimitedWrite(HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) {
  static const auto write = platform::SystemFunctionAs<decltype(WriteFile)>(L"kernel32.dll", "WriteFile");
  LARGE_INTEGER place = {};
  if (limit != 0 && SetFilePointerEx(file, place, &place, FILE_CURRENT) && place.QuadPart + size > limit) {
    SetLastError(ERROR_DISK_FULL);
    return FALSE;
  }
  return write(file, data, size, written, overlapped);
}

}  // namespace

FileSizeLimit::FileSizeLimit(long long bytes) { limit = bytes; }
FileSizeLimit::~FileSizeLimit() { limit = 0; }

}  // namespace portwise

extern "C" {
decltype(&WriteFile) importedWriteFile PORTWISE_IMPORT(WriteFile, 20) = portwise::LimitedWrite;
}
