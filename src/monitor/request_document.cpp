#include "monitor/request_document.h"

#include <utility>

#include "monitor/port_context.h"

namespace portwise {

RequestDocument::RequestDocument(PortContext& port) : port_(port), lock_(port.Documents().Lock()) {
  WCHAR name[] = TEXT("Request");
  DOC_INFO_1W info = {name, nullptr, nullptr};
  begun_ = port_.Documents().Begin(0, 1, reinterpret_cast<LPBYTE>(&info));
  own_ = begun_ && port_.Documents().Depth() == 1;
  if (!own_) return;
  port_.PrinterConnection().BeginCount();
  // What is printed goes through the plug-in of the printer that the port has now.
  try {
    port_.EnsureProtocolLoaded();
  } catch (...) {
    port_.Documents().End(false);
    throw;
  }
}

RequestDocument::~RequestDocument() {
  try {
    if (begun_) port_.Documents().End(false);
  } catch (...) {
    // What left the scope is the one that is told.
  }
}

void RequestDocument::End() {
  if (!std::exchange(begun_, false)) return;
  const bool ended = port_.Documents().End(false);
  // Within a job the job's end tells of it.
  const ULONGLONG unconfirmed = own_ ? port_.PrinterConnection().TakeUnconfirmedBytes() : 0;
  if (unconfirmed > 0) {
    port_.Warn(
        "The connection to the printer was lost, or left without an answer. It is not known whether the printer "
        "has " +
        OString::FromUnsigned(unconfirmed) + " of the bytes that a request had to print.");
  } else if (!ended) {
    port_.Warn("The end of what a request had to print could not be delivered to the printer.");
  }
}

}  // namespace portwise
