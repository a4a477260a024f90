#pragma once

#include <unistd.h>

#include <cstdint>
#include <utility>

/// Loopback sockets for the printer's two services. Failures are std::system_error.
namespace portwise::printer {

/// Owner of a descriptor; -1 is none.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int descriptor) : descriptor_(descriptor) {}
  UniqueFd(UniqueFd&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~UniqueFd() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  int Get() const { return descriptor_; }
  explicit operator bool() const { return descriptor_ >= 0; }

 private:
  int descriptor_ = -1;
};

/// Throws std::system_error of errno, told as a failure of `what`.
[[noreturn]] void ThrowErrno(const char* what);

/// A non-blocking TCP socket bound to 127.0.0.1; port 0 takes any free one. It refuses connections until it listens.
UniqueFd BindLoopback(std::uint16_t port);
void Listen(int socket);
std::uint16_t PortOf(int socket);

/// The next waiting connection, or none.
UniqueFd AcceptNext(int listener);

/// True when a read or an accept on the socket would not wait.
bool IsReadable(int socket);

}  // namespace portwise::printer
