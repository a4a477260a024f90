#include "platform/sockets/echo_probe.h"

#include <netinet/ip.h>
#include <netinet/ip_icmp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace portwise::platform {
namespace {

using Clock = std::chrono::steady_clock;

/// The "echo" service, which hardly any host still offers.
constexpr std::uint16_t kProbedPort = 7;

UniqueFd Open(int type, int protocol) {
  return UniqueFd(::socket(AF_INET, type | SOCK_CLOEXEC | SOCK_NONBLOCK, protocol));
}

/// The Internet checksum, RFC 1071.
std::uint16_t Checksum(const void* data, std::size_t size) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  std::uint32_t sum = 0;
  for (std::size_t i = 0; i + 1 < size; i += 2) {
    std::uint16_t word;
    std::memcpy(&word, bytes + i, sizeof word);
    sum += word;
  }
  while (sum >> 16 != 0) sum = (sum & 0xFFFF) + (sum >> 16);
  return static_cast<std::uint16_t>(~sum);
}

/// What raw sockets tell our replies from other processes' by; datagram sockets have one of their own.
std::uint16_t Identity() { return htons(static_cast<std::uint16_t>(::getpid())); }

bool Await(int socket, short events, Clock::time_point deadline) {
  pollfd wait = {socket, events, 0};
  while (true) {
    const auto left = std::max(std::chrono::nanoseconds(deadline - Clock::now()), std::chrono::nanoseconds(0)).count();
    const timespec time = {static_cast<time_t>(left / 1000000000), static_cast<long>(left % 1000000000)};
    const int ready = ::ppoll(&wait, 1, &time, nullptr);
    if (ready >= 0 || errno != EINTR) return ready > 0;
  }
}

bool AskByConnect(in_addr host, Clock::time_point deadline) {
  const UniqueFd socket = Open(SOCK_STREAM, 0);
  if (!socket) return false;
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(kProbedPort);
  address.sin_addr = host;
  if (::connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return true;
  if (errno == ECONNREFUSED) return true;
  if (errno != EINPROGRESS || !Await(socket.Get(), POLLOUT, deadline)) return false;
  int error = 0;
  socklen_t size = sizeof error;
  ::getsockopt(socket.Get(), SOL_SOCKET, SO_ERROR, &error, &size);
  return error == 0 || error == ECONNREFUSED;
}

}  // namespace

EchoProbe::EchoProbe() {
  socket_ = Open(SOCK_DGRAM, IPPROTO_ICMP);
  if (socket_) {
    way_ = Way::kDatagram;
    return;
  }
  socket_ = Open(SOCK_RAW, IPPROTO_ICMP);
  if (socket_) way_ = Way::kRaw;
}

bool EchoProbe::Ask(in_addr host, int timeToLive, std::chrono::nanoseconds time) {
  if (way_ == Way::kConnect) return AskByConnect(host, Clock::now() + time);
  ::setsockopt(socket_.Get(), IPPROTO_IP, IP_TTL, &timeToLive, sizeof timeToLive);
  return AskByEcho(host, time);
}

bool EchoProbe::AskByEcho(in_addr host, std::chrono::nanoseconds time) {
  const auto deadline = Clock::now() + time;
  if (!SendEcho(host)) return false;
  while (Await(socket_.Get(), POLLIN, deadline)) {
    if (IsReply(host)) return true;
  }
  return false;
}

bool EchoProbe::SendEcho(in_addr host) {
  icmphdr request = {};
  request.type = ICMP_ECHO;
  request.un.echo.id = Identity();
  request.un.echo.sequence = htons(++sequence_);
  request.checksum = Checksum(&request, sizeof request);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr = host;
  return ::sendto(socket_.Get(), &request, sizeof request, 0, reinterpret_cast<const sockaddr*>(&address),
                  sizeof address) == static_cast<ssize_t>(sizeof request);
}

/// Takes one packet off the socket. On the way back there may be late replies, and a raw socket gets everybody's.
bool EchoProbe::IsReply(in_addr host) const {
  unsigned char packet[128];
  sockaddr_in from = {};
  socklen_t fromSize = sizeof from;
  const ssize_t received =
      ::recvfrom(socket_.Get(), packet, sizeof packet, 0, reinterpret_cast<sockaddr*>(&from), &fromSize);
  std::size_t head = 0;
  if (way_ == Way::kRaw && received > 0) head = (packet[0] & 0x0Fu) * 4;
  icmphdr reply;
  if (received < static_cast<ssize_t>(head + sizeof reply)) return false;
  std::memcpy(&reply, packet + head, sizeof reply);
  return reply.type == ICMP_ECHOREPLY && from.sin_addr.s_addr == host.s_addr &&
         reply.un.echo.sequence == htons(sequence_) && (way_ == Way::kDatagram || reply.un.echo.id == Identity());
}

}  // namespace portwise::platform
