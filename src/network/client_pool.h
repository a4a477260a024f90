#pragma once

#include <memory>
#include <vector>

#include "core/handles.h"
#include "core/synchronizer.h"
#include "network/client_thread.h"

namespace portwise {

/// The threads of the clients, one each. A thread whose client has gone waits a while for the next one, since making
/// one is dearer than most requests. Any thread.
class ClientPool {
 public:
  ClientPool();

  /// Gives the client to a thread, which destroys it in the end. False, with the client still the caller's, when the
  /// system refuses to make one.
  bool Serve(std::unique_ptr<Network_ClientThread>* client);

  /// Threads wait for further clients from now on.
  void Open();
  /// No thread waits any longer, and none will. True when all of them have ended in time (ms).
  bool Close(DWORD time);

  int ThreadCount();

 private:
  struct Worker {
    ClientPool& pool;
    unique_handle wake;  // when it has been given a client, or is to end
    std::unique_ptr<Network_ClientThread> client;
  };

  static void Run(void* worker);
  Worker* TakeIdle();
  bool AwaitClient(Worker& worker);

  OCriticalSection lock_;
  std::vector<Worker*> idle_;  // under lock_, as is all below
  int threads_ = 0;
  bool open_ = false;
};

}  // namespace portwise
