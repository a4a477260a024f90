#include "monitor/network_service.h"

#include <atomic>

namespace portwise {
namespace {

std::atomic<NetworkService*> networkService{nullptr};

}  // namespace

void SetNetworkService(NetworkService* service) { networkService = service; }

NetworkService* TheNetworkService() { return networkService; }

}  // namespace portwise
