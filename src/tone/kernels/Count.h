#ifndef TESSELU_SRC_TONE_KERNELS_COUNT_H
#define TESSELU_SRC_TONE_KERNELS_COUNT_H

#include <TesselU/foundation/Types.h>

#include "simd/Dispatch.h"
#include "simd/Job.h"

namespace Zan {

/// Where the bytes of 32-bit pixels are counted, lowest byte first; byte 3 is not counted where the last is
/// null.
struct ByteCounts {
    ULong32* of[4] = {};
};

using CountKernel = simd::Kernel<void(const simd::Job<1, 0>&, const ByteCounts&)>;

extern const CountKernel kCountBytes;

}  // namespace Zan

#endif  // TESSELU_SRC_TONE_KERNELS_COUNT_H
