#include "network/server_statistics.h"

namespace portwise {

void ServerStatistics::Reset() {
  accepted_ = 0;
  sent_ = 0;
  received_ = 0;
}

void ServerStatistics::CountClient(const std::string& address) {
  ++accepted_;
  const OScopedLock lock(lock_);
  if (addresses_.size() < kMaxAddresses) addresses_.insert(address);
}

size_t ServerStatistics::AddressCount() {
  const OScopedLock lock(lock_);
  return addresses_.size();
}

}  // namespace portwise
