#include "platform/eventlog/event_table.h"

#include <cstring>

#include "platform/text.h"

namespace portwise::platform {
namespace {

// `folded` is the source as it is compared; `strings` has each string in UTF-16 with its NUL.
constexpr char kCreate[] = R"sql(
  CREATE TABLE IF NOT EXISTS events(
    record INTEGER PRIMARY KEY AUTOINCREMENT,
    time INTEGER NOT NULL,
    log TEXT NOT NULL,
    source TEXT NOT NULL,
    folded TEXT NOT NULL,
    type INTEGER NOT NULL,
    category INTEGER NOT NULL,
    event INTEGER NOT NULL,
    process INTEGER NOT NULL,
    computer TEXT NOT NULL,
    strings BLOB NOT NULL,
    data BLOB NOT NULL)
)sql";

constexpr char kInsert[] = R"sql(
  INSERT INTO events(time, log, source, folded, type, category, event, process, computer, strings, data)
  VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11)
)sql";

constexpr char kSelect[] = R"sql(
  SELECT record, time, log, source, type, category, event, process, computer, strings, data FROM events
  WHERE record > ?1 AND record <= ?2 AND (?3 = '' OR folded = ?3) AND (?4 = 0 OR type = ?4)
  ORDER BY record LIMIT ?5
)sql";

constexpr char kSelectBefore[] = R"sql(
  SELECT record FROM events WHERE (?1 = '' OR folded = ?1) AND (?2 = 0 OR type = ?2)
  ORDER BY record DESC LIMIT 1 OFFSET ?3
)sql";

std::string Folded(const std::string& source) { return ToUtf8(FoldCase(ToUtf16(source))); }

std::string PackStrings(const std::vector<std::u16string>& strings) {
  std::string packed;
  for (const std::u16string& text : strings)
    packed.append(reinterpret_cast<const char*>(text.c_str()), (text.size() + 1) * sizeof(WCHAR));
  return packed;
}

std::vector<std::u16string> UnpackStrings(std::string_view packed) {
  std::u16string units(packed.size() / sizeof(WCHAR), u'\0');
  if (!units.empty()) std::memcpy(units.data(), packed.data(), units.size() * sizeof(WCHAR));
  std::vector<std::u16string> strings;
  for (std::size_t start = 0, end; start < units.size(); start = end + 1) {
    end = std::min(units.find(u'\0', start), units.size());
    strings.push_back(units.substr(start, end - start));
  }
  return strings;
}

}  // namespace

void AppendEvent(Connection& connection, const Event& event) {
  Query(connection, kCreate).Step();
  const std::string folded = Folded(event.source);
  const std::string strings = PackStrings(event.strings);
  Query(connection, kInsert)
      .Bind(0, event.time)
      .Bind(1, event.log)
      .Bind(2, event.source)
      .Bind(3, folded)
      .Bind(4, event.type)
      .Bind(5, event.category)
      .Bind(6, event.id)
      .Bind(7, event.process)
      .Bind(8, event.computer)
      .BindBlob(9, strings.data(), strings.size())
      .BindBlob(10, event.data.data(), event.data.size())
      .Step();
  Query(connection, "DELETE FROM events WHERE record <= last_insert_rowid() - ?1").Bind(0, kMaxEvents).Step();
}

bool HasEvents(Connection& connection) {
  return Query(connection, "SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = 'events'").Step();
}

std::int64_t NewestRecord(Connection& connection) {
  Query query(connection, "SELECT max(record) FROM events");
  return query.Step() ? query.Number(0) : 0;
}

std::vector<Event> SelectEvents(Connection& connection, std::int64_t after, std::int64_t last,
                                const EventFilter& filter, std::size_t limit) {
  const std::string folded = Folded(filter.source);
  Query query(connection, kSelect);
  query.Bind(0, after).Bind(1, last).Bind(2, folded).Bind(3, filter.type).Bind(4, static_cast<std::int64_t>(limit));
  std::vector<Event> events;
  while (query.Step()) {
    Event& event = events.emplace_back();
    event.record = query.Number(0);
    event.time = query.Number(1);
    event.log = query.Text(2);
    event.source = query.Text(3);
    event.type = static_cast<WORD>(query.Number(4));
    event.category = static_cast<WORD>(query.Number(5));
    event.id = static_cast<DWORD>(query.Number(6));
    event.process = static_cast<DWORD>(query.Number(7));
    event.computer = query.Text(8);
    event.strings = UnpackStrings(query.Blob(9));
    event.data = query.Blob(10);
  }
  return events;
}

std::int64_t RecordBefore(Connection& connection, const EventFilter& filter, std::size_t newer) {
  const std::string folded = Folded(filter.source);
  Query query(connection, kSelectBefore);
  query.Bind(0, folded).Bind(1, filter.type).Bind(2, static_cast<std::int64_t>(newer));
  return query.Step() ? query.Number(0) : 0;
}

}  // namespace portwise::platform
