// The top of the library: its load and unload, and what it exports.

#include <windows.h>
#include <winspool.h>

#include <winsplp.h>

#include <optional>
#include <string>

#include "core/fault/exception_handler.h"
#include "core/fault/fault_resume.h"
#include "core/module_instance.h"
#include "core/process_end.h"
#include "core/thread_local_singleton.h"
#include "logging/event_log_report.h"
#include "monitor/entry_points.h"
#include "monitor/net_mon_exception_handler.h"
#include "monitor/network_service.h"
#include "monitor/port_list.h"
#include "network/client/xpml_client.h"
#include "network/http/http_response.h"
#include "network/network_service_object.h"
#include "ui/printer_requests.h"
#include "xpml/port/command_table.h"

namespace {

/// Tells guards where the debug library is.
portwise::EventLogReport noLog(nullptr);
portwise::CommandTable portCommands;

/// How the windows reach the monitor, from whatever process they are in.
class ClientRequests final : public portwise::PrinterRequests {
 public:
  std::optional<std::string> Ask(const portwise::OString& printer, const std::string& request) override {
    portwise::XpmlClient::ResponsePointer response;
    if (portwise::XpmlClient(printer).Send(request, &response) == portwise::XpmlAnswer::None) return std::nullopt;
    return response->Body();
  }
};
ClientRequests windowRequests;

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
  switch (reason) {
    case DLL_PROCESS_ATTACH:
      portwise::SetModuleInstance(instance);
      // Before anything else, so that guards hold to the very end of the library.
      portwise::PrepareFaults();
      portwise::OExceptionHandler::SetDefaultReport(&noLog);
      portwise::SetPortCommands(&portCommands);
      portwise::CreatePortList();
      portwise::SetPrinterRequests(&windowRequests);
      break;
    case DLL_PROCESS_DETACH:
      if (reserved) portwise::NoteProcessEnd();
      // Its threads use the ports. While it runs they keep the library from being freed, so here the process ends.
      portwise::ShutdownNetworkService();
      portwise::SetNetworkService(nullptr);
      portwise::DestroyPortList();
      portwise::OExceptionHandler::SetDefaultReport(nullptr);
      // At the process's end other threads may still be using theirs.
      reserved ? portwise::ThreadLocalSlot::DestroyObjects() : portwise::ThreadLocalSlot::DestroyAllObjects();
      break;
    case DLL_THREAD_DETACH:
      portwise::ThreadLocalSlot::DestroyObjects();
      break;
    default:
      break;
  }
  return TRUE;
}

LPMONITOR2 WINAPI InitializePrintMonitor2(PMONITORINIT, PHANDLE phMonitor) {
  portwise::NetMonExceptionHandler guard("InitializePrintMonitor2", portwise::NetMonExceptionHandler::kOperationFlags);
  const BOOL done = portwise::RunGuarded(guard, [&] {
    *phMonitor = portwise::MonitorTable();
    portwise::StartNetworkService();
    return TRUE;
  });
  return done ? portwise::MonitorTable() : nullptr;
}
