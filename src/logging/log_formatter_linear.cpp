#include "logging/log_formatter_linear.h"

#include <algorithm>

namespace portwise {
namespace {

constexpr size_t kSeparatorLength = 59;
// An offset is a column on paper or a screen; nobody's is wider.
constexpr LONG kLargestOffset = 10000;

OString Padded(OString label, LONG width) {
  const auto blanks = std::max<LONG>(1, std::clamp<LONG>(width, 0, kLargestOffset) - label.Length());
  return label + OString(std::string(static_cast<size_t>(blanks), ' '));
}

}  // namespace

void LogFormatterLinear::WriteTo(OFile& file, const std::vector<logField>& fields, const LogData& record) {
  file.WriteLine(OString(std::string(kSeparatorLength, '-')));
  for (const logField& field : fields) {
    const OString value = record.GetString(field.key);
    if (value.IsEmpty() && !displayEmptyFields_) continue;
    const OString unit = field.key == "Size" ? " bytes" : "";
    file.WriteLine(Padded(field.name + ":", dataOffset_) + value + unit);
  }
}

}  // namespace portwise
