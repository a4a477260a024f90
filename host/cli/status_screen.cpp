#include "host/cli/status_screen.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "host/cli/client.h"
#include "platform/text.h"

namespace portwise {

namespace {

struct Size {
  std::size_t rows, columns;
};

Size TerminalSize() {
  winsize size = {};
  const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 1 && size.ws_col > 0;
  return known ? Size{size.ws_row, size.ws_col} : Size{24, 80};
}

std::string Cut(const std::string& line, std::size_t columns) {
  std::u16string units = platform::ToUtf16(line);
  if (units.size() <= columns) return line;
  // Half a pair of surrogates is no character.
  if (columns > 0 && (units[columns - 1] & 0xFC00) == 0xD800) --columns;
  return platform::ToUtf8(units.substr(0, columns));
}

}  // namespace

bool StatusScreen::IsPossible() {
  const char* terminal = std::getenv("TERM");
  return isatty(STDOUT_FILENO) && terminal && *terminal && std::string_view(terminal) != "dumb";
}

StatusScreen::StatusScreen() { std::fputs("\x1b[?1049h\x1b[?25l", stdout); }

StatusScreen::~StatusScreen() {
  std::fputs(kFarewell, stdout);
  std::fflush(stdout);
}

void StatusScreen::Show(const std::vector<std::string>& lines) {
  const auto [rows, columns] = TerminalSize();
  const std::size_t shown = lines.size() <= rows ? lines.size() : rows - 1;
  std::string picture = "\x1b[H";
  for (std::size_t row = 0; row < shown; ++row)
    picture += (row > 0 ? "\r\n" : "") + Cut(lines[row], columns) + "\x1b[K";
  if (shown < lines.size())
    picture += "\r\n" + Cut("... and " + std::to_string(lines.size() - shown) + " more", columns) + "\x1b[K";
  // No line end behind the last line, which would scroll a screen that is full.
  picture += "\x1b[J";
  std::fwrite(picture.data(), 1, picture.size(), stdout);
  FlushOutput();
}

}  // namespace portwise
