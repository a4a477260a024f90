#include "platform/dump/dump_file.h"

#include <ctime>

#include "platform/kernel/fail.h"

namespace portwise::platform {
namespace {
constexpr size_t kWriteAt = 256 << 10;
}

DumpFile::DumpFile(HANDLE file, DWORD streamLimit) : file_(file), streamLimit_(streamLimit) {
  pending_.resize(sizeof(DumpHeader) + streamLimit * sizeof(DumpDirectoryEntry));
  if (!SetFilePointerEx(file_, {}, nullptr, FILE_BEGIN)) error_ = GetLastError();
}

bool DumpFile::Flush() {
  DWORD written = 0;
  if (error_ == ERROR_SUCCESS &&
      !WriteFile(file_, pending_.data(), static_cast<DWORD>(pending_.size()), &written, nullptr)) {
    error_ = GetLastError();
  }
  flushed_ += static_cast<DWORD>(pending_.size());
  pending_.clear();
  return error_ == ERROR_SUCCESS;
}

DWORD DumpFile::Align() {
  while ((flushed_ + pending_.size()) % 8 != 0) pending_.push_back(0);
  return flushed_ + static_cast<DWORD>(pending_.size());
}

DumpLocation DumpFile::Append(const void* bytes, size_t size) {
  const DumpLocation location{static_cast<DWORD>(size), flushed_ + static_cast<DWORD>(pending_.size())};
  const auto* first = static_cast<const BYTE*>(bytes);
  pending_.insert(pending_.end(), first, first + size);
  if (pending_.size() >= kWriteAt) Flush();
  return location;
}

DWORD DumpFile::AppendText(std::u16string_view text) {
  const DWORD place = Align();
  const auto size = static_cast<DWORD>(text.size() * sizeof(WCHAR));
  Append(size);
  Append(text.data(), size);
  Append(WCHAR{0});
  return place;
}

void DumpFile::EndStream(DumpStream type, DWORD start) {
  const DWORD end = flushed_ + static_cast<DWORD>(pending_.size());
  if (streams_.size() < streamLimit_) streams_.push_back({static_cast<DWORD>(type), {end - start, start}});
}

bool DumpFile::Finish(DWORD64 dumpType) {
  Flush();
  const DumpHeader header{.signature = kDumpSignature,
                          .version = kDumpVersion,
                          .streamCount = static_cast<DWORD>(streams_.size()),
                          .directory = sizeof header,
                          .checkSum = 0,
                          .time = static_cast<DWORD>(std::time(nullptr)),
                          .type = dumpType};
  Append(header);
  Append(streams_.data(), streams_.size() * sizeof streams_.front());
  if (error_ == ERROR_SUCCESS && !SetFilePointerEx(file_, {}, nullptr, FILE_BEGIN)) error_ = GetLastError();
  return Flush() || Fail(error_);
}

}  // namespace portwise::platform
