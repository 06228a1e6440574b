#ifndef TESSELU_SRC_FILTER_KERNELS_ADAPTIVEFILTER_H
#define TESSELU_SRC_FILTER_KERNELS_ADAPTIVEFILTER_H

#include <TesselU/foundation/Types.h>

#include <cstddef>
#include <cstdint>

#include "filter/kernels/AdaptiveFormulas.h"
#include "foundation/Plane.h"
#include "simd/Dispatch.h"

namespace Zan {

/// Pictures and windows of the adaptive filter. Sizes are in pixels; those of the window are odd.
struct AdaptiveJob {
    const ULong32* const* frames;
    std::ptrdiff_t pitch;
    Plane destination;
    std::size_t width, height;
    std::size_t windowWidth, windowHeight, windowFrames;

    const std::uint8_t* Row(std::size_t frame, std::size_t y) const noexcept {
        return reinterpret_cast<const std::uint8_t*>(frames[frame]) + static_cast<std::ptrdiff_t>(y) * pitch;
    }
    std::uint64_t WindowSamples() const noexcept {
        return std::uint64_t{windowWidth} * windowHeight * windowFrames;
    }
};

using AdaptiveKernel = simd::Kernel<void(const AdaptiveJob& job, const AdaptiveSettings& settings)>;

/// Packed 4:2:2 in single precision, the same in doubles, and pixels of 32 bits, in doubles as well.
extern const AdaptiveKernel kAdaptPairsInSingle, kAdaptPairs, kAdaptPixels;

/// The deviations in single precision around one pixel of packed 4:2:2: Cb, luma, Cr.
void DeviationsAround(const AdaptiveJob& job, std::size_t x, std::size_t y, float (&deviations)[3]) noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_FILTER_KERNELS_ADAPTIVEFILTER_H
