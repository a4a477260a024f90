#pragma once

#include <cstddef>

#include "platform/spooler/message.h"

/// Messages on a stream socket: the lengths of head and body (32 bits each, little-endian), the head as JSON text in
/// UTF-8, the body as it is.
namespace portwise::platform {

inline constexpr std::size_t kMaximumHead = std::size_t{1} << 20;
inline constexpr std::size_t kMaximumBody = std::size_t{4} << 20;

/// Whether a message is within the bounds.
bool FitsFrame(const Message& message);

/// False when the peer has gone, takes nothing for half a minute, or the message is past the bounds; nothing useful
/// can be sent on the socket after that.
bool SendFrame(int socket, const Message& message);

/// Waits for the next message without limit; one that has begun must be complete within half a minute. False when the
/// peer has gone, or when what it sends is not a message or past the bounds; the socket must then be closed.
bool ReceiveFrame(int socket, Message* message);

}  // namespace portwise::platform
