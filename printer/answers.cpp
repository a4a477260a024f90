#include "printer/answers.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <numeric>

namespace portwise::printer {
namespace {

constexpr std::size_t kMostPieces = 4096;
constexpr std::chrono::milliseconds kGap{20};

/// True when the fault is due, which is then counted.
bool Take(std::uint64_t* count) {
  if (*count == 0) return false;
  --*count;
  return true;
}

}  // namespace

std::string Frame(std::string_view text, bool wrong) {
  const unsigned sum = std::accumulate(text.begin(), text.end(), wrong ? 1u : 0u, [](unsigned total, char byte) {
    return total + static_cast<unsigned char>(byte);
  });
  std::array<char, 8> tail;
  std::snprintf(tail.data(), tail.size(), ";%02X\x03", sum & 0xFF);
  return "\x02" + std::string(text) + tail.data();
}

void AnswerQueue::Put(std::string_view text, AnswerManner* manner, Clock::time_point now) {
  if (Take(&manner->silent)) return;
  const std::string frame = Frame(text, Take(&manner->wrong));
  const std::size_t size = manner->piece > 0 ? std::min<std::size_t>(manner->piece, frame.size()) : frame.size();
  Clock::time_point due = now + manner->delay;
  if (!pieces_.empty()) due = std::max(due, pieces_.back().due);
  for (std::size_t at = 0; at < frame.size() && pieces_.size() < kMostPieces; at += size, due += kGap) {
    pieces_.push_back({due, frame.substr(at, size)});
  }
}

bool AnswerQueue::Send(int socket, Clock::time_point now) {
  while (!pieces_.empty() && pieces_.front().due <= now) {
    std::string& bytes = pieces_.front().bytes;
    const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent < 0) return errno == EAGAIN || errno == EINTR;
    bytes.erase(0, static_cast<std::size_t>(sent));
    if (!bytes.empty()) return true;
    pieces_.pop_front();
  }
  return true;
}

}  // namespace portwise::printer
