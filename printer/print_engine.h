#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

namespace portwise::printer {

/// What keeps the printer from its work, as bits.
enum Condition : unsigned {
  kPaperOut = 0x1,
  kHeadOpen = 0x2,
  kOffline = 0x4,     ///< nothing is received either
  kRibbonLow = 0x10,  ///< a warning: everything takes twice the time
};

/// The part of the printer that prints: it empties the buffer at its speed, byte after byte, and prints pages where the
/// data say so. Time comes from the caller; one thread.
class PrintEngine {
 public:
  using Clock = std::chrono::steady_clock;

  /// Bytes printed a second; 0 prints them at once.
  void SetSpeed(std::uint64_t bytesPerSecond) { speed_ = bytesPerSecond; }
  /// What a page takes besides; 0 prints it at once.
  void SetPageTime(std::chrono::milliseconds time) { pageTime_ = time; }
  /// The paper lasts for so many pages more.
  void SetPaper(std::uint64_t pages);

  void Set(unsigned conditions) { conditions_ |= conditions; }
  /// The paper is then endless again.
  void ClearConditions();
  unsigned Conditions() const { return conditions_; }

  void AddBytes(std::uint64_t bytes);
  void AddPages(std::uint64_t pages);
  /// Prints what can be done by `now`.
  void Run(Clock::time_point now);
  /// Loses what is not printed.
  void Clear() { queue_.clear(); }

  bool IsStopped() const { return (conditions_ & (kPaperOut | kHeadOpen | kOffline)) != 0; }
  /// Nothing waits to be printed.
  bool IsEmpty() const { return queue_.empty(); }
  std::uint64_t BufferedBytes() const;
  std::uint64_t PagesPrinted() const { return printed_; }
  std::uint64_t PagesWaiting() const;

 private:
  struct Item {
    std::uint64_t bytes;
    std::uint64_t pages;  ///< behind the bytes
  };

  bool PrintBytes(Item* item, Clock::time_point now);
  bool PrintPages(Item* item, Clock::time_point now);
  double Slowness() const { return (conditions_ & kRibbonLow) != 0 ? 2 : 1; }

  std::uint64_t speed_ = 0;
  std::chrono::milliseconds pageTime_{0};
  std::optional<std::uint64_t> paper_;
  unsigned conditions_ = 0;
  std::deque<Item> queue_;
  std::uint64_t printed_ = 0;
  Clock::time_point printedUntil_{};
};

}  // namespace portwise::printer
