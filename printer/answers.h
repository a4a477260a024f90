#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

namespace portwise::printer {

/// How the printer answers, so that tests see what bad printers and networks do.
struct AnswerManner {
  std::chrono::milliseconds delay{0};
  std::uint64_t piece = 0;   ///< bytes sent at a time, 20 ms apart; 0 for all at once
  std::uint64_t wrong = 0;   ///< so many of the next answers get a wrong checksum
  std::uint64_t silent = 0;  ///< so many of the next requests get no answer
};

/// The frame of an answer: STX, the text, a semicolon, two hexadecimal digits of its checksum, ETX.
std::string Frame(std::string_view text, bool wrong);

/// What one connection still gets. One thread.
class AnswerQueue {
 public:
  using Clock = std::chrono::steady_clock;

  /// Queues an answer, or does what the manner says instead. Answers that nobody reads are lost in the end.
  void Put(std::string_view text, AnswerManner* manner, Clock::time_point now);
  /// Sends what is due without waiting; false when the connection is broken.
  bool Send(int socket, Clock::time_point now);
  bool IsEmpty() const { return pieces_.empty(); }

 private:
  struct Piece {
    Clock::time_point due;
    std::string bytes;
  };
  std::deque<Piece> pieces_;
};

}  // namespace portwise::printer
