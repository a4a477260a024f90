#include "network/request_budget.h"

#include <algorithm>

namespace portwise {

bool RequestBudget::Take(size_t bytes) {
  size_t taken = taken_;
  do {
    if (bytes > kBytes - std::min(taken, kBytes)) return false;
  } while (!taken_.compare_exchange_weak(taken, taken + bytes));
  return true;
}

size_t RequestBudget::Left() const { return kBytes - std::min<size_t>(taken_, kBytes); }

bool BudgetShare::Hold(size_t bytes) {
  const size_t wanted = bytes - std::min(bytes, kFree);
  if (wanted > taken_ && !budget_.Take(wanted - taken_)) return false;
  if (wanted < taken_) budget_.Return(taken_ - wanted);
  taken_ = wanted;
  return true;
}

size_t BudgetShare::Missing(size_t bytes) const {
  const size_t wanted = bytes - std::min(bytes, kFree);
  return wanted - std::min<size_t>(wanted, taken_);
}

}  // namespace portwise
