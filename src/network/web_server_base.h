#pragma once

#include <windows.h>

#include <atomic>
#include <memory>
#include <string>

#include "connection/socket_library.h"
#include "core/handles.h"
#include "core/worker_thread.h"
#include "network/client_list.h"
#include "network/client_pool.h"
#include "network/listener.h"
#include "network/request_buffer.h"
#include "network/server_response.h"
#include "network/server_statistics.h"

namespace portwise {

/// A TCP service: listens, accepts, and moves the bytes of requests and responses. What they mean is a derived class's
/// affair.
///
/// One thread accepts, and each client has a thread of its own, so a client that is slow, silent or does not read never
/// delays another. The virtual operations run on these threads, those of different clients at once.
class WebServerBase {
 public:
  WebServerBase();
  /// The server must have been shut down, and no thread of a client be left that was given up.
  virtual ~WebServerBase() = default;
  WebServerBase(const WebServerBase&) = delete;
  WebServerBase& operator=(const WebServerBase&) = delete;

  /// A connection was accepted. On the accept thread; the result counts for nothing, here and in the next.
  virtual DWORD OnClientConnected(const std::string& address, WORD port) = 0;
  /// A response was sent.
  virtual DWORD OnDataSent(size_t bytes) = 0;
  /// Whether enough has arrived to be handled. Asked after each receive.
  virtual bool IsRequestComplete(RequestBuffer& request) = 0;
  /// Makes the response. False closes the connection without one; `keepConnection`, false at first, says that another
  /// request may come over the connection. May give the memory of the request back as soon as it needs that no longer;
  /// what the response's body takes, and its allowance otherwise, is bounded for all clients together.
  virtual bool HandleRequest(RequestBuffer& request, ServerResponse* response, bool* keepConnection) = 0;
  /// Makes the response to a request that is refused with a status code of HTTP.
  virtual void MakeRefusal(DWORD status, std::string* response) = 0;
  /// The service listens, or cannot listen (a WSA code). On the accept thread, before Run returns.
  virtual void OnListening() {}
  virtual void OnListenFailed(int) {}

  /// Starts to listen. `bindAddress` is in host byte order, 0 for every one of this computer; a client that sends
  /// nothing for `clientIdleTimeout` (ms) is closed, with 0 never. False when the server runs already or its thread did
  /// not answer; true also when it turned out that it cannot listen: then it does not run. Run and Shutdown are called
  /// by one thread at a time.
  bool Run(DWORD port, DWORD clientIdleTimeout, DWORD bindAddress);
  /// Stops listening, and closes all clients: those whose request is there get their response if that takes no longer
  /// than five seconds, and they read it. False when it does not run, or the accept thread did not end.
  bool Shutdown();
  bool IsRunning() const { return running_; }

  /// Gives a new connection, which does not block, to a thread. True also when there was none for it, and it was
  /// closed.
  bool AddClient(unique_socket socket, const std::string& address, WORD port);

  DWORD Port() const { return port_; }
  DWORD BindAddress() const { return bindAddress_; }
  DWORD ClientIdleTimeout() const { return clientIdleTimeout_; }
  ServerStatistics& Statistics() { return statistics_; }
  ClientList& Clients() { return clients_; }
  ClientPool& Threads() { return threads_; }
  RequestBudget& Budget() { return budget_; }

 private:
  void AcceptThread();
  BOOL AcceptClient();

  std::unique_ptr<SocketLibrary> library_;  // while it runs, or threads that may use it are left
  std::unique_ptr<Listener> listener_;      // stays where it is as long as the accept thread may use it
  unique_handle launched_;
  ServerStatistics statistics_;
  DWORD bindAddress_ = 0;
  DWORD port_ = 0;
  DWORD clientIdleTimeout_ = 0;
  std::atomic<bool> running_{false};
  RequestBudget budget_;
  ClientList clients_;
  ClientPool threads_;
  WorkerThread acceptThread_;
};

}  // namespace portwise
