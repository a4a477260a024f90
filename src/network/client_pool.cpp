#include "network/client_pool.h"

#include <algorithm>

#include "core/detached_thread.h"
#include "core/thread_local_singleton.h"

namespace portwise {
namespace {

constexpr size_t kMaxIdle = 256;
constexpr DWORD kIdleTime = 10000;            // ms
constexpr DWORD kCloseSlice = 10;             // ms
constexpr SIZE_T kStack = SIZE_T{512} << 10;  // there may be a thousand in the address space of a 32-bit process

}  // namespace

ClientPool::ClientPool() { idle_.reserve(kMaxIdle); }

bool ClientPool::Serve(std::unique_ptr<Network_ClientThread>* client) {
  if (Worker* const waiting = TakeIdle()) {
    waiting->client = std::move(*client);
    SetEvent(waiting->wake.Get());
    return true;
  }
  auto worker =
      std::make_unique<Worker>(Worker{*this, unique_handle(CreateEventW(nullptr, FALSE, FALSE, nullptr)), {}});
  if (!worker->wake) return false;
  worker->client = std::move(*client);
  const OScopedLock lock(lock_);
  if (!StartDetachedThread(Run, worker.get(), kStack)) {
    *client = std::move(worker->client);
    return false;
  }
  worker.release();
  ++threads_;
  return true;
}

/// It goes on waiting until it is woken up.
ClientPool::Worker* ClientPool::TakeIdle() {
  const OScopedLock lock(lock_);
  if (idle_.empty()) return nullptr;
  Worker* const worker = idle_.back();
  idle_.pop_back();
  return worker;
}

void ClientPool::Run(void* context) {
  const std::unique_ptr<Worker> worker(static_cast<Worker*>(context));
  do {
    worker->client->ThreadProc();
    worker->client.reset();
    // What was learned of printers for this client is out of date for the next one, and grows with each name. Whoever
    // has seen the pool closed may end the library.
    ThreadLocalSlot::DestroyObjects();
  } while (worker->pool.AwaitClient(*worker));
  const OScopedLock lock(worker->pool.lock_);
  --worker->pool.threads_;
}

bool ClientPool::AwaitClient(Worker& worker) {
  {
    const OScopedLock lock(lock_);
    if (!open_ || idle_.size() >= kMaxIdle) return false;
    idle_.push_back(&worker);
  }
  if (WaitForSingleObject(worker.wake.Get(), kIdleTime) != WAIT_OBJECT_0) {
    {
      const OScopedLock lock(lock_);
      const auto own = std::find(idle_.begin(), idle_.end(), &worker);
      if (own != idle_.end()) {
        idle_.erase(own);
        return false;
      }
    }
    // Somebody is about to wake it. Where everything is used up, so may be what a wait needs.
    while (WaitForSingleObject(worker.wake.Get(), INFINITE) != WAIT_OBJECT_0) Sleep(kCloseSlice);
  }
  return worker.client != nullptr;
}

void ClientPool::Open() {
  const OScopedLock lock(lock_);
  open_ = true;
}

bool ClientPool::Close(DWORD time) {
  {
    const OScopedLock lock(lock_);
    open_ = false;
    for (Worker* worker : idle_) SetEvent(worker->wake.Get());
    idle_.clear();
  }
  const DWORD begin = GetTickCount();
  while (ThreadCount() > 0 && GetTickCount() - begin < time) Sleep(kCloseSlice);
  return ThreadCount() == 0;
}

int ClientPool::ThreadCount() {
  const OScopedLock lock(lock_);
  return threads_;
}

}  // namespace portwise
