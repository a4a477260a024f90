#pragma once

#include <sys/un.h>

#include <string>

#include "platform/kernel/unique_fd.h"
#include "platform/spooler/spooler_service.h"

/// The way from a program to its spooler.
namespace portwise::platform {

/// Orders over one connection to the spooler's socket, for clients whose orders belong together: what a client leaves
/// unfinished ends with its connection. One thread at a time.
class SpoolerConnection final : public SpoolerService {
 public:
  SpoolerConnection();

  /// RPC_S_SERVER_UNAVAILABLE when the socket could not be reached or was lost; it stays so.
  Message Call(const Message& request) override;

 private:
  UniqueFd socket_;
};

/// The address of a socket file in a folder: by default the spooler's in a home. A path that is too long for an address
/// goes through the open folder, so the object must live until bind or connect has been called.
class SpoolerAddress {
 public:
  explicit SpoolerAddress(const std::string& folder, const std::string& name = "spooler.sock");

  const sockaddr_un& Get() const { return address_; }
  const std::string& Path() const { return path_; }

 private:
  sockaddr_un address_{};
  std::string path_;
  UniqueFd folder_;
};

}  // namespace portwise::platform
