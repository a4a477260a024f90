#include "platform/kernel/catcher.h"

#include <utility>

namespace {

thread_local const void* catcher = nullptr;

class CatcherScope {
 public:
  explicit CatcherScope(const void* innermost) : before_(std::exchange(catcher, innermost)) {}
  ~CatcherScope() { catcher = before_; }
  CatcherScope(const CatcherScope&) = delete;
  CatcherScope& operator=(const CatcherScope&) = delete;

 private:
  const void* const before_;
};

}  // namespace

extern "C" BOOL PortwiseCallForCatcher(BOOL (*function)(void* body), void* body) {
  const CatcherScope scope(__builtin_dwarf_cfa());
  return function(body);
}

extern "C" const void* PortwiseCatcher() { return catcher; }
