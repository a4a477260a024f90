#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/eventlog/event.h"
#include "platform/eventlog/event_reader.h"
#include "platform/registry/database.h"

/// The table of entries in the registry's database. It is made by the first entry, so a file without it is a log
/// without entries. All of it throws RegistryError.
namespace portwise::platform {

/// Entries beyond this number drop the oldest.
inline constexpr std::int64_t kMaxEvents = 100000;

/// Adds an entry in a session that writes; its record number is given here.
void AppendEvent(Connection& connection, const Event& event);

bool HasEvents(Connection& connection);
/// The newest record; 0 when there is none. As the next two, only when there is a table.
std::int64_t NewestRecord(Connection& connection);
/// The wanted entries after `after` up to `last`, oldest first.
std::vector<Event> SelectEvents(Connection& connection, std::int64_t after, std::int64_t last,
                                const EventFilter& filter, std::size_t limit);
/// The record of the wanted entry that has `newer` wanted ones after it; 0 when there is none.
std::int64_t RecordBefore(Connection& connection, const EventFilter& filter, std::size_t newer);

}  // namespace portwise::platform
