#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/resources/byte_view.h"

namespace portwise::platform {

/// What a resource, or a type of resources, is known by: a number, or text without regard to case.
class ResourceName {
 public:
  ResourceName(WORD number) : number_(number) {}
  ResourceName(std::u16string text) : text_(std::move(text)) {}

  bool IsText() const { return !text_.empty(); }
  WORD Number() const { return number_; }
  const std::u16string& Text() const { return text_; }

 private:
  WORD number_ = 0;
  std::u16string text_;
};

/// The type of message tables.
inline constexpr WORD kMessageTableType = 11;

/// The resources of a PE file, 32-bit or 64-bit, code or none. The whole file is read, at most 64 MiB of it, and every
/// offset in it is checked: a damaged file lacks resources and does nothing worse. Unchanging; any thread.
class ResourceFile {
 public:
  /// Null with the last error set when the file cannot be read (that of the file), or is not a PE file with resources
  /// (ERROR_BAD_EXE_FORMAT).
  static std::unique_ptr<ResourceFile> Open(const std::string& linuxPath);

  /// The resource in the first language that has it. False when there is none; the bytes live as long as this object.
  bool Find(const ResourceName& type, const ResourceName& name, std::string_view* bytes) const;

 private:
  explicit ResourceFile(std::string bytes) : bytes_(std::move(bytes)) {}

  bool ReadHeaders();
  /// The bytes of the file from a virtual address to the end of its section.
  bool FromAddress(DWORD address, std::string_view* bytes) const;
  /// The entry of a directory; with null the first one. `offset` is a directory's in and the entry's target's out.
  bool Descend(const ResourceName* name, bool toDirectory, DWORD* offset) const;
  bool IsNamed(DWORD entryName, const ResourceName& name) const;

  const std::string bytes_;
  std::uint64_t sections_ = 0;
  WORD sectionCount_ = 0;
  ByteView directory_{{}};
};

}  // namespace portwise::platform
