#include "network/request_buffer.h"

#include <algorithm>
#include <new>

#include "network/request_budget.h"

namespace portwise {
namespace {

constexpr size_t kFirstRoom = BudgetShare::kFree;
constexpr DWORD kTooLarge = 413;
constexpr DWORD kUnavailable = 503;

}  // namespace

char* RequestBuffer::Room() {
  if (const size_t capacity = NextCapacity(); capacity > capacity_) {
    std::unique_ptr<char[]> grown(new (std::nothrow) char[capacity]);
    if (!grown) {
      Refuse();
      return nullptr;
    }
    std::copy_n(bytes_.get(), size_, grown.get());
    bytes_ = std::move(grown);
    capacity_ = capacity;
  }
  return bytes_.get() + size_;
}

size_t RequestBuffer::NextCapacity() const {
  if (size_ < capacity_) return capacity_;
  if (capacity_ == 0) return kFirstRoom;
  const ULONGLONG whole = parser_.Length();
  return whole > size_ ? std::min(2 * capacity_, static_cast<size_t>(whole)) : 2 * capacity_;
}

void RequestBuffer::Refuse() { refusal_ = kUnavailable; }

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
  bytes_.reset();
  capacity_ = 0;
  size_ = 0;
  parser_ = HTTPMessageParser(kRequestLimits);
  refusal_ = 0;
}

}  // namespace portwise
