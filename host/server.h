#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "host/spooler.h"
#include "platform/kernel/unique_fd.h"

namespace portwise {

/// The spooler's socket: a thread for each client, at most 256 of them. Clients are root, the owner of the spooler's
/// process and the members of the socket file's group (which a home with the set-group-id bit chooses); others are
/// told ERROR_ACCESS_DENIED and closed.
class Server {
 public:
  /// Listens in `home`, where the caller holds the lock of the only spooler. Null when that fails. The spooler must
  /// outlive the server.
  static std::unique_ptr<Server> Start(const std::string& home, Spooler& spooler, std::string* why);
  /// Stop must have returned true.
  ~Server();

  /// Closes the socket, removes its file and drops the clients. False when an order has not been carried out by
  /// `limit`; the server must then live until the process ends.
  bool Stop(std::chrono::steady_clock::time_point limit);

 private:
  Server(Spooler& spooler, platform::UniqueFd socket, std::string path, unsigned group);

  void Accept();
  void Serve(platform::UniqueFd client);
  bool IsAllowed(int client, unsigned* user) const;

  Spooler& spooler_;
  platform::UniqueFd socket_;
  std::string path_;
  unsigned group_;
  std::mutex mutex_;
  std::condition_variable clientEnded_;
  std::map<int, std::thread> clients_;  ///< by their sockets
  bool stopping_ = false;
  std::thread acceptor_;
};

}  // namespace portwise
