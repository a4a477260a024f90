#pragma once

#include <ucontext.h>

namespace portwise::platform {

/// Whether the machine stopped at an integer division whose divisor is not zero, so that its quotient was too large.
/// The system's signal does not tell the two apart. False also for an instruction that is not understood, such as one
/// with a segment register. For signal handlers.
bool IsQuotientTooLarge(const ucontext_t& machine);

}  // namespace portwise::platform
