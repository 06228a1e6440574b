#ifndef TESSELU_SRC_COMPOSITE_KERNELS_FILL_H
#define TESSELU_SRC_COMPOSITE_KERNELS_FILL_H

#include "simd/Dispatch.h"
#include "simd/Job.h"

namespace Zan {

using FillJob = simd::Job<0, 1>;

struct FillSettings {
    std::uint32_t pattern = 0;        ///< the low byte comes first; of a byte plane all four are alike
    std::uint32_t mask = 0xFFFFFFFF;  ///< bits that the pattern replaces
    std::size_t boundary = 1;         ///< rows are written on to an address that is a multiple of it
};

using FillKernel = simd::Kernel<void(const FillJob&, const FillSettings&)>;

// Columns are words or bytes.
extern const FillKernel kFillWords;
extern const FillKernel kFillBytes;
extern const FillKernel kFillWordsUnderMask;
extern const FillKernel kFillBytesUnderMask;
/// Bytes, on to the boundary where a row ends before it. The pattern starts with the row.
extern const FillKernel kFillToBoundary;
/// Columns are 4:2:2 pixels. One word for every two of them, but at word positions that rise by two: every
/// second word stays as it was, and an odd last pixel takes three bytes.
extern const FillKernel kFillPairs;

}  // namespace Zan

#endif  // TESSELU_SRC_COMPOSITE_KERNELS_FILL_H
