#ifndef TESSELU_SRC_TONE_KERNELS_ADJUSTMENT_H
#define TESSELU_SRC_TONE_KERNELS_ADJUSTMENT_H

#include "simd/Dispatch.h"
#include "simd/Job.h"
#include "tone/kernels/AdjustmentFormulas.h"

namespace Zan {

using AdjustmentJob = simd::Job<1, 1>;
using AdjustmentKernel = simd::Kernel<void(const AdjustmentJob&, const AdjustmentSettings&)>;

// Columns are pixels; of pairs an odd last one is left alone. RGB has no order, and takes no gamma.
extern const AdjustmentKernel kAdjustPairs;
extern const AdjustmentKernel kAdjustPixels;
extern const AdjustmentKernel kAdjustRGB32;
extern const AdjustmentKernel kAdjustRGB24;

}  // namespace Zan

#endif  // TESSELU_SRC_TONE_KERNELS_ADJUSTMENT_H
