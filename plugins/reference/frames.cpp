#include "plugins/reference/frames.h"

#include <algorithm>
#include <charconv>
#include <numeric>

namespace reference {
namespace {

constexpr char kStart = '\x02';
constexpr char kEnd = '\x03';
constexpr std::size_t kLongest = 256;
constexpr std::size_t kTail = 3;  // the semicolon and the digits

template <class Number>
bool ReadNumber(std::string_view text, int base, Number* number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number, base);
  return error == std::errc() && end == text.data() + text.size();
}

/// Cuts the next word off.
std::string_view TakeWord(std::string_view* text) {
  const std::size_t end = std::min(text->find(' '), text->size());
  const std::string_view word = text->substr(0, end);
  text->remove_prefix(std::min(end + 1, text->size()));
  return word;
}

bool HasChecksum(std::string_view content) {
  unsigned told = 0;
  if (content.size() < kTail || content[content.size() - kTail] != ';') return false;
  if (!ReadNumber(content.substr(content.size() - kTail + 1), 16, &told)) return false;
  const std::string_view text = content.substr(0, content.size() - kTail);
  const unsigned sum = std::accumulate(
      text.begin(), text.end(), 0u, [](unsigned total, char byte) { return total + static_cast<unsigned char>(byte); });
  return told == (sum & 0xFF);
}

}  // namespace

Frame FirstFrame(std::string_view bytes) {
  const std::size_t start = bytes.find(kStart);
  if (start == bytes.npos) return {};
  const std::size_t end = bytes.find(kEnd, start);
  if (end == bytes.npos) {
    if (bytes.size() - start <= kLongest) return {};
    return {FrameState::kBad, {}, start + 1};  // no frame is that long
  }
  const std::string_view content = bytes.substr(start + 1, end - start - 1);
  if (!HasChecksum(content)) return {FrameState::kBad, {}, end + 1};
  return {FrameState::kGood, content.substr(0, content.size() - kTail), end + 1};
}

std::optional<PrinterState> ReadState(std::string_view text) {
  PrinterState state{};
  if (TakeWord(&text) != "ST") return std::nullopt;
  const std::string_view letter = TakeWord(&text);
  if (letter.size() != 1 || !ReadNumber(TakeWord(&text), 16, &state.conditions)) return std::nullopt;
  if (!ReadNumber(TakeWord(&text), 10, &state.room)) return std::nullopt;
  if (!ReadNumber(TakeWord(&text), 10, &state.buffer)) return std::nullopt;
  state.state = letter.front();
  return state;
}

}  // namespace reference
