#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

/// The answers of the simulated printer: STX, a text, a semicolon, two hexadecimal digits, ETX. The digits are the sum
/// of the text's bytes modulo 256.
namespace reference {

enum class FrameState { kIncomplete, kGood, kBad };

struct Frame {
  FrameState state = FrameState::kIncomplete;
  std::string_view text;  ///< of a good frame
  std::size_t used = 0;   ///< the bytes up to its end, with what lay before it; 0 while it is incomplete
};

/// The first frame in `bytes`.
Frame FirstFrame(std::string_view bytes);

struct PrinterState {
  char state;           ///< R ready, P printing, S stopped
  unsigned conditions;  ///< kPaperOut and so on
  unsigned room;        ///< bytes free in the buffer
  unsigned buffer;      ///< its size
};
constexpr unsigned kPaperOut = 0x1;
constexpr unsigned kHeadOpen = 0x2;
constexpr unsigned kOffline = 0x4;
constexpr unsigned kRibbonLow = 0x10;

/// The state in a frame's text "ST <state> <conditions> <room> <buffer> ..."; none when it is another kind of answer.
std::optional<PrinterState> ReadState(std::string_view text);

}  // namespace reference
