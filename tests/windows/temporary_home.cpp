#include "tests/windows/temporary_home.h"

#include <windows.h>

#include <string>

#include "tests/support/wine.h"
#include "tests/windows/stand_ins.h"

namespace portwise {
namespace {

namespace fs = std::filesystem;

std::wstring OwnKey() { return L"Software\\Portwise Tests\\" + std::to_wstring(GetCurrentProcessId()); }

void Redirect(HKEY root, const wchar_t* name) {
  HKEY key = nullptr;
  RegCreateKeyExW(HKEY_CURRENT_USER, (OwnKey() + L"\\" + name).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                  nullptr);
  RegOverridePredefKey(root, key);
  RegCloseKey(key);
}

void RestoreRegistry() {
  RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
  RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
  RegDeleteTreeW(HKEY_CURRENT_USER, OwnKey().c_str());
}

/// The folders in which tests make files, by way of the product.
std::set<fs::path> OnDrive() {
  std::set<fs::path> found;
  if (!IsWine()) return found;  // there, nobody else makes any meanwhile
  wchar_t system[MAX_PATH];
  GetSystemDirectoryW(system, MAX_PATH);
  for (const fs::path& file : {fs::path(system) / "portwise.ddz", fs::path(system) / "msgtable.dll"}) {
    if (fs::exists(file)) found.insert(file);
  }
  for (const char* folder : {"C:\\", "C:\\ProgramData"}) {
    for (const auto& entry : fs::directory_iterator(folder)) found.insert(entry.path());
  }
  return found;
}

}  // namespace

TemporaryHome::TemporaryHome() : before_(OnDrive()) {
  RestoreRegistry();
  Redirect(HKEY_LOCAL_MACHINE, L"machine");
  Redirect(HKEY_CURRENT_USER, L"user");
  fs::remove_all("C:\\ProgramData\\Corvane");
  platform::ClearEvents();
  static int count = 0;
  path_ = fs::temp_directory_path() /
          ("portwise-home-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++count));
  fs::create_directories(path_);
}

TemporaryHome::~TemporaryHome() {
  RestoreRegistry();
  std::error_code ignored;
  fs::remove_all(path_, ignored);
  for (const fs::path& path : OnDrive()) {
    if (!before_.contains(path)) fs::remove_all(path, ignored);
  }
}

}  // namespace portwise
