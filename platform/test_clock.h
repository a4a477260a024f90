#pragma once

#include <chrono>

/// The one clock behind GetTickCount, Sleep and every timed wait.
///
/// A scale above 1 makes it run faster than real time, so that a test of a 30-second timeout measures the real code in
/// a fraction of a second. The scale starts as the environment variable PORTWISE_TIME_SCALE says (default 1), and the
/// tick count as PORTWISE_TICK_START says (default: the machine's uptime), so that child programs inherit both.
namespace portwise::platform {

/// At most 20, because real peers sit at the other end; values outside 1 to 20 are clamped. Any thread; waits that
/// have begun keep the scale they began with. Also sets PORTWISE_TIME_SCALE of this process for its children.
void SetTimeScale(double scale);
double TimeScale();

/// Makes GetTickCount return `ticks` now and go on from there. Any thread.
void SetTickCount(unsigned ticks);

/// Milliseconds of the clock since an arbitrary start, in 64 bits: what timed loops of the platform measure with.
long long ClockMilliseconds();

/// The real time that `milliseconds` of the clock take.
std::chrono::nanoseconds RealTime(long long milliseconds);

}  // namespace portwise::platform
