#pragma once

#include <windows.h>

namespace portwise {

class QueryQueue;
class RequestList;

/// What the query commands need of the port that they act on. Any thread.
class QueryCommandPort {
 public:
  virtual ~QueryCommandPort() = default;

  virtual QueryQueue& Queries() = 0;
  virtual RequestList& Requests() = 0;
  /// Wakes the status thread when it is signalled.
  virtual HANDLE QueryEvent() = 0;
};

}  // namespace portwise
