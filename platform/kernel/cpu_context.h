#pragma once

#include <ucontext.h>
#include <windows.h>

namespace portwise::platform {

/// A machine context as the API knows it, and back. Back go the integer registers, the flags and the instruction
/// pointer; the rest stays. Safe in signal handlers.
void ContextOf(const ucontext_t& machine, CONTEXT* context);
void ApplyContext(const CONTEXT& context, ucontext_t* machine);

}  // namespace portwise::platform
