#pragma once

#include <windows.h>

#include <cstddef>
#include <memory>
#include <string_view>

#include "network/http/http_message_parser.h"

namespace portwise {

/// The bytes of one request while they arrive. Without any it takes no memory. One thread at a time.
class RequestBuffer {
 public:
  RequestBuffer() = default;
  RequestBuffer(const RequestBuffer&) = delete;
  RequestBuffer& operator=(const RequestBuffer&) = delete;

  /// The most bytes of one receive.
  static constexpr size_t kMaxReceive = 100000;

  /// Room for the next receive, behind the bytes that are there: some kilobytes at first, and more the more has come,
  /// but not more than the request announces.
  /// Null when the memory is used up, and the request is refused then.
  char* Room();
  /// How many bytes the buffer takes once there is that room.
  size_t NextCapacity() const;
  size_t RoomSize() const;
  /// So many bytes have been put there.
  void Filled(size_t bytes) { size_ += bytes; }
  /// Nothing has been put there: gives the room back when it is all that there is.
  void NotFilled();

  size_t Capacity() const { return capacity_; }
  std::string_view Bytes() const { return {bytes_.get(), size_}; }
  /// Looks at what has come since the last look; true when a whole request is there. One that will never be whole is
  /// refused.
  bool LookForRequest();
  /// The HTTP status that refuses the request; 0 while nothing does.
  DWORD Refusal() const { return refusal_; }
  /// There is nothing to spare for the rest of it.
  void Refuse();

  void Clear();

 private:
  std::unique_ptr<char[]> bytes_;
  size_t capacity_ = 0;
  size_t size_ = 0;
  HTTPMessageParser parser_{kRequestLimits};
  DWORD refusal_ = 0;
};

}  // namespace portwise
