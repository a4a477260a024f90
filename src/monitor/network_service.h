#pragma once

namespace portwise {

class FaultReport;
class OString;

/// The service through which other computers reach the ports of this one, as far as the monitor acts on it. Without
/// one, requests that are for it do nothing.
class NetworkService {
 public:
  virtual ~NetworkService() = default;
  /// Starts the service as its settings say, unless it runs. Lets nothing escape. Any thread.
  virtual void Start() = 0;
  /// Ends the service and starts it again with what its settings say now, on a thread of the service's own: the caller
  /// may be one of its clients, and does not wait. Any thread.
  virtual void Restart() = 0;
  /// Has the spooler open the port of one of its printers, unless it has done so, and waits for it. Any thread.
  virtual void OpenPortOf(const OString& printer) = 0;
  /// Where guards that know no port report.
  virtual FaultReport* Faults() = 0;
};

/// `service` must outlive all ports, and is set before there are any; null takes it away.
void SetNetworkService(NetworkService* service);
/// The service that was set, or null.
NetworkService* TheNetworkService();

}  // namespace portwise
