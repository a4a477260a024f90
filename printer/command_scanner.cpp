#include "printer/command_scanner.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace portwise::printer {
namespace {

constexpr char kEscape = '\x1b';
constexpr char kDigit = '#';  // in a pattern: a hexadecimal digit

struct {
  Command command;
  std::string_view pattern;
} constexpr kPatterns[] = {
    {Command::kStatus, "\x1b?ST\r\n"},
    {Command::kIdentity, "\x1b?ID\r\n"},
    {Command::kBlock, "\x1b!DT####\r\n"},
    {Command::kPages, "\x1b!PG####\r\n"},
};

bool Begins(std::string_view bytes, std::string_view pattern) {
  const std::size_t length = std::min(bytes.size(), pattern.size());
  return std::equal(bytes.begin(), bytes.begin() + length, pattern.begin(), [](char byte, char expected) {
    return expected == kDigit ? std::isxdigit(static_cast<unsigned char>(byte)) != 0 : byte == expected;
  });
}

unsigned NumberIn(std::string_view bytes, std::string_view pattern) {
  unsigned number = 0;
  const std::size_t digits = pattern.find(kDigit);
  if (digits != pattern.npos) std::from_chars(bytes.data() + digits, bytes.data() + bytes.size(), number, 16);
  return number;
}

}  // namespace

void CommandScanner::Feed(std::string_view bytes, Sink* sink) {
  if (kept_.empty()) {
    kept_ = bytes.substr(Consume(bytes, sink));
  } else {
    kept_ += bytes;
    kept_.erase(0, Consume(kept_, sink));
  }
}

void CommandScanner::Flush(Sink* sink) {
  if (!kept_.empty()) sink->OnData(kept_);
  kept_.clear();
}

/// Returns how many bytes were handed on.
std::size_t CommandScanner::Consume(std::string_view bytes, Sink* sink) {
  std::size_t start = 0;  // of data not handed on yet
  std::size_t at = 0;
  const auto handOn = [&](std::size_t end) {
    if (end > start) sink->OnData(bytes.substr(start, end - start));
    start = end;
  };
  while (at < bytes.size()) {
    if (passing_ > 0) {
      const std::uint64_t passed = std::min<std::uint64_t>(passing_, bytes.size() - at);
      passing_ -= passed;
      at += static_cast<std::size_t>(passed);
      continue;
    }
    at = std::min(bytes.find(kEscape, at), bytes.size());
    const std::string_view rest = bytes.substr(at);
    const auto* found = std::find_if(std::begin(kPatterns), std::end(kPatterns), [&](const auto& row) {
      return Begins(rest, row.pattern) && std::count(commands_.begin(), commands_.end(), row.command) > 0;
    });
    if (rest.empty()) break;
    if (found == std::end(kPatterns)) {
      ++at;
      continue;
    }
    handOn(at);
    if (rest.size() < found->pattern.size()) return start;
    const std::string_view command = rest.substr(0, found->pattern.size());
    at = start = at + command.size();
    sink->OnCommand(found->command, NumberIn(command, found->pattern), command);
  }
  handOn(at);
  return start;
}

}  // namespace portwise::printer
