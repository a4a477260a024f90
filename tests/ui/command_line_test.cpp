#include <gtest/gtest.h>

#include "tests/support/print_ostring.h"
#include "ui/monitor_command_line.h"
#include "ui/port_entry_points.h"
#include "ui/status_request.h"

namespace portwise {
namespace {

TEST(CommandLines, OfTheStatusWindowAndTheQueryDialog) {
  // What was understood: the verb's number, the printer, the switches, the job and its name.
  const std::pair<const char*, const char*> rows[] = {
      {"open \"Label Printer\"", "1|Label Printer||0|"},
      {"  INIT   Labels  -I -f ", "2|Labels|if|0|"},
      {"-f close\"x", "0||f|0|"},
      {"cleanup \"a\"show b", "5|b||0|"},
      {"open \"no end -i", "1|no end -i||0|"},
      {"open \"\" -i", "1||i|0|"},
      {"hide close", "6|close||0|"},
      {"-jn \"a; b\" open P -ji 17x", "1|P||17|a; b"},
      {"open P -ji", "1|P||0|"},
      {"open P -ji 99999999999 -jn", "1|P||2147483647|"},
      {"Labels open", "1|||0|"},
      {"open\tP", "0|||0|"},
      {"\"", "0|||0|"},
  };
  for (const auto& [text, understood] : rows) {
    const MonitorCommandLine line(text);
    OString found = OString::FromInt(static_cast<int>(line.verb)) + "|" + line.printer + "|";
    found += OString(line.hidden ? "i" : "") + (line.newWindow ? "f" : "") + "|";
    EXPECT_EQ(found + OString::FromInt(line.job) + "|" + line.jobName, understood) << text;
  }
}

TEST(CommandLines, OfPorts) {
  const struct {
    const char* text;
    ULONG_PTR window;
    const char* name;
  } rows[] = {
      {"0001A2B4 \"Standard TCP/IP Port\"", 0x1A2B4, "Standard TCP/IP Port"},
      {"fFfF0001 LPT1:", 0xFFFF0001, "LPT1:"},
      {"00000001 \"\"a\" b\"\"", 1, "a\" b"},
      {"00000001 ", 1, ""},
      {"00000001", 0, nullptr},
      {"000000001 LPT1:", 0, nullptr},
      {"0001A2BG LPT1:", 0, nullptr},
      {" 0001A2B LPT1:", 0, nullptr},
  };
  for (const auto& row : rows) {
    const auto line = ReadPortCommandLine(row.text);
    ASSERT_EQ(line.has_value(), row.name != nullptr) << row.text;
    if (!line) continue;
    EXPECT_TRUE(line->window == reinterpret_cast<HWND>(row.window) && line->name == row.name) << row.text;
  }
}

TEST(StatusReplies, HaveThreeFields) {
  EXPECT_EQ(StatusRequest("deu"),
            "<state name='Status' action='get' language='deu' />;<state name='Status Severity' action='get' />;"
            "<port name='name' action='get' />&#0;");
  EXPECT_EQ(StatusTextRequest("x' a='"), "<state name='Status' action='get' language='x a=' />&#0");
  const std::string longText(1000, 'x');
  const std::pair<std::string, std::string> rows[] = {
      {std::string("Ready;1;USB001\0;more", 20), "Ready|1|USB001"},
      {longText + ";3;", longText + "|3|"},
      {";;", "|0|"},
      {"a;x;b", "a|0|b"},
      {"Ready;1", "unreadable"},
      {"Ready;1;USB001;", "unreadable"},
      {std::string("\0Ready;1;USB001", 15), "unreadable"},
  };
  for (const auto& [reply, read] : rows) {
    const auto status = ReadStatusReply(reply);
    const OString found =
        status ? status->text + "|" + OString::FromInt(status->severity) + "|" + status->port : OString("unreadable");
    EXPECT_EQ(found, OString(read)) << reply;
  }
}

}  // namespace
}  // namespace portwise
