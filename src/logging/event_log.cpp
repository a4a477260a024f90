#include "logging/event_log.h"

#include <iterator>

#include "core/handles.h"

namespace portwise {
namespace {

/// The identifiers of the texts in msgtable.dll.
struct EntryRow {
  WORD type;
  DWORD applicationId;
  DWORD systemId;
};
/// The last row is that of every other type.
constexpr EntryRow kEntries[] = {
    {EVENTLOG_INFORMATION_TYPE, 0x40000100, 0x40FF0400},
    {EVENTLOG_WARNING_TYPE, 0x80000200, 0x80FF0500},
    {EVENTLOG_ERROR_TYPE, 0xC0000300, 0xC0FF0600},
};

constexpr DWORD kTypesSupported = EVENTLOG_ERROR_TYPE | EVENTLOG_WARNING_TYPE | EVENTLOG_INFORMATION_TYPE;
constexpr DWORD kCategoryCount = 2;
/// What the system takes as one text of an entry, in UTF-16 units.
constexpr int kLongestText = 31839;

const EntryRow& EntryOf(WORD type) {
  const EntryRow* row = kEntries;
  while (row->type != type && row != std::end(kEntries) - 1) ++row;
  return *row;
}

OString MessageFile() {
  WCHAR folder[MAX_PATH] = {};
  const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
  return OString(length < MAX_PATH ? folder : TEXT("")) + "\\msgtable.dll";
}

void SetText(HKEY key, LPCWSTR name, const OString& text) {
  RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.Wide()),
                 static_cast<DWORD>((text.Length() + 1) * sizeof(WCHAR)));
}

void SetNumber(HKEY key, LPCWSTR name, DWORD number) {
  RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
}

/// Makes the source's key, which tells where its texts are. A key that is there stays as it is, and one that cannot be
/// made only costs the entries their texts.
void CreateSourceKey(const OString& path) {
  unique_registry_key key;
  DWORD disposition = 0;
  if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.Wide(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr,
                      key.Put(), &disposition) != ERROR_SUCCESS ||
      disposition != REG_CREATED_NEW_KEY) {
    return;
  }
  const OString messageFile = MessageFile();
  SetText(key.Get(), TEXT("EventMessageFile"), messageFile);
  SetNumber(key.Get(), TEXT("TypesSupported"), kTypesSupported);
  SetText(key.Get(), TEXT("CategoryMessageFile"), messageFile);
  SetNumber(key.Get(), TEXT("CategoryCount"), kCategoryCount);
}

}  // namespace

bool OEventLog::Register() {
  if (source_) return true;
  const OString logs("SYSTEM\\CurrentControlSet\\Services\\Eventlog\\");
  CreateSourceKey(logs + (logKind_ == kApplicationLog ? "Application\\" : "System\\") + sourceName_);
  source_.Reset(RegisterEventSourceW(nullptr, sourceName_.Wide()));
  return static_cast<bool>(source_);
}

bool OEventLog::Report(WORD type, const OString& text, WORD category) {
  OScopedLock lock(lock_);
  if (!Register()) return false;
  const EntryRow& entry = EntryOf(type);
  const DWORD id = logKind_ == kApplicationLog ? entry.applicationId : entry.systemId;
  const OString fitting = text.Left(kLongestText);
  LPCWSTR strings[] = {fitting.Wide()};
  return ReportEventW(source_.Get(), entry.type, category, id, nullptr, 1, 0, strings, nullptr) != FALSE;
}

}  // namespace portwise
