#pragma once

#include "core/handles.h"
#include "core/ostring.h"
#include "locale/locale_source.h"

namespace portwise {

/// The resources of a module: of a file that is loaded as data when it is first asked, or of one that is loaded anyway.
class ULocaleSource_DLL : public ULocaleSource {
 public:
  /// The module at `path`. With `deleteFile` the file is deleted when the source ends.
  ULocaleSource_DLL(const OString& path, bool deleteFile) : path_(path), deleteFile_(deleteFile) {}
  /// A module that stays loaded; null is the program.
  explicit ULocaleSource_DLL(HMODULE module) : module_(module) {}
  ~ULocaleSource_DLL() override;
  ULocaleSource_DLL(const ULocaleSource_DLL&) = delete;
  ULocaleSource_DLL& operator=(const ULocaleSource_DLL&) = delete;

  HANDLE LoadHandle(ResourceKind kind, LPCWSTR name) override;
  DWORD GetSize(LPCWSTR type, LPCWSTR name) override;
  const void* GetData(LPCWSTR type, LPCWSTR name) override;

 private:
  /// False when the file at the path is no module; asked once.
  bool Load();
  /// Whether so many bytes can be read. What a damaged module says of its resources need not be true.
  bool IsMemory(const void* data, DWORD size);

  OString path_;
  HMODULE module_ = nullptr;
  unique_module owned_;
  MEMORY_BASIC_INFORMATION region_ = {};  // where the resource was that was looked at last
  bool tried_ = false;
  bool deleteFile_ = false;
};

}  // namespace portwise
