#pragma once
// The one way a C function pumps the calling thread's run loop: once, in
// the default mode, for at most 0.1 s (processRunLoop and every polling
// function of the transfer, copy and hash families).
#include "runloop/RunLoop.h"

namespace vork::capi {

inline constexpr double kRunLoopSliceSeconds = 0.1;

inline void pumpRunLoopOnce() { RunLoop::current()->runOnce(RunLoop::Seconds(kRunLoopSliceSeconds)); }

// Once, without waiting: runs what is ready now. For a poll whose work has
// already ended, so the caller never sits out an idle slice.
inline void pumpRunLoopReady() { RunLoop::current()->runOnce(RunLoop::Seconds(0)); }

}  // namespace vork::capi
