// Writes docs/status-codes.md from the table of status codes and the English texts.

#include <string>
#include <vector>

#include "core/hex.h"
#include "docs/generators/page.h"
#include "host/cli/flag_names.h"
#include "locale/pm_locale.h"
#include "platform/text.h"
#include "query/status_codes.h"

namespace portwise {
namespace {

constexpr char kHead[] =
    "# Status codes\n"
    "\n"
    "Made by `portwise-status-codes-page` from `src/query/status_codes.cpp` and the English texts in\n"
    "`src/resources/en/strings.rc`; change them there.\n"
    "\n"
    "A plug-in tells what its printer says in these codes ([plugins.md](plugins.md)). Of several codes the first "
    "decides\n"
    "the error that the call which publishes them leaves; the flags are those of all codes together, and an error\n"
    "outweighs warnings. \"Printer flags\" and \"job flags\" are what the spooler is told, in the words of `portwise`; "
    "a\n"
    "job of which no code tells a flag is printing. \"Comment\" says whether the text goes into the printer's "
    "comment,\n"
    "when that is asked for: it does not where the spooler's flags tell as much. \"Flags 2\" is the bit in the item\n"
    "\"Status Flags 2\" of the XPML command `state`, in hexadecimal.\n"
    "\n";

constexpr char kTableHead[] =
    " | text | severity | comment | printer flags | job flags | error | flags 2 |\n"
    "|---|---|---|---|---|---|---|---|\n";

/// Codes without a row of their own, and one that shows what holds for them all.
constexpr struct {
  const char* codes;
  DWORD example;
} kRanges[] = {
    {"`00000000` to `0000FFFF`", 0xFFFF},
    {"`00010000` to `0001FFFF`", 0x1FFFF},
    {"`00020000` to `0002FFFF`", 0x2FFFF},
    {"`10000000` to `1000FFFF`", 0x1000FFFF},
    {"`A1000000` to `A1FFFFFF`", 0xA1FFFFFF},
    {"`A2000000` to `A2FFFFFF`", 0xA2FFFFFF},
    {"`B1000000` to `B1FFFFFF`", 0xB1FFFFFF},
    {"`B2000000` to `B2FFFFFF`", 0xB2FFFFFF},
    {"others with the second digit 1", 0xC1FFFFFF},
    {"others with the second digit 2", 0xC2FFFFFF},
    {"all others", 0xC0FFFFFF},
};

constexpr FlagName kErrors[] = {
    {"ERROR_NOT_READY", ERROR_NOT_READY},
    {"ERROR_BAD_COMMAND", ERROR_BAD_COMMAND},
    {"ERROR_OUT_OF_PAPER", ERROR_OUT_OF_PAPER},
    {"ERROR_IO_DEVICE", ERROR_IO_DEVICE},
    {"ERROR_TIMEOUT", ERROR_TIMEOUT},
    {"ERROR_DEVICE_DOOR_OPEN", ERROR_DEVICE_DOOR_OPEN},
    {"ERROR_INTERNAL_ERROR", ERROR_INTERNAL_ERROR},
};

std::string ErrorName(DWORD error) {
  for (const FlagName& row : kErrors) {
    if (row.flag == error) return row.name;
  }
  return error == 0 ? "" : std::to_string(error);
}

const char* SeverityName(Severity severity) {
  return severity == Severity::Error ? "error" : severity == Severity::Warning ? "warning" : "normal";
}

std::string Line(const std::string& codes, const StatusCodeRow& row, ULocale& locale) {
  const std::string text = row.text == 0 ? "" : platform::ToUtf8(locale.LoadString(row.text).View());
  const bool inComment = row.text != 0 && !row.spoolerShows;
  return "| " + codes + " | " + text + " | " + SeverityName(row.severity) + " | " + (inComment ? "yes" : "no") + " | " +
         Joined(PrinterStatusNames(row.printerFlag)) + " | " + Joined(JobStatusNames(row.jobFlag)) + " | " +
         ErrorName(row.error) + " | " + (row.flags2 == 0 ? "" : EncodeHexNumber(static_cast<WORD>(row.flags2))) +
         " |\n";
}

std::string Document() {
  pmLocale english("enu");
  std::string page = std::string(kHead) + "| code" + kTableHead;
  for (const StatusCodeRow& row : StatusCodes()) page += Line("`" + EncodeHexNumber(row.code) + "`", row, english);
  page +=
      "\nA code that has no row counts by its range. `%1` is the printer's own number: the last six digits, as a "
      "decimal\n"
      "number, of a code that begins with A, and the last four digits of one that begins with B.\n\n"
      "| codes";
  page += kTableHead;
  for (const auto& range : kRanges) page += Line(range.codes, DescribeStatusCode(range.example), english);
  return page;
}

}  // namespace
}  // namespace portwise

int main(int argc, char** argv) { return portwise::RunGenerator(argc, argv, portwise::Document()); }
