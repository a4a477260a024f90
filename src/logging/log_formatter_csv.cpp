#include "logging/log_formatter_csv.h"

namespace portwise {
namespace {

bool NeedsQuotes(const OString& value) {
  if (value.IsEmpty()) return false;
  return value[0] == ' ' || value[value.Length() - 1] == ' ' || value.ReverseFindAny("\",\r\n\t") >= 0;
}

OString Quoted(OString value) {
  if (!NeedsQuotes(value)) return value;
  value.Replace("\"", "\"\"");
  return "\"" + value + "\"";
}

template <class TextOf>
OString Line(const std::vector<logField>& fields, TextOf textOf) {
  OString line;
  for (const logField& field : fields) {
    if (&field != &fields.front()) line += ",";
    line += Quoted(textOf(field));
  }
  return line;
}

}  // namespace

void LogFormatterCSV::WriteTo(OFile& file, const std::vector<logField>& fields, const LogData& record) {
  if (fields.empty()) return;
  if (includeHeaderRecord_ && file.Size() == 0) {
    file.WriteLine(Line(fields, [](const logField& field) { return field.name; }));
  }
  file.WriteLine(Line(fields, [&](const logField& field) { return record.GetString(field.key); }));
}

}  // namespace portwise
