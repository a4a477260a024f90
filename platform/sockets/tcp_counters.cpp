#include "platform/sockets/tcp_counters.h"

// Knows more than the C library's header of the same subject, and cannot be used beside it.
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

namespace portwise::platform {

bool ReadTcpCounters(int descriptor, TcpCounters* counters) {
  tcp_info info = {};
  socklen_t size = sizeof info;
  if (::getsockopt(descriptor, IPPROTO_TCP, TCP_INFO, &info, &size) != 0) return false;
  if (size < offsetof(tcp_info, tcpi_bytes_retrans) + sizeof info.tcpi_bytes_retrans) {
    errno = ENOPROTOOPT;
    return false;
  }
  // The begin and the end of the connection are acknowledged, too, and count as a byte each.
  const std::uint64_t acknowledged = info.tcpi_bytes_acked > 0 ? info.tcpi_bytes_acked - 1 : 0;
  *counters = {info.tcpi_state,
               info.tcpi_snd_mss,
               info.tcpi_rtt,
               info.tcpi_min_rtt,
               info.tcpi_bytes_sent,
               info.tcpi_bytes_retrans,
               std::min<std::uint64_t>(acknowledged, info.tcpi_bytes_sent - info.tcpi_bytes_retrans),
               info.tcpi_bytes_received};
  return true;
}

}  // namespace portwise::platform
