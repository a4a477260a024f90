#pragma once

#include <windows.h>

#include <atomic>
#include <set>
#include <string>

#include "core/synchronizer.h"

namespace portwise {

/// What the network service has done since its last start. Any thread.
class ServerStatistics {
 public:
  /// The addresses stay known.
  void Reset();

  void CountClient(const std::string& address);
  void CountSent(size_t bytes) { sent_ += bytes; }
  void CountReceived(size_t bytes) { received_ += bytes; }

  DWORD AcceptedConnections() const { return accepted_; }
  double KilobytesSent() const { return static_cast<double>(sent_) / 1024.0; }
  double KilobytesReceived() const { return static_cast<double>(received_) / 1024.0; }
  /// From how many addresses clients have come; no more are told apart than kMaxAddresses.
  size_t AddressCount();

  static constexpr size_t kMaxAddresses = 65536;

 private:
  std::atomic<DWORD> accepted_{0};
  std::atomic<ULONGLONG> sent_{0};
  std::atomic<ULONGLONG> received_{0};
  OCriticalSection lock_;
  std::set<std::string> addresses_;  // under lock_
};

}  // namespace portwise
