#include "logging/log_formatter_system_event.h"

#include "logging/log_events.h"

namespace portwise {

void LogFormatterSystemEvent::Write(const std::vector<logField>& fields, const LogData& record) {
  struct CategoryRow {
    LONG category;
    WORD type;
  };
  constexpr CategoryRow kCategories[] = {{kInformationCategory, EVENTLOG_INFORMATION_TYPE},
                                         {kWarningCategory, EVENTLOG_WARNING_TYPE},
                                         {kErrorCategory, EVENTLOG_ERROR_TYPE}};

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
