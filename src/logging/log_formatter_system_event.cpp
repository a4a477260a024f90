#include "logging/log_formatter_system_event.h"

namespace portwise {

void LogFormatterSystemEvent::Write(const std::vector<logField>& fields, const LogData& record) {
  struct CategoryRow {
    LONG category;
    WORD type;
  };
  constexpr CategoryRow kCategories[] = {
      {0, EVENTLOG_INFORMATION_TYPE}, {300, EVENTLOG_WARNING_TYPE}, {900, EVENTLOG_ERROR_TYPE}};

  OString text;
  for (const logField& field : fields) {
    if (field.order > 0) text += field.name + ": " + record.GetString(field.key) + "\r";
  }
  const LONG category = record.GetInt("Category", -1);
  for (const auto& row : kCategories) {
    if (row.category == category) eventLog_.Report(row.type, text, static_cast<WORD>(category));
  }
}

}  // namespace portwise
