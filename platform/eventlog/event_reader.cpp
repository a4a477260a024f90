#include "platform/eventlog/event_reader.h"

#include "platform/eventlog/event_table.h"
#include "platform/registry/database.h"

namespace portwise::platform {

LSTATUS ReadEvents(std::int64_t* after, const EventFilter& filter, std::size_t limit, std::vector<Event>* events) {
  events->clear();
  return Answer([&]() -> LSTATUS {
    Session session(Use::Read);
    if (!HasEvents(session)) return ERROR_SUCCESS;
    // Entries that come meanwhile are for the next call. A file put in place of the one before starts lower again.
    const std::int64_t newest = NewestRecord(session);
    *events = SelectEvents(session, *after, newest, filter, limit);
    *after = events->size() == limit && limit > 0 ? events->back().record : newest;
    return ERROR_SUCCESS;
  });
}

LSTATUS FindLastEvents(const EventFilter& filter, std::size_t count, std::int64_t* after) {
  *after = 0;
  return Answer([&]() -> LSTATUS {
    Session session(Use::Read);
    if (HasEvents(session)) *after = RecordBefore(session, filter, count);
    return ERROR_SUCCESS;
  });
}

}  // namespace portwise::platform
