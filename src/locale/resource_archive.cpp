#include "locale/resource_archive.h"

#include <windows.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "core/handles.h"
#include "locale/member_file.h"

namespace portwise {
namespace {

/// A header of the archive: the number that it begins with, and its size without the name that may follow.
constexpr DWORD kEndSignature = 0x06054B50;
constexpr size_t kEndSize = 22;
constexpr DWORD kCentralSignature = 0x02014B50;
constexpr size_t kCentralSize = 46;
constexpr DWORD kLocalSignature = 0x04034B50;
constexpr size_t kLocalSize = 30;

/// Deflate makes at most this much of a byte.
constexpr DWORD kLargestRatio = 1032;

unique_handle OpenForReading(const OString& path) {
  constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  return unique_handle(
      CreateFileW(path.Wide(), GENERIC_READ, kShare, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

LONGLONG SizeOf(HANDLE file) {
  LARGE_INTEGER size = {};
  return GetFileSizeEx(file, &size) ? size.QuadPart : 0;
}

/// All of `size` bytes, or false.
bool ReadAt(HANDLE file, LONGLONG offset, void* buffer, size_t size) {
  LARGE_INTEGER position = {};
  position.QuadPart = offset;
  DWORD read = 0;
  return offset >= 0 && SetFilePointerEx(file, position, nullptr, FILE_BEGIN) &&
         ReadFile(file, buffer, static_cast<DWORD>(size), &read, nullptr) && read == size;
}

template <class Value>
Value Field(const BYTE* header, size_t offset) {
  Value value;
  std::memcpy(&value, header + offset, sizeof value);
  return value;
}

/// A header with that signature.
bool ReadHeader(HANDLE file, LONGLONG offset, DWORD signature, BYTE* header, size_t size) {
  return ReadAt(file, offset, header, size) && Field<DWORD>(header, 0) == signature;
}

}  // namespace

bool OResourceFile::AddArchive(const OString& path) {
  if (!OpenForReading(path)) return false;
  const OScopedLock locked(lock_);
  archives_.push_back(path);
  return true;
}

void OResourceFile::ReadArchives() {
  for (; archivesRead_ < static_cast<int>(archives_.size()); ++archivesRead_) ReadDirectory(archivesRead_);
}

void OResourceFile::ReadDirectory(int archive) {
  const unique_handle file = OpenForReading(archives_[static_cast<size_t>(archive)]);
  BYTE end[kEndSize];
  if (!file || !ReadHeader(file.Get(), SizeOf(file.Get()) - LONGLONG{kEndSize}, kEndSignature, end, kEndSize)) return;
  LONGLONG offset = Field<DWORD>(end, 16);
  for (WORD left = Field<WORD>(end, 10); left > 0; --left) {
    BYTE header[kCentralSize];
    if (!ReadHeader(file.Get(), offset, kCentralSignature, header, kCentralSize)) return;
    std::string name(Field<WORD>(header, 28), '\0');
    if (!ReadAt(file.Get(), offset + LONGLONG{kCentralSize}, name.data(), name.size())) return;
    offset += static_cast<LONGLONG>(kCentralSize + name.size());
    entries_.push_back({OString(name, kCodePageOneByte), archive, Field<DWORD>(header, 42)});
  }
}

const OResourceFile::Entry* OResourceFile::Find(const OString& name) {
  const OScopedLock locked(lock_);
  ReadArchives();
  for (const Entry& entry : entries_) {
    if (entry.name.EqualsNoCase(name)) return &entry;
  }
  return nullptr;
}

bool OResourceFile::ReadMember(HANDLE file, const Entry& entry, Member* member) const {
  BYTE header[kLocalSize];
  if (!ReadHeader(file, entry.headerOffset, kLocalSignature, header, kLocalSize)) return false;
  // The data follows the name at once.
  if (Field<WORD>(header, 28) != 0) return false;
  member->time = Field<WORD>(header, 10);
  member->date = Field<WORD>(header, 12);
  member->compressedSize = Field<DWORD>(header, 18);
  member->size = Field<DWORD>(header, 22);
  member->dataOffset = LONGLONG{entry.headerOffset} + LONGLONG{kLocalSize} + Field<WORD>(header, 26);
  // Sizes that cannot be true must not cost memory.
  return member->compressedSize <= SizeOf(file) - member->dataOffset && member->size <= kLargestMember &&
         member->size / kLargestRatio <= member->compressedSize;
}

bool OResourceFile::Inflate(HANDLE file, const Member& member, OBuffer* content) const {
  OBuffer packed;
  if (!packed.Allocate(member.compressedSize) || !content->Allocate(member.size) ||
      !ReadAt(file, member.dataOffset, packed.Data(), packed.Size())) {
    return false;
  }
  z_stream stream = {};
  constexpr int kRawDeflate = -15;
  if (inflateInit2(&stream, kRawDeflate) != Z_OK) return false;
  stream.next_in = packed.Data();
  stream.avail_in = static_cast<uInt>(packed.Size());
  BYTE nothing = 0;  // where the content of an empty member would go
  stream.next_out = content->IsEmpty() ? &nothing : content->Data();
  stream.avail_out = static_cast<uInt>(content->Size());
  const int result = inflate(&stream, Z_FINISH);
  const bool used = stream.avail_out == 0 && stream.avail_in == 0;
  const auto written = static_cast<size_t>(stream.total_out);
  inflateEnd(&stream);
  // A stream that ends early has less to give than its header said.
  if (result == Z_STREAM_END && written < content->Size()) *content = OBuffer(content->Data(), written);
  return result == Z_STREAM_END || ((result == Z_OK || result == Z_BUF_ERROR) && used);
}

bool OResourceFile::Extract(const OString& name, const OString& target, DWORD flags) {
  const Entry* entry = Find(name);
  if (!entry) return false;
  const unique_handle archive = [this, entry] {
    const OScopedLock locked(lock_);
    return OpenForReading(archives_[static_cast<size_t>(entry->archive)]);
  }();
  Member member{};
  if (!archive || !ReadMember(archive.Get(), *entry, &member)) return false;
  const MemberTime time(member.date, member.time);
  if ((flags & kSkipWhenCurrent) && time.IsNotAfter(target)) return true;
  OBuffer content;
  if (!Inflate(archive.Get(), member, &content)) return false;
  if (flags & kClearAttributes) SetFileAttributesW(target.Wide(), FILE_ATTRIBUTE_NORMAL);
  switch (WriteMemberFile(target, content, (flags & kTemporary) != 0, time)) {
    case MemberWritten::Yes:
      return true;
    case MemberWritten::No:
      return false;
    case MemberWritten::NotOpened:
      return !(flags & kTemporary) && ReplaceAtRestart(target, content, time);
  }
  return false;
}

}  // namespace portwise
