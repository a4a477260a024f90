#include "monitor/net_mon_exception_handler.h"

#include "monitor/network_service.h"
#include "monitor/port_context.h"

namespace portwise {

void NetMonExceptionHandler::ReportTo(PortContext* port) {
  NetworkService* const service = TheNetworkService();
  SetReport(port ? port->Faults() : service ? service->Faults() : nullptr);
}

}  // namespace portwise
