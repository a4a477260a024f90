#include "network/client_list.h"

namespace portwise {
namespace {

/// Clients that are told to stop still have to be woken up: so many of them may be there at once.
constexpr int kMaxStopping = 256;
/// A client that has done nothing for so long may be closed for the memory that another one needs (ms).
constexpr DWORD kGivesWay = 2000;
constexpr DWORD kClosePatience = 5000;  // ms, as is the next
constexpr DWORD kCloseSlice = 100;

using Stage = Network_ClientThread::Stage;

/// It may have done something since the time was taken.
bool IsIdle(const Network_ClientThread& client, DWORD now) {
  return client.CurrentStage() != Stage::Handling &&
         static_cast<LONG>(now - client.LastProgress()) >= static_cast<LONG>(kGivesWay);
}

/// Whether `client` has waited longer than `other`, of which there may be none.
bool WaitsLonger(const Network_ClientThread* client, const Network_ClientThread* other) {
  return !other || static_cast<LONG>(other->LastProgress() - client->LastProgress()) > 0;
}

}  // namespace

bool ClientList::RegisterClient(Network_ClientThread* client) {
  const OScopedLock lock(lock_);
  if (clients_.Size() >= kMaxClients && !MakeRoom()) return false;
  return clients_.Append(client) >= 0;
}

/// Those that wait for a request stand in the order in which they came.
bool ClientList::MakeRoom() {
  int stopping = 0;
  Network_ClientThread* waiting = nullptr;
  Network_ClientThread* sending = nullptr;
  for (Network_ClientThread* client : clients_) {
    if (client->IsStopping()) {
      ++stopping;
    } else if (client->CurrentStage() == Stage::Receiving) {
      if (!waiting) waiting = client;
    } else if (client->CurrentStage() == Stage::Sending) {
      if (WaitsLonger(client, sending)) sending = client;
    }
  }
  if (clients_.Size() - stopping < kMaxClients) return true;
  if (stopping >= kMaxStopping || (!waiting && !sending)) return false;
  (waiting ? waiting : sending)->RequestStop();
  return true;
}

bool ClientList::MakeRoomInBudget(const Network_ClientThread* client, const RequestBudget& budget, size_t bytes) {
  const OScopedLock lock(lock_);
  const DWORD now = GetTickCount();
  size_t coming = budget.Left();
  size_t idle = 0;
  for (const Network_ClientThread* each : clients_) {
    if (each == client) continue;
    if (each->IsStopping() && each->CurrentStage() != Stage::Handling) {
      coming += each->BudgetTaken();
    } else if (IsIdle(*each, now)) {
      idle += each->BudgetTaken();
    }
  }
  if (coming + idle < bytes) return false;
  while (coming < bytes) {
    Network_ClientThread* longest = nullptr;
    for (Network_ClientThread* each : clients_) {
      if (each == client || each->IsStopping() || !IsIdle(*each, now)) continue;
      if (each->BudgetTaken() > 0 && WaitsLonger(each, longest)) longest = each;
    }
    if (!longest) return false;
    coming += longest->BudgetTaken();
    longest->RequestStop();
  }
  return true;
}

void ClientList::UnregisterClient(Network_ClientThread* client) {
  const OScopedLock lock(lock_);
  const int index = clients_.Find(client);
  if (index >= 0) clients_.Detach(index);
}

bool ClientList::BeginHandling(Network_ClientThread* client) {
  const OScopedLock lock(lock_);
  return client->BeginHandling();
}

void ClientList::CloseAllClients() {
  const DWORD begin = GetTickCount();
  for (DWORD now = begin; EndClients(now) && now - begin < kClosePatience; now = GetTickCount()) Sleep(kCloseSlice);
  const OScopedLock lock(lock_);
  for (Network_ClientThread* client : clients_) client->Abandon();
  clients_.Clear();
}

/// False when there are none.
bool ClientList::EndClients(DWORD now) {
  const OScopedLock lock(lock_);
  for (Network_ClientThread* client : clients_) {
    client->RequestEnd();
    if (client->CurrentStage() == Stage::Sending && IsIdle(*client, now)) client->RequestStop();
  }
  return clients_.Size() > 0;
}

int ClientList::Size() {
  const OScopedLock lock(lock_);
  return clients_.Size();
}

}  // namespace portwise
