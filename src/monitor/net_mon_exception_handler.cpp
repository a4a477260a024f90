#include "monitor/net_mon_exception_handler.h"

#include "monitor/port_context.h"

namespace portwise {

void NetMonExceptionHandler::ReportTo(PortContext* port) { SetReport(port ? port->Faults() : nullptr); }

}  // namespace portwise
