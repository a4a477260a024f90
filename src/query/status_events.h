#pragma once

#include <windows.h>

#include "core/handles.h"

namespace portwise {

/// The events through which the users of a port and its status thread wake each other. All reset themselves.
class StatusEvents {
 public:
  StatusEvents();

  /// A request was added or is to be tried again, or a run of the query queue began.
  HANDLE Query() const { return query_.Get(); }
  /// The road of the print data needs a fresh status.
  HANDLE StatusRequest() const { return statusRequest_.Get(); }
  /// The status was determined.
  HANDLE StatusUpdated() const { return statusUpdated_.Get(); }

  /// Asks for a fresh status and waits until it was determined, at most `timeout` milliseconds; false when it was not.
  /// One thread at a time.
  bool RequestStatus(DWORD timeout) const;

 private:
  unique_handle query_;
  unique_handle statusRequest_;
  unique_handle statusUpdated_;
};

}  // namespace portwise
