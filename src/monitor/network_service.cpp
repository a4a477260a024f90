#include "monitor/network_service.h"

namespace portwise {
namespace {

NetworkService* networkService = nullptr;

}  // namespace

void SetNetworkService(NetworkService* service) { networkService = service; }

NetworkService* TheNetworkService() { return networkService; }

}  // namespace portwise
