#pragma once

#include <winsock2.h>

namespace portwise {

/// Keeps the socket library (version 2.2) started for as long as the object lives.
class SocketLibrary {
 public:
  SocketLibrary() {
    constexpr WORD kVersion = MAKEWORD(2, 2);
    WSADATA data;
    started_ = WSAStartup(kVersion, &data) == 0;
    if (!started_ || data.wVersion == kVersion) return;
    WSACleanup();
    started_ = false;
  }
  ~SocketLibrary() {
    if (started_) WSACleanup();
  }
  SocketLibrary(const SocketLibrary&) = delete;
  SocketLibrary& operator=(const SocketLibrary&) = delete;

  /// False when it could not be started; socket calls then fail.
  explicit operator bool() const { return started_; }

 private:
  bool started_;
};

}  // namespace portwise
