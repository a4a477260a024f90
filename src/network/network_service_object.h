#pragma once

#include <atomic>

#include "core/ostring.h"
#include "core/synchronizer.h"
#include "logging/event_log.h"
#include "logging/event_log_report.h"
#include "logging/printer_port_event_log.h"
#include "monitor/network_service.h"
#include "network/web_server_http.h"

namespace portwise {

/// The process's network service: listens as the settings below "LOCAL:Network/@<computer>" say. Created on first use
/// and never destroyed, since its threads may outlive everything else.
class NetworkServiceObject final : public WebServerHTTP, public NetworkService {
 public:
  /// The process's one.
  static NetworkServiceObject& Instance();

  void Start() override;
  void Restart() override;
  void OpenPortOf(const OString& printer) override;
  FaultReport* Faults() override { return &faults_; }
  /// Ends it and starts it again, on the calling thread.
  void StartAnew();
  /// Ends it, unless another thread is at starting or ending it for too long.
  void End();

  const OString& Computer() const { return computerName_; }
  /// The TCP port of the settings.
  DWORD ConfiguredPort() const { return tcpPort_; }

  void OnListening() override;
  void OnListenFailed(int error) override;

 private:
  static constexpr DWORD kDefaultPort = 6160;

  NetworkServiceObject() = default;
  void ApplySettings();

  OString computerName_;
  DWORD tcpPort_ = kDefaultPort;
  OEventLog log_{kPrintMonitorSource, OEventLog::kSystemLog};
  EventLogReport faults_{&log_};
  OCriticalSection lifecycle_;           // around starts and ends
  std::atomic<bool> restarting_{false};  // a restart has been asked for and has not begun
  std::atomic<bool> ended_{false};       // since the last start by Start: a restart under way does not start it again
  std::atomic<ULONGLONG> warnedOf_{0};   // the port with the error that was told last
};

/// Makes sure that the service is there, gives it to the monitor, and starts it as its settings say. Nothing when it
/// runs. Nothing escapes.
void StartNetworkService();
/// When it is there, ends it and starts it again with what the settings say now.
void RestartNetworkService();
/// Ends it when it is there, before the library goes.
void ShutdownNetworkService();

}  // namespace portwise
