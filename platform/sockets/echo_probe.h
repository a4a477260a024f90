#pragma once

#include <netinet/in.h>

#include <chrono>

#include "platform/kernel/unique_fd.h"

namespace portwise::platform {

/// Asks hosts whether they are there: with ICMP echoes over a datagram socket, which needs a permission of the system's
/// settings, or over a raw one, which needs a privilege; and without either by a TCP connect, whose refusal tells as
/// much as its success. One thread at a time.
class EchoProbe {
 public:
  EchoProbe();

  /// True when the host answered within the time.
  bool Ask(in_addr host, int timeToLive, std::chrono::nanoseconds time);

 private:
  enum class Way { kDatagram, kRaw, kConnect };

  bool SendEcho(in_addr host);
  bool IsReply(in_addr host) const;
  bool AskByEcho(in_addr host, std::chrono::nanoseconds time);

  Way way_ = Way::kConnect;
  UniqueFd socket_;
  std::uint16_t sequence_ = 0;
};

}  // namespace portwise::platform
