#include "logging/log_file_lock.h"

#include <map>

namespace portwise {
namespace {

struct IgnoringCase {
  bool operator()(const OString& left, const OString& right) const { return left.CompareNoCase(right) < 0; }
};

struct LockTable {
  OCriticalSection lock;
  std::map<OString, std::weak_ptr<OCriticalSection>, IgnoringCase> locks;
};

}  // namespace

std::shared_ptr<OCriticalSection> LockOfLogFile(const OString& path) {
  // Outlives every user, the last threads of the process too.
  static auto* const table = new LockTable;
  const OScopedLock locked(table->lock);
  std::erase_if(table->locks, [](const auto& entry) { return entry.second.expired(); });
  std::weak_ptr<OCriticalSection>& entry = table->locks[path];
  std::shared_ptr<OCriticalSection> lock = entry.lock();
  if (!lock) entry = lock = std::make_shared<OCriticalSection>();
  return lock;
}

}  // namespace portwise
