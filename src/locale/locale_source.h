#pragma once

#include <windows.h>

namespace portwise {

/// What a resource can be loaded as.
enum class ResourceKind { Cursor = 1, Bitmap = 2, Icon = 3, Menu = 4 };

/// Where resources come from. Types and names are as the resource functions of Windows take them. One thread at a time.
class ULocaleSource {
 public:
  virtual ~ULocaleSource() = default;

  /// The resource as an object of the system; null when there is none, or for another kind. Menus and bitmaps are the
  /// caller's to end; icons and cursors last as long as the source.
  virtual HANDLE LoadHandle(ResourceKind kind, LPCWSTR name) = 0;
  /// The size of a resource in bytes, 0 when there is none.
  virtual DWORD GetSize(LPCWSTR type, LPCWSTR name) = 0;
  /// Its bytes, which last as long as the source; null when there is none.
  virtual const void* GetData(LPCWSTR type, LPCWSTR name) = 0;
};

}  // namespace portwise
