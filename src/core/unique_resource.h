#pragma once

#include <utility>

namespace portwise {

/// Owner of one resource. `Traits` names its type (`Value`), the value that stands for none (`None()`), what counts as
/// none (`IsNone(value)`) and how it is released (`Release(value)`). Moves, never copies; one thread at a time.
template <class Traits>
class UniqueResource {
 public:
  using Value = typename Traits::Value;

  UniqueResource() = default;
  explicit UniqueResource(Value value) : value_(value) {}
  UniqueResource(UniqueResource&& other) noexcept : value_(other.Detach()) {}
  UniqueResource& operator=(UniqueResource&& other) noexcept {
    if (this != &other) Reset(other.Detach());
    return *this;
  }
  UniqueResource(const UniqueResource&) = delete;
  UniqueResource& operator=(const UniqueResource&) = delete;
  ~UniqueResource() { Reset(); }

  Value Get() const { return value_; }
  explicit operator bool() const { return !Traits::IsNone(value_); }

  /// Gives the resource up without releasing it.
  Value Detach() { return std::exchange(value_, Traits::None()); }

  /// Releases what is owned, then owns `value`.
  void Reset(Value value = Traits::None()) {
    Value old = std::exchange(value_, value);
    if (!Traits::IsNone(old)) Traits::Release(old);
  }

  /// Where a call that makes the resource stores it; what was owned is released first.
  Value* Put() {
    Reset();
    return &value_;
  }

 private:
  Value value_ = Traits::None();
};

}  // namespace portwise
