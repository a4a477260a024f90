#include "plugin/plugin_session.h"

#include <algorithm>

namespace portwise {

PluginSession::PluginSession(unique_module library, const OString& printerName, const OString& portName,
                             Connection& connection)
    : library_(std::move(library)), loadedFor_(printerName), context_(printerName, portName, connection) {}

void PluginSession::Enter() {
  OScopedLock lock(lock_);
  callers_.push_back(GetCurrentThreadId());
}

void PluginSession::Leave() {
  OScopedLock lock(lock_);
  callers_.erase(std::find(callers_.begin(), callers_.end(), GetCurrentThreadId()));
  // With the lock held, so that no call begins that may see what is freed.
  if (callers_.empty()) context_.FreeOld();
}

bool PluginSession::IsCalledByThisThread() {
  OScopedLock lock(lock_);
  return std::find(callers_.begin(), callers_.end(), GetCurrentThreadId()) != callers_.end();
}

}  // namespace portwise
