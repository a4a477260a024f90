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

/// The resources of a PE file, 32-bit or 64-bit, code or none; or of an ELF file whose resources are a PE file in a
/// note. Every offset is checked: a damaged file lacks resources and does nothing worse. Unchanging; any thread.
class ResourceFile {
 public:
  /// Reads the whole file, at most 64 MiB of it. Null with the last error set when it cannot be read (that of the
  /// file), or has no resources (ERROR_BAD_EXE_FORMAT).
  static std::unique_ptr<ResourceFile> Open(const std::string& linuxPath);
  /// The resources of a PE file in memory, which stays the caller's and where it is. Null when it has none.
  static std::unique_ptr<ResourceFile> OfImage(std::string_view image);

  /// The resource in the first language that has it. False when there is none; the bytes live as long as the file's.
  bool Find(const ResourceName& type, const ResourceName& name, std::string_view* bytes) const;

  /// The entry that describes a resource, in that language, or with null in the first that has it. Null when there is
  /// none, with the last error set to what is missing: the type, the name or the language.
  const void* FindEntry(const ResourceName& type, const ResourceName& name, const WORD* language) const;
  /// The bytes of the resource that an entry describes; the entry may be any address. False when there are none.
  bool EntryBytes(const void* entry, std::string_view* bytes) const;

 private:
  ResourceFile() = default;

  bool ReadHeaders(std::string_view image);
  /// The bytes of the file from a virtual address to the end of its section.
  bool FromAddress(DWORD address, std::string_view* bytes) const;
  /// The entry of a directory; with null the first one. `offset` is a directory's in and the entry's target's out.
  bool Descend(const ResourceName* name, bool toDirectory, DWORD* offset) const;
  bool IsNamed(DWORD entryName, const ResourceName& name) const;

  std::string file_;  // empty when the bytes are the caller's
  std::string_view image_;
  std::uint64_t sections_ = 0;
  WORD sectionCount_ = 0;
  std::string_view directory_;
};

}  // namespace portwise::platform
