#include "platform/spooler/frame.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>

namespace portwise::platform {

namespace {

using Json = nlohmann::json;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kFrameTime{30};
/// No message of ours is nested deeper; a peer's that is would only cost memory.
constexpr int kMaximumDepth = 16;

bool WaitReady(int socket, short events, Clock::time_point limit) {
  for (;;) {
    auto left = std::chrono::ceil<std::chrono::milliseconds>(limit - Clock::now()).count();
    if (left <= 0) return false;
    pollfd entry{socket, events, 0};
    int ready = poll(&entry, 1, static_cast<int>(left));
    if (ready > 0) return true;
    if (ready < 0 && errno != EINTR) return false;
  }
}

bool SendAll(int socket, const char* data, std::size_t size, Clock::time_point limit) {
  while (size > 0) {
    ssize_t sent = send(socket, data, size, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0) {
      if (errno == EINTR) continue;
      if (errno != EAGAIN || !WaitReady(socket, POLLOUT, limit)) return false;
      continue;
    }
    data += sent;
    size -= static_cast<std::size_t>(sent);
  }
  return true;
}

bool ReceiveAll(int socket, char* data, std::size_t size, Clock::time_point limit) {
  while (size > 0) {
    ssize_t received = recv(socket, data, size, MSG_DONTWAIT);
    if (received == 0) return false;
    if (received < 0) {
      if (errno == EINTR) continue;
      if (errno != EAGAIN || !WaitReady(socket, POLLIN, limit)) return false;
      continue;
    }
    data += received;
    size -= static_cast<std::size_t>(received);
  }
  return true;
}

void PutLength(char* target, std::size_t length) {
  for (int byte = 0; byte < 4; ++byte) target[byte] = static_cast<char>(length >> (8 * byte));
}

std::size_t GetLength(const char* source) {
  std::size_t length = 0;
  for (int byte = 0; byte < 4; ++byte) length |= std::size_t{static_cast<std::uint8_t>(source[byte])} << (8 * byte);
  return length;
}

bool WaitForFirstByte(int socket) {
  pollfd entry{socket, POLLIN, 0};
  for (;;) {
    int ready = poll(&entry, 1, -1);
    if (ready > 0) return true;
    if (errno != EINTR) return false;
  }
}

}  // namespace

bool FitsFrame(const Message& message) {
  return message.head.dump(-1, ' ', false, Json::error_handler_t::replace).size() <= kMaximumHead &&
         message.body.size() <= kMaximumBody;
}

bool SendFrame(int socket, const Message& message) {
  std::string head = message.head.dump(-1, ' ', false, Json::error_handler_t::replace);
  if (head.size() > kMaximumHead || message.body.size() > kMaximumBody) return false;
  std::array<char, 8> lengths;
  PutLength(lengths.data(), head.size());
  PutLength(lengths.data() + 4, message.body.size());
  head.insert(0, lengths.data(), lengths.size());
  Clock::time_point limit = Clock::now() + kFrameTime;
  return SendAll(socket, head.data(), head.size(), limit) &&
         SendAll(socket, message.body.data(), message.body.size(), limit);
}

bool ReceiveFrame(int socket, Message* message) {
  if (!WaitForFirstByte(socket)) return false;
  Clock::time_point limit = Clock::now() + kFrameTime;
  std::array<char, 8> lengths;
  if (!ReceiveAll(socket, lengths.data(), lengths.size(), limit)) return false;
  std::size_t headSize = GetLength(lengths.data());
  std::size_t bodySize = GetLength(lengths.data() + 4);
  if (headSize > kMaximumHead || bodySize > kMaximumBody) return false;
  std::string head(headSize, '\0');
  if (!ReceiveAll(socket, head.data(), headSize, limit)) return false;
  bool tooDeep = false;
  auto checkDepth = [&tooDeep](int depth, Json::parse_event_t, Json&) {
    tooDeep = tooDeep || depth > kMaximumDepth;
    return !tooDeep;
  };
  message->head = Json::parse(head, checkDepth, false);
  if (tooDeep || !message->head.is_object()) return false;
  message->body.resize(bodySize);
  return ReceiveAll(socket, message->body.data(), bodySize, limit);
}

}  // namespace portwise::platform
