#include <windows.h>

#include <mutex>
#include <shared_mutex>

#include "platform/spooler/spooler_service.h"

/// The spooler of the tests' own process, and no other.
namespace portwise::platform {
namespace {

std::shared_mutex lock;
SpoolerService* service = nullptr;

}  // namespace

void SetLocalSpooler(SpoolerService* wanted) {
  const std::unique_lock guard(lock);
  service = wanted;
}

Message CallSpooler(const Message& request) {
  const std::shared_lock guard(lock);
  return service ? service->Call(request) : Failure(RPC_S_SERVER_UNAVAILABLE, "no spooler is running");
}

Message Failure(unsigned error, const std::string& reason) { return {{{"error", error}, {"reason", reason}}, {}}; }

}  // namespace portwise::platform
