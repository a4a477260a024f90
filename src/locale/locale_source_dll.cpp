#include "locale/locale_source_dll.h"

#include "locale/menu_template.h"

namespace portwise {

ULocaleSource_DLL::~ULocaleSource_DLL() {
  // A module that is loaded keeps its file.
  owned_.Reset();
  if (deleteFile_) DeleteFileW(path_.Wide());
}

bool ULocaleSource_DLL::Load() {
  if (path_.IsEmpty()) return true;
  if (tried_) return static_cast<bool>(owned_);
  tried_ = true;
  // As data: the module of a language serves processes of every kind of processor, and nothing in it is run.
  owned_.Reset(LoadLibraryExW(path_.Wide(), nullptr, LOAD_LIBRARY_AS_DATAFILE));
  module_ = owned_.Get();
  return static_cast<bool>(owned_);
}

HANDLE ULocaleSource_DLL::LoadHandle(ResourceKind kind, LPCWSTR name) {
  if (!Load()) return nullptr;
  switch (kind) {
    case ResourceKind::Cursor:
      return LoadCursorW(module_, name);
    case ResourceKind::Bitmap:
      return LoadBitmapW(module_, name);
    case ResourceKind::Icon:
      return LoadIconW(module_, name);
    case ResourceKind::Menu:
      return IsWholeMenuTemplate(GetData(RT_MENU, name), GetSize(RT_MENU, name)) ? LoadMenuW(module_, name) : nullptr;
  }
  return nullptr;
}

bool ULocaleSource_DLL::IsMemory(const void* data, DWORD size) {
  const auto* bytes = static_cast<const BYTE*>(data);
  const auto isInRegion = [&] {
    const auto* begin = static_cast<const BYTE*>(region_.BaseAddress);
    return region_.State == MEM_COMMIT && bytes >= begin && bytes < begin + region_.RegionSize &&
           size <= static_cast<SIZE_T>(begin + region_.RegionSize - bytes);
  };
  return isInRegion() || (VirtualQuery(data, &region_, sizeof region_) != 0 && isInRegion());
}

DWORD ULocaleSource_DLL::GetSize(LPCWSTR type, LPCWSTR name) {
  const HRSRC resource = Load() ? FindResourceW(module_, name, type) : nullptr;
  const DWORD size = resource ? SizeofResource(module_, resource) : 0;
  const void* data = size > 0 ? GetData(type, name) : nullptr;
  return data && IsMemory(data, size) ? size : 0;
}

const void* ULocaleSource_DLL::GetData(LPCWSTR type, LPCWSTR name) {
  const HRSRC resource = Load() ? FindResourceW(module_, name, type) : nullptr;
  const HGLOBAL loaded = resource ? LoadResource(module_, resource) : nullptr;
  return loaded ? LockResource(loaded) : nullptr;
}

}  // namespace portwise
