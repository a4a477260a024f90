#include "printer/print_engine.h"

#include <algorithm>
#include <numeric>

namespace portwise::printer {

void PrintEngine::SetPaper(std::uint64_t pages) {
  paper_ = pages;
  if (pages == 0) Set(kPaperOut);
}

void PrintEngine::ClearConditions() {
  conditions_ = 0;
  paper_.reset();
}

void PrintEngine::AddBytes(std::uint64_t bytes) {
  if (queue_.empty() || queue_.back().pages > 0) queue_.push_back({0, 0});
  queue_.back().bytes += bytes;
}

void PrintEngine::AddPages(std::uint64_t pages) {
  if (queue_.empty()) queue_.push_back({0, 0});
  queue_.back().pages += pages;
}

void PrintEngine::Run(Clock::time_point now) {
  now = std::max(now, printedUntil_);
  while (!queue_.empty() && !IsStopped()) {
    if (!PrintBytes(&queue_.front(), now) || !PrintPages(&queue_.front(), now)) return;
    queue_.pop_front();
  }
  printedUntil_ = now;
}

std::uint64_t PrintEngine::BufferedBytes() const {
  return std::accumulate(queue_.begin(), queue_.end(), std::uint64_t{0},
                         [](std::uint64_t sum, const Item& item) { return sum + item.bytes; });
}

std::uint64_t PrintEngine::PagesWaiting() const {
  return std::accumulate(queue_.begin(), queue_.end(), std::uint64_t{0},
                         [](std::uint64_t sum, const Item& item) { return sum + item.pages; });
}

/// Moves the clock on only by the time that whole bytes took, so that slow printing does not lose fractions.
bool PrintEngine::PrintBytes(Item* item, Clock::time_point now) {
  if (speed_ == 0) item->bytes = 0;
  if (item->bytes == 0) return true;
  const double speed = static_cast<double>(speed_) / Slowness();
  const std::chrono::duration<double> elapsed = now - printedUntil_;
  const std::uint64_t printed = std::min(static_cast<std::uint64_t>(elapsed.count() * speed), item->bytes);
  item->bytes -= printed;
  printedUntil_ +=
      std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(static_cast<double>(printed) / speed));
  return item->bytes == 0;
}

bool PrintEngine::PrintPages(Item* item, Clock::time_point now) {
  const auto time = std::chrono::duration_cast<Clock::duration>(pageTime_ * Slowness());
  while (item->pages > 0) {
    if (now - printedUntil_ < time) return false;
    printedUntil_ += time;
    --item->pages;
    ++printed_;
    if (paper_ && --*paper_ == 0) {
      Set(kPaperOut);
      printedUntil_ = now;
      return false;
    }
  }
  return true;
}

}  // namespace portwise::printer
