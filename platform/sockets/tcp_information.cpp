// WSAIoctl, for SIO_TCP_INFO.

#include <mstcpip.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <iterator>

#include "platform/sockets/descriptor.h"
#include "platform/sockets/socket_errors.h"
#include "platform/sockets/tcp_counters.h"

namespace portwise::platform {
namespace {

struct StateRow {
  int native;
  TCPSTATE state;
};

constexpr StateRow kStates[] = {
    {TCP_ESTABLISHED, TCPSTATE_ESTABLISHED}, {TCP_SYN_SENT, TCPSTATE_SYN_SENT},    {TCP_SYN_RECV, TCPSTATE_SYN_RCVD},
    {TCP_FIN_WAIT1, TCPSTATE_FIN_WAIT_1},    {TCP_FIN_WAIT2, TCPSTATE_FIN_WAIT_2}, {TCP_TIME_WAIT, TCPSTATE_TIME_WAIT},
    {TCP_CLOSE_WAIT, TCPSTATE_CLOSE_WAIT},   {TCP_LAST_ACK, TCPSTATE_LAST_ACK},    {TCP_LISTEN, TCPSTATE_LISTEN},
    {TCP_CLOSING, TCPSTATE_CLOSING},
};

TCPSTATE StateOf(int native) {
  const auto* found = std::find_if(std::begin(kStates), std::end(kStates),
                                   [native](const StateRow& row) { return row.native == native; });
  return found == std::end(kStates) ? TCPSTATE_CLOSED : found->state;
}

ULONG ToUlong(std::uint64_t count) { return static_cast<ULONG>(std::min<std::uint64_t>(count, UINT_MAX)); }

TCP_INFO_v0 InfoOf(const TcpCounters& counters) {
  TCP_INFO_v0 info = {};
  info.State = StateOf(counters.state);
  info.Mss = counters.segmentSize;
  info.RttUs = counters.roundTrip;
  info.MinRttUs = counters.shortestRoundTrip;
  info.BytesInFlight = ToUlong(counters.sent - counters.resent - counters.acknowledged);
  info.BytesOut = counters.sent;
  info.BytesIn = counters.received;
  info.BytesRetrans = ToUlong(counters.resent);
  return info;
}

}  // namespace
}  // namespace portwise::platform

using namespace portwise::platform;

int WINAPI WSAIoctl(SOCKET socket, DWORD code, LPVOID in, DWORD inSize, LPVOID out, DWORD outSize, LPDWORD returned,
                    WSAOVERLAPPED*, LPWSAOVERLAPPED_COMPLETION_ROUTINE) {
  const int descriptor = DescriptorOf(socket);
  if (descriptor < 0) return SOCKET_ERROR;
  if (code != SIO_TCP_INFO) return FailSocketCall(WSAEOPNOTSUPP);
  DWORD version = 0;
  if (in == nullptr || inSize < sizeof version || out == nullptr || outSize < sizeof(TCP_INFO_v0) ||
      returned == nullptr) {
    return FailSocketCall(WSAEFAULT);
  }
  std::memcpy(&version, in, sizeof version);
  if (version != 0) return FailSocketCall(WSAEOPNOTSUPP);
  TcpCounters counters;
  if (!ReadTcpCounters(descriptor, &counters)) return FailSocketCall(SocketErrorOf(errno));
  const TCP_INFO_v0 info = InfoOf(counters);
  std::memcpy(out, &info, sizeof info);
  *returned = sizeof info;
  return 0;
}
