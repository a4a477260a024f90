#include "locale/ulocale.h"

#include <memory>

#include "locale/dialog_template.h"
#include "locale/menu_template.h"
#include "locale/string_block.h"

namespace portwise {
namespace {

OString UserLocaleValue(LCTYPE type) {
  WCHAR value[16] = {};
  return GetLocaleInfoW(LOCALE_USER_DEFAULT, type, value, 16) > 0 ? OString(value) : OString();
}

/// What a dialog is kept under.
OString KeyOf(LPCWSTR name) {
  return IS_INTRESOURCE(name) ? OString("#") + OString::FromUnsigned(reinterpret_cast<ULONG_PTR>(name)) : OString(name);
}

}  // namespace

ULocale::ULocale()
    : measure_(UserLocaleValue(LOCALE_IMEASURE)),
      leadingZero_(UserLocaleValue(LOCALE_ILZERO)),
      decimalSeparator_(UserLocaleValue(LOCALE_SDECIMAL)),
      thousandSeparator_(UserLocaleValue(LOCALE_STHOUSAND)) {}

void ULocale::AddSource(ULocaleSource* source) {
  std::unique_ptr<ULocaleSource> owned(source);
  if (sources_.Append(source) >= 0) owned.release();
}

void ULocale::RemoveSources() {
  dialogCache_.Clear();
  sources_.Clear();
}

ULocale::Resource ULocale::Ask(ULocaleSource& source, LPCWSTR type, LPCWSTR name) {
  const DWORD size = source.GetSize(type, name);
  const void* data = size > 0 ? source.GetData(type, name) : nullptr;
  return data ? Resource{data, size} : Resource{};
}

ULocale::Resource ULocale::Find(LPCWSTR type, LPCWSTR name) {
  EnsureLoaded();
  for (ULocaleSource* source : sources_) {
    // Size and data come from one source, or the one might not fit the other.
    if (const Resource resource = Ask(*source, type, name); resource.data) return resource;
  }
  return Resource{};
}

DWORD ULocale::GetResourceSize(LPCWSTR type, LPCWSTR name) { return Find(type, name).size; }

const void* ULocale::GetResourceData(LPCWSTR type, LPCWSTR name) { return Find(type, name).data; }

HANDLE ULocale::LoadHandle(ResourceKind kind, LPCWSTR name) {
  EnsureLoaded();
  for (ULocaleSource* source : sources_) {
    if (const HANDLE handle = source->LoadHandle(kind, name)) return handle;
  }
  return nullptr;
}

HMENU ULocale::LoadMenu(LPCWSTR name) {
  const Resource menu = Find(RT_MENU, name);
  return menu.data && IsWholeMenuTemplate(menu.data, menu.size) ? LoadMenuIndirectW(menu.data) : nullptr;
}

const void* ULocale::GetDialog(LPCWSTR name, DWORD* size) {
  *size = 0;
  EnsureLoaded();
  const OString key = KeyOf(name);
  const OBuffer* known = dialogCache_.Get(key);
  if (!known) {
    const Resource found = Find(RT_DIALOG, name);
    OBuffer dialog(found.data, found.size);
    if (dialog.IsEmpty() || !FixDialogTemplate(DialogFontFace(), &dialog)) return nullptr;
    dialogCache_.Set(key, std::move(dialog));
    known = dialogCache_.Get(key);
  }
  *size = static_cast<DWORD>(known->Size());
  return known->Data();
}

OString ULocale::LoadString(UINT id) {
  if (id > 0xFFFF) return OString();
  EnsureLoaded();
  for (ULocaleSource* source : sources_) {
    const Resource block = Ask(*source, RT_STRING, MAKEINTRESOURCEW(id / kStringsPerBlock + 1));
    if (!block.data) continue;
    const WideString text = StringInBlock(block.data, block.size, id % kStringsPerBlock);
    if (!text.empty()) return OString(text);
  }
  return OString();
}

}  // namespace portwise
