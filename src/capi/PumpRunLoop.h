#pragma once
// The one way a C function pumps the calling thread's run loop: once, in
// the default mode, for at most 0.1 s (processRunLoop and every polling
// function of the transfer, copy and hash families).
#include "runloop/RunLoop.h"

namespace vork::capi {

inline constexpr double kRunLoopSliceSeconds = 0.1;

inline void pumpRunLoopOnce() { RunLoop::current()->runOnce(RunLoop::Seconds(kRunLoopSliceSeconds)); }

}  // namespace vork::capi
