#pragma once

#include "core/pointer_array.h"
#include "core/synchronizer.h"
#include "network/client_thread.h"

namespace portwise {

/// The clients that are connected to the network service. Any thread.
class ClientList {
 public:
  static constexpr int kMaxClients = 1024;

  /// Adds a client. When there are kMaxClients already, the one that has waited longest without a whole request is
  /// closed for it, or else the one that has taken nothing of its response for longest. False, with the client not
  /// added, when each of them is being handled, or very many have been closed and are still there.
  bool RegisterClient(Network_ClientThread* client);
  void UnregisterClient(Network_ClientThread* client);

  /// The client's request is there and is handled now, unless the client was told to stop: nobody is once it is
  /// handled.
  bool BeginHandling(Network_ClientThread* client);

  /// Closes clients until what they hold of the budget, with what is left of it, comes to `bytes`: those that have got
  /// on with nothing for longest, and for two seconds at least. Another one's share comes back a moment later. False,
  /// with nobody closed, when there are not enough such clients beside `client`.
  bool MakeRoomInBudget(const Network_ClientThread* client, const RequestBudget& budget, size_t bytes);

  /// Ends all clients and waits until they have gone: those without a whole request at once, and the others when they
  /// have their response or have taken nothing of it for two seconds. Those that are left after five seconds are taken
  /// out of the list, and their connections end.
  void CloseAllClients();

  int Size();

 private:
  bool MakeRoom();
  bool EndClients(DWORD now);

  OCriticalSection lock_;
  OPointerArray<Network_ClientThread> clients_{OPointerArray<Network_ClientThread>::Ownership::Kept};  // under lock_
};

}  // namespace portwise
