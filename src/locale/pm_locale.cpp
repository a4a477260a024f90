#include "locale/pm_locale.h"

#include "core/module_instance.h"
#include "locale/language.h"
#include "locale/locale_source_dll.h"
#include "locale/member_file.h"
#include "locale/resource_archive.h"

namespace portwise {
namespace {

OString ArchivePath() {
  WCHAR folder[MAX_PATH] = {};
  const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
  return length > 0 && length < MAX_PATH ? OString(folder) + "\\portwise.ddz" : OString();
}

}  // namespace

void pmLocale::EnsureLoaded() {
  if (!loaded_) Load();
}

void pmLocale::Load() {
  if (loaded_) Unload();
  if (language_.IsEmpty() || language_ == "sys") language_ = SystemLanguage();
  if (language_ != kOwnLanguage) AddLanguageModule();
  AddSource(new ULocaleSource_DLL(ModuleInstance()));
  loaded_ = true;
}

void pmLocale::Load(const OString& language) {
  language_ = language;
  Load();
}

void pmLocale::Unload() {
  RemoveSources();
  loaded_ = false;
}

void pmLocale::AddLanguageModule() {
  OResourceFile archive;
  if (!archive.AddArchive(ArchivePath())) return;
  const OString file = NewTemporaryFile();
  if (file.IsEmpty()) return;
  if (archive.Extract(OString("portwise[") + language_ + "].dll", file, OResourceFile::kTemporary)) {
    AddSource(new ULocaleSource_DLL(file, true));
  } else {
    DeleteFileW(file.Wide());
  }
}

}  // namespace portwise
