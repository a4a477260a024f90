#pragma once

#include <windows.h>

#include <vector>

namespace portwise::platform {

struct CapturedThread {
  DWORD id = 0;
  bool answered = false;  // the rest is set
  CONTEXT context = {};
  std::vector<BYTE> stack;  // from the context's stack pointer on
};

/// The context and the stack of every thread but the calling one. A thread is interrupted by a real-time signal,
/// copies them and goes on; one that blocks all signals, or hangs inside the system, does not answer. Each is waited
/// for 50 ms at most, and after a second in all nobody is asked any more. One thread may call it at a time.
std::vector<CapturedThread> CaptureOtherThreads();

}  // namespace portwise::platform
