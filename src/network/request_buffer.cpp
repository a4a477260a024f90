#include "network/request_buffer.h"

#include <algorithm>
#include <new>

namespace portwise {
namespace {

constexpr size_t kFirstRoom = 4096;
constexpr DWORD kTooLarge = 413;
constexpr DWORD kUnavailable = 503;

}  // namespace

bool RequestBudget::Take(size_t bytes) {
  size_t taken = taken_;
  do {
    if (bytes > kBytes - std::min(taken, kBytes)) return false;
  } while (!taken_.compare_exchange_weak(taken, taken + bytes));
  return true;
}

char* RequestBuffer::Room() {
  if (size_ == capacity_) {
    const size_t more = capacity_ == 0 ? kFirstRoom : capacity_;
    std::unique_ptr<char[]> grown;
    if (budget_.Take(more)) {
      grown.reset(new (std::nothrow) char[capacity_ + more]);
      if (!grown) budget_.Return(more);
    }
    if (!grown) {
      refusal_ = kUnavailable;
      return nullptr;
    }
    std::copy_n(bytes_.get(), size_, grown.get());
    bytes_ = std::move(grown);
    capacity_ += more;
  }
  return bytes_.get() + size_;
}

size_t RequestBuffer::RoomSize() const { return std::min(capacity_ - size_, kMaxReceive); }

void RequestBuffer::NotFilled() {
  if (size_ == 0) Clear();
}

bool RequestBuffer::LookForRequest() {
  const HTTPMessageState state = parser_.Look(Bytes());
  if (state == HTTPMessageState::TooLarge) refusal_ = kTooLarge;
  return state == HTTPMessageState::Complete;
}

void RequestBuffer::Clear() {
  budget_.Return(capacity_);
  bytes_.reset();
  capacity_ = 0;
  size_ = 0;
  parser_ = HTTPMessageParser(kRequestLimits);
  refusal_ = 0;
}

}  // namespace portwise
