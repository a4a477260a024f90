#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/eventlog/event.h"

/// Reads the event log of the current home, for programs. Any thread; no call waits for a writer. The result is
/// ERROR_SUCCESS or the error code of the registry, whose file the log lives in; RegistryFault() then has the reason.
namespace portwise::platform {

/// Which entries are wanted.
struct EventFilter {
  /// Without regard to case; empty for every source.
  std::string source;
  /// 0 for every type.
  WORD type = 0;
};

/// The wanted entries after the record `*after`, oldest first and at most `limit` of them. `*after` becomes the record
/// from which the next call goes on.
LSTATUS ReadEvents(std::int64_t* after, const EventFilter& filter, std::size_t limit, std::vector<Event>* events);

/// The record after which there are the last `count` wanted entries, or all when there are fewer.
LSTATUS FindLastEvents(const EventFilter& filter, std::size_t count, std::int64_t* after);

}  // namespace portwise::platform
