#pragma once

#include <windows.h>

#include "core/unique_resource.h"

namespace portwise {

/// A source registered with RegisterEventSourceW.
struct EventSourceTraits {
  using Value = HANDLE;
  static Value None() { return nullptr; }
  static bool IsNone(Value value) { return value == nullptr; }
  static void Release(Value value) { DeregisterEventSource(value); }
};
using unique_event_source = UniqueResource<EventSourceTraits>;

}  // namespace portwise
