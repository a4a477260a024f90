#pragma once

#include <atomic>
#include <cstddef>

namespace portwise {

/// What all clients' requests and responses may take of the memory together. Any thread.
class RequestBudget {
 public:
  static constexpr size_t kBytes = size_t{256} << 20;

  bool Take(size_t bytes);
  void Return(size_t bytes) { taken_ -= bytes; }
  size_t Taken() const { return taken_; }
  size_t Left() const;

 private:
  std::atomic<size_t> taken_{0};
};

/// What one client holds of the budget, which it gives back in the end. One thread, but for Taken.
class BudgetShare {
 public:
  /// So much each client may have besides the budget, so that small requests are answered whatever the others do.
  static constexpr size_t kFree = 4096;

  explicit BudgetShare(RequestBudget& budget) : budget_(budget) {}
  ~BudgetShare() { Hold(0); }
  BudgetShare(const BudgetShare&) = delete;
  BudgetShare& operator=(const BudgetShare&) = delete;

  /// The client holds so many bytes in all from now on; false, with nothing changed, when the rest does not fit.
  bool Hold(size_t bytes);
  /// What Hold of so many bytes would take in addition.
  size_t Missing(size_t bytes) const;
  /// What is taken of the budget. Any thread.
  size_t Taken() const { return taken_; }

 private:
  RequestBudget& budget_;
  std::atomic<size_t> taken_{0};
};

}  // namespace portwise
