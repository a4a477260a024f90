#pragma once

#include <unwind.h>

/// Whether an exception passes a frame without a look at the frame's table: it came from a fault, and the compiler
/// expected none there.
extern "C" bool PortwisePassesFrame(_Unwind_Action actions, _Unwind_Exception* exception, _Unwind_Context* context);
