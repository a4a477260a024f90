#pragma once

#include <sys/un.h>

#include <string>

#include "platform/kernel/unique_fd.h"
#include "platform/spooler/message.h"

/// The way from a program to its spooler.
namespace portwise::platform {

/// What carries out orders. Any thread may call; nothing is thrown.
class SpoolerService {
 public:
  virtual ~SpoolerService() = default;
  virtual Message Call(const Message& request) = 0;
};

/// Makes `service` the spooler of this process; null ends it, after the calls under way have returned. Must not be
/// called from inside a Call.
void SetLocalSpooler(SpoolerService* service);

/// One order to the spooler of this process, else over the socket to the one that serves Home(). The answer's "error"
/// is RPC_S_SERVER_UNAVAILABLE when there is none, or when it has gone away before it answered.
Message CallSpooler(const Message& request);

/// The answer that says only that an order failed.
Message Failure(unsigned error, const std::string& reason);

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
