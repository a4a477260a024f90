#include <algorithm>
#include <mutex>

#include "platform/eventlog/event_reader.h"
#include "platform/text.h"
#include "tests/windows/stand_ins.h"

/// An event log that keeps the entries of this process for the tests to read.
namespace portwise::platform {
namespace {

std::mutex lock;
std::vector<Event> entries;
std::vector<std::string>& Sources() {
  static auto* sources = new std::vector<std::string>;
  return *sources;
}

HANDLE WINAPI OpenSource(LPCWSTR, LPCWSTR source) {
  const std::lock_guard guard(lock);
  Sources().push_back(ToUtf8(source));
  return reinterpret_cast<HANDLE>(Sources().size());
}

BOOL WINAPI CloseSource(HANDLE) { return TRUE; }

BOOL WINAPI Report(HANDLE source, WORD type, WORD category, DWORD id, PSID, WORD count, DWORD size, LPCWSTR* strings,
                   LPVOID data) {
  const std::lock_guard guard(lock);
  Event event;
  event.record = static_cast<std::int64_t>(entries.size()) + 1;
  event.source = Sources().at(reinterpret_cast<size_t>(source) - 1);
  event.type = type;
  event.category = category;
  event.id = id;
  event.strings.assign(strings, strings + count);
  event.data.assign(static_cast<const char*>(data), size);
  // The source's key tells its log; any other is the application's.
  for (const char* log : {"System", "Application"}) {
    HKEY key = nullptr;
    const std::string path = std::string("SYSTEM\\CurrentControlSet\\Services\\Eventlog\\") + log + "\\" + event.source;
    event.log = log;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, ToUtf16(path).c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) continue;
    RegCloseKey(key);
    break;
  }
  entries.push_back(std::move(event));
  return TRUE;
}

}  // namespace

void ClearEvents() {
  const std::lock_guard guard(lock);
  entries.clear();
}

LSTATUS ReadEvents(std::int64_t* after, const EventFilter& filter, std::size_t limit, std::vector<Event>* events) {
  const std::lock_guard guard(lock);
  events->clear();
  for (const Event& event : entries) {
    if (event.record <= *after || events->size() == limit) continue;
    *after = event.record;
    if ((filter.source.empty() || filter.source == event.source) && (filter.type == 0 || filter.type == event.type))
      events->push_back(event);
  }
  return ERROR_SUCCESS;
}

}  // namespace portwise::platform

extern "C" {
decltype(&RegisterEventSourceW) importedRegisterEventSourceW PORTWISE_IMPORT(RegisterEventSourceW,
                                                                             8) = portwise::platform::OpenSource;
decltype(&DeregisterEventSource) importedDeregisterEventSource PORTWISE_IMPORT(DeregisterEventSource,
                                                                               4) = portwise::platform::CloseSource;
decltype(&ReportEventW) importedReportEventW PORTWISE_IMPORT(ReportEventW, 36) = portwise::platform::Report;
}
