#pragma once

#include <cstdint>

namespace portwise::platform {

/// What the system counts of a TCP connection that this side opened. Bytes are those of the data alone.
struct TcpCounters {
  int state;  // as the system numbers them
  std::uint32_t segmentSize;
  std::uint32_t roundTrip;  // microseconds, as is the next
  std::uint32_t shortestRoundTrip;
  std::uint64_t sent;  // each as often as it was sent
  std::uint64_t resent;
  std::uint64_t acknowledged;
  std::uint64_t received;
};

/// False with errno; ENOPROTOOPT when the system is too old to count.
bool ReadTcpCounters(int descriptor, TcpCounters* counters);

}  // namespace portwise::platform
