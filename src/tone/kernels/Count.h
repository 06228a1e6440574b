#ifndef TESSELU_SRC_TONE_KERNELS_COUNT_H
#define TESSELU_SRC_TONE_KERNELS_COUNT_H

#include <TesselU/foundation/Types.h>

#include <cstdint>

#include "simd/Dispatch.h"
#include "simd/Job.h"

namespace Zan {

using CountJob = simd::Job<1, 0>;

/// Where the bytes of 32-bit pixels are counted, lowest byte first; byte 3 is not counted where the last is
/// null.
struct ByteCounts {
    ULong32* of[4] = {};
};

/// A count for every value of bytes 0 and 1 of a pixel together, and for every value of bytes 2 and 3.
struct PairCounts {
    static constexpr std::size_t kValues = 65536;
    static constexpr std::size_t kBytes = 2 * kValues * sizeof(std::uint32_t);

    std::uint32_t* of[2] = {};
};

/// One increment for each byte.
extern const simd::Kernel<void(const CountJob&, const ByteCounts&)> kCountBytes;

/// One increment for each two bytes. Faster where pictures have few enough colours that their counts stay in
/// the first-level cache. `pairs` are all 0, before and after.
extern const simd::Kernel<void(const CountJob&, const ByteCounts&, const PairCounts& pairs)> kCountPairs;

/// In how many lines of the cache the pairs of the pixels have their counts.
extern const simd::Kernel<void(const CountJob&, bool countsByte3, std::size_t& lines)> kSpreadOfPairs;

}  // namespace Zan

#endif  // TESSELU_SRC_TONE_KERNELS_COUNT_H
