#ifndef TESSELU_SRC_TONE_KERNELS_FIXEDTURN_H
#define TESSELU_SRC_TONE_KERNELS_FIXEDTURN_H

#include <cstdint>

namespace Zan {

/// A factor of -1 to 1 as (high * 2^15 + low) / 2^30: halves for 16-bit products.
struct FixedFactor {
    std::int16_t high = 0, low = 0;

    std::int64_t Whole() const noexcept { return std::int64_t{high} * 32768 + low; }
};

/// The turn of chroma in fixed point: with u and v of -128 to 128, u * cosine + v * sine rounded down from 31
/// bits of fraction, plus 1 where that is negative. That is truncation toward zero as long as no sum, but 0,
/// is a whole number, and equals truncation of the sum in double precision as long as none comes near one.
struct FixedTurn {
    FixedFactor cosine, sine, minusSine;
    bool isExact = false;

    /// The turn, and whether it gives what double precision gives for all u and v, and for v and -u.
    static FixedTurn Of(double cosine, double sine) noexcept;

    std::int32_t operator()(int u, int v) const noexcept;
};

}  // namespace Zan

#endif  // TESSELU_SRC_TONE_KERNELS_FIXEDTURN_H
