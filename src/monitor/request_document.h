#pragma once

#include "core/synchronizer.h"

namespace portwise {

class PortContext;

/// A document in which something other than a job prints, for a scope; within a job a part of the job's. Jobs and
/// status requests wait meanwhile: the documents' lock is held.
class RequestDocument {
 public:
  explicit RequestDocument(PortContext& port);
  ~RequestDocument();
  RequestDocument(const RequestDocument&) = delete;
  RequestDocument& operator=(const RequestDocument&) = delete;

  /// False when the connection refused.
  bool HasBegun() const { return begun_; }
  /// It is not within a job, nor within what another one has begun.
  bool IsOwn() const { return own_; }
  /// Ends it, and warns of what the printer may not have got. Without it the end is silent.
  void End();

 private:
  PortContext& port_;
  const OScopedLock lock_;
  bool begun_ = false;
  bool own_ = false;
};

}  // namespace portwise
