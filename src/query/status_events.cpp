#include "query/status_events.h"

namespace portwise {

StatusEvents::StatusEvents()
    : query_(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      statusRequest_(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      statusUpdated_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

bool StatusEvents::RequestStatus(DWORD timeout) const {
  ResetEvent(StatusUpdated());
  SetEvent(StatusRequest());
  return WaitForSingleObject(StatusUpdated(), timeout) != WAIT_TIMEOUT;
}

}  // namespace portwise
