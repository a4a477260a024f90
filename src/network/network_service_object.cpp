#include "network/network_service_object.h"

#include "core/computer_name.h"
#include "core/detached_thread.h"
#include "core/open_printer.h"
#include "monitor/net_mon_exception_handler.h"
#include "settings/logical_path.h"
#include "settings/registry.h"
#include "settings/settings_catalogue.h"

namespace portwise {
namespace {

constexpr DWORD kLoopback = 0x7F000001;
constexpr DWORD kAnyAddress = 0;
constexpr DWORD kEndPatience = 1000;  // ms, as is the next
constexpr DWORD kEndSlice = 10;

std::atomic<NetworkServiceObject*> instance{nullptr};

/// The path of a setting of this computer's service.
OString PathOf(SettingId id, const OString& computer) {
  OString path = FindSetting(id).path;
  path.Replace("<computer>", EscapeName(computer));
  return path;
}

template <class Body>
void Guarded(const char* name, Body&& body) {
  NetMonExceptionHandler guard(name, NetMonExceptionHandler::kReportEventLog);
  RunGuarded(guard, [&] {
    body();
    return TRUE;
  });
}

}  // namespace

NetworkServiceObject& NetworkServiceObject::Instance() {
  static NetworkServiceObject& object = *new NetworkServiceObject;
  instance = &object;
  return object;
}

/// A thread that finds another one at it leaves it to that one.
void NetworkServiceObject::Start() {
  if (IsRunning() || !lifecycle_.TryLock()) return;
  ended_ = false;
  Guarded("NetworkServiceObject::Start", [this] { ApplySettings(); });
  lifecycle_.Unlock();
}

void NetworkServiceObject::ApplySettings() {
  if (IsRunning() || ended_) return;
  computerName_ = ComputerName();
  const ORegistry registry;
  const auto isOn = [&](SettingId id) {
    return registry.GetBool(PathOf(id, computerName_), FindSetting(id).number != 0);
  };
  if (!isOn(SettingId::ServiceTcpEnabled)) return;
  tcpPort_ = registry.GetDword(PathOf(SettingId::ServiceTcpPort, computerName_),
                               FindSetting(SettingId::ServiceTcpPort).number);
  const bool communication = isOn(SettingId::ServiceNetworkCommunication);
  if (!Run(tcpPort_, 0, communication ? kAnyAddress : kLoopback)) return;
  registry.SetBool(PathOf(SettingId::ServiceNetworkBidirectional, computerName_), communication);
}

void NetworkServiceObject::Restart() {
  if (restarting_.exchange(true)) return;
  const auto restart = [](void*) { Guarded("RestartNetworkService", RestartNetworkService); };
  try {
    if (StartDetachedThread(restart, nullptr)) return;
  } catch (...) {
    restarting_ = false;
    throw;
  }
  restarting_ = false;
}

void NetworkServiceObject::StartAnew() {
  const OScopedLock lock(lifecycle_);
  restarting_ = false;
  Shutdown();
  ApplySettings();
}

/// What the spooler is asked of the printer's data goes to the monitor, through the open port.
void NetworkServiceObject::OpenPortOf(const OString& printer) {
  const unique_printer handle = OpenPrinterByName(printer, 0);
  if (!handle) return;
  const OString request = "<network action='start'/>";
  DWORD type = 0, needed = 0;
  BYTE reply[1];
  GetPrinterDataW(handle.Get(), const_cast<LPWSTR>(request.Wide()), &type, reply, sizeof reply, &needed);
}

void NetworkServiceObject::End() {
  ended_ = true;
  // Where the process ends, whoever was at it may never let go.
  const DWORD begin = GetTickCount();
  while (!lifecycle_.TryLock()) {
    if (GetTickCount() - begin >= kEndPatience) return;
    Sleep(kEndSlice);
  }
  Shutdown();
  lifecycle_.Unlock();
}

void NetworkServiceObject::OnListening() { warnedOf_ = 0; }

/// The service is started again with each port that is opened: what is wrong is told once.
void NetworkServiceObject::OnListenFailed(int error) {
  const ULONGLONG what = ULONGLONG{tcpPort_} << 32 | static_cast<DWORD>(error);
  if (warnedOf_.exchange(what) == what) return;
  const OString port = OString::FromUnsigned(tcpPort_);
  const bool taken = error == WSAEADDRINUSE || error == WSAEACCES;
  const OString reason =
      taken ? OString("another program uses it") : "error " + OString::FromUnsigned(static_cast<DWORD>(error));
  log_.Warning("The network service cannot listen at TCP port " + port + ": " + reason +
                   ". Until it can, programs and other computers cannot reach the printers through it.",
               0);
}

void StartNetworkService() {
  Guarded("StartNetworkService", [] {
    NetworkServiceObject& service = NetworkServiceObject::Instance();
    SetNetworkService(&service);
    service.Start();
  });
}

void RestartNetworkService() {
  if (NetworkServiceObject* service = instance) service->StartAnew();
}

void ShutdownNetworkService() {
  if (NetworkServiceObject* service = instance) service->End();
}

}  // namespace portwise
