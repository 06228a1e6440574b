#ifndef TESSELU_SRC_FILTER_KERNELS_BOXBLUR_H
#define TESSELU_SRC_FILTER_KERNELS_BOXBLUR_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "foundation/Plane.h"
#include "simd/Dispatch.h"

namespace Zan {

/// How the sum of a byte over the box becomes a byte.
struct SumToByte {
    enum class Form : unsigned char {
        kSingle,  ///< times `inverse` in single precision, to the nearest, halves to even
        kFixed    ///< by shifts and `multiplier`, truncating
    };
    Form form = Form::kSingle;
    float inverse = 1.0F;
    unsigned preShift = 0;    ///< 0 to 32
    unsigned totalShift = 0;  ///< 15 to 31
    std::uint32_t multiplier = 0;
};

/// A rectangle to blur, not empty and inside the working size, by a box that is smaller than that and odd.
struct BoxJob {
    Plane source, destination;
    std::size_t width, height;  ///< the working size
    std::size_t left, right;    ///< columns to write, from `left` to below `right`
    std::size_t top, bottom;    ///< and rows
    std::size_t boxWidth, boxHeight;
    SumToByte toByte;
    bool streams = false;  ///< writes around the cache
};

/// Memory that a blur works in: of the caller's stack as far as it reaches.
class BoxMemory {
public:
    static constexpr std::size_t kOnStack = 65536;

    /// `bytes` of memory in whole cache lines; null where there is none to be had. Forgets what was given
    /// before.
    std::uint8_t* Get(std::size_t bytes) noexcept;

private:
    struct Free {
        void operator()(std::uint8_t* memory) const noexcept;
    };
    alignas(64) std::uint8_t stack[kOnStack];
    std::unique_ptr<std::uint8_t, Free> heap;
};

/// Sums of boxes by adding what enters and taking away what leaves, exact for every pixel.
extern const simd::Kernel<void(const BoxJob&, BoxMemory&)> kBlurBox;

}  // namespace Zan

#endif  // TESSELU_SRC_FILTER_KERNELS_BOXBLUR_H
