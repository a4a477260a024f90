#pragma once

namespace portwise {

/// The service through which other computers reach the ports of this one, as far as requests act on it. Nothing in the
/// library is such a service yet; without one, requests that are for it do nothing.
class NetworkService {
 public:
  virtual ~NetworkService() = default;
  /// Ends the service and starts it again with what its settings say now, on a thread of the service's own: the caller
  /// may be one of its clients, and does not wait. Any thread.
  virtual void Restart() = 0;
};

/// `service` must outlive all ports, and is set before there are any; null takes it away.
void SetNetworkService(NetworkService* service);
/// The service that was set, or null.
NetworkService* TheNetworkService();

}  // namespace portwise
