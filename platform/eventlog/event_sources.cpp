#include <windows.h>

#include <chrono>

#include "platform/eventlog/event_table.h"
#include "platform/kernel/fail.h"
#include "platform/kernel/handle_table.h"
#include "platform/registry/database.h"
#include "platform/registry/key_rows.h"
#include "platform/text.h"

namespace portwise::platform {
namespace {

constexpr WORD kMaxStrings = 256;
constexpr std::size_t kMaxString = 31839;
constexpr DWORD kMaxData = 61440;
constexpr std::size_t kMaxEntry = 64 << 10;

/// What a handle of RegisterEventSourceW stands for.
class EventSource : public KernelObject {
 public:
  EventSource(std::string logName, std::string sourceName) : log(std::move(logName)), name(std::move(sourceName)) {}
  const std::string log;
  const std::string name;
};

std::u16string ThisComputer() {
  WCHAR name[MAX_COMPUTERNAME_LENGTH + 1];
  DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
  return GetComputerNameW(name, &size) ? std::u16string(name, size) : std::u16string();
}

bool IsThisComputer(LPCWSTR server) {
  std::u16string_view name = server == nullptr ? std::u16string_view() : server;
  if (name.starts_with(u"\\\\")) name.remove_prefix(2);
  return name.empty() || FoldCase(name) == FoldCase(ThisComputer());
}

/// The log under which the source has its key, whoever may read the key.
std::string LogOf(LPCWSTR source) {
  const auto root = FindKeyHandle(HKEY_LOCAL_MACHINE);
  Session session(Use::Read);
  for (const std::u16string_view log : {u"System", u"Application"}) {
    const std::string path =
        JoinPath(root->path, {u"SYSTEM", u"CurrentControlSet", u"Services", u"Eventlog", log, source});
    if (FindKey(session, *root, path)) return ToUtf8(log);
  }
  return "Application";
}

/// RPC_S_INVALID_BOUND when the strings are more, or longer, than an entry holds.
LSTATUS CopyStrings(WORD count, LPCWSTR* strings, DWORD rawSize, std::vector<std::u16string>* copies) {
  if (count > kMaxStrings || rawSize > kMaxData) return RPC_S_INVALID_BOUND;
  std::size_t size = rawSize;
  for (WORD index = 0; index < count; ++index) {
    const std::u16string_view text = strings[index] == nullptr ? std::u16string_view() : strings[index];
    size += (text.size() + 1) * sizeof(WCHAR);
    if (text.size() > kMaxString || size > kMaxEntry) return RPC_S_INVALID_BOUND;
    copies->emplace_back(text);
  }
  return ERROR_SUCCESS;
}

bool IsType(WORD type) {
  return type == EVENTLOG_ERROR_TYPE || type == EVENTLOG_WARNING_TYPE || type == EVENTLOG_INFORMATION_TYPE;
}

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

HANDLE WINAPI RegisterEventSourceW(LPCWSTR server, LPCWSTR source) {
  if (source == nullptr || *source == 0 || std::u16string_view(source).size() > kMaxKeyName) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  if (!IsThisComputer(server)) {
    SetLastError(RPC_S_SERVER_UNAVAILABLE);
    return nullptr;
  }
  HANDLE handle = nullptr;
  const LSTATUS error = Answer([&]() -> LSTATUS {
    handle = OpenHandle(std::make_shared<EventSource>(LogOf(source), ToUtf8(source)));
    return handle != nullptr ? ERROR_SUCCESS : static_cast<LSTATUS>(GetLastError());
  });
  if (error != ERROR_SUCCESS) SetLastError(static_cast<DWORD>(error));
  return handle;
}

BOOL WINAPI ReportEventW(HANDLE eventLog, WORD type, WORD category, DWORD eventId, PSID, WORD stringCount,
                         DWORD rawSize, LPCWSTR* strings, LPVOID rawData) {
  const auto source = FindObjectOf<EventSource>(eventLog);
  if (!source) return FALSE;
  if (!IsType(type) || (stringCount > 0 && strings == nullptr) || (rawSize > 0 && rawData == nullptr)) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  const LSTATUS error = Answer([&]() -> LSTATUS {
    Event event;
    const LSTATUS tooLong = CopyStrings(stringCount, strings, rawSize, &event.strings);
    if (tooLong != ERROR_SUCCESS) return tooLong;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    event.time = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    event.log = source->log;
    event.source = source->name;
    event.type = type;
    event.category = category;
    event.id = eventId;
    if (rawSize > 0) event.data.assign(static_cast<const char*>(rawData), rawSize);
    event.process = GetCurrentProcessId();
    event.computer = ToUtf8(ThisComputer());
    Session session(Use::Write);
    AppendEvent(session, event);
    session.Commit();
    return ERROR_SUCCESS;
  });
  return error == ERROR_SUCCESS ? TRUE : Fail(static_cast<DWORD>(error));
}

BOOL WINAPI DeregisterEventSource(HANDLE eventLog) {
  return FindObjectOf<EventSource>(eventLog) ? CloseHandle(eventLog) : FALSE;
}
