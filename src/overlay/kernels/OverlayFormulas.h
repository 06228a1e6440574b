#ifndef TESSELU_SRC_OVERLAY_KERNELS_OVERLAYFORMULAS_H
#define TESSELU_SRC_OVERLAY_KERNELS_OVERLAYFORMULAS_H

#include <cstddef>
#include <cstdint>

#include "composite/kernels/BlendFormulas.h"

// The arithmetic of the overlays on one sample, which every vector body must equal. f is the foreground, b
// the background, a and ab are their alphas. `BlendByAlpha(b, f, a)` is the straight blend of RGB.

namespace Zan {

/// What is taken off samples of 4:2:2 before a blend, by their place in a pair.
constexpr int OffsetOfPairByte(std::size_t i) noexcept {
    return i % 2 == 0 ? kChromaZero : kLumaZero;
}

/// t / 255 to the nearest, of a sum of either sign. Below zero the shifts go down: -128 gives 0, -383 gives
/// -1.
constexpr int ShiftedQuotient(int t) noexcept {
    return (t + 128 + ((t + 128) >> 8)) >> 8;
}

/// Beyond 255 the sum begins anew.
constexpr std::uint8_t PremultipliedOver(unsigned b, unsigned f, unsigned a) noexcept {
    return static_cast<std::uint8_t>(f + Div255Round((255 - a) * b));
}

/// The straight blend with `zero` taken off both samples.
constexpr std::uint8_t OffsetBlend(unsigned b, unsigned f, unsigned a, int zero) noexcept {
    const int weight = static_cast<int>(a);
    const int t = (255 - weight) * (static_cast<int>(b) - zero) + weight * (static_cast<int>(f) - zero);
    return static_cast<std::uint8_t>(ShiftedQuotient(t) + zero);
}

/// The premultiplied one, which takes it off the background alone.
constexpr std::uint8_t OffsetPremultipliedOver(unsigned b, unsigned f, unsigned a, int zero) noexcept {
    const int t = (255 - static_cast<int>(a)) * (static_cast<int>(b) - zero);
    return static_cast<std::uint8_t>(static_cast<int>(f) + ShiftedQuotient(t));
}

/// The straight blend over an alpha: what becomes of it, and the share of the foreground.
struct AlphaUnion {
    unsigned alpha, weight;

    static constexpr AlphaUnion Of(unsigned a, unsigned ab) noexcept {
        const unsigned alpha = a + ab - Div255Round(a * ab);
        return {alpha, alpha > 0 ? a * 255 / alpha : 0};
    }
};

/// Pixels of 32 bits; `out` may be one of them.
inline void PremultipliedPixelOver(const std::uint8_t* b, const std::uint8_t* f, std::uint8_t* out) noexcept {
    const unsigned a = f[3];
    for (std::size_t i = 0; i < 4; ++i) {
        out[i] = PremultipliedOver(b[i], f[i], a);
    }
}
inline void UnitePixel(const std::uint8_t* b, const std::uint8_t* f, std::uint8_t* out) noexcept {
    const AlphaUnion both = AlphaUnion::Of(f[3], b[3]);
    for (std::size_t i = 0; i < 3; ++i) {
        out[i] = BlendByAlpha(b[i], f[i], both.weight);
    }
    out[3] = static_cast<std::uint8_t>(both.alpha);
}

/// b + D(w * (f - b)).
constexpr std::uint8_t WeightedStep(unsigned b, unsigned f, unsigned w) noexcept {
    const int t = static_cast<int>(w) * (static_cast<int>(f) - static_cast<int>(b));
    return static_cast<std::uint8_t>(static_cast<int>(b) + ShiftedQuotient(t));
}

// ---- Between pixels ---------------------------------------------------------------------------------------

/// Where a sample lies between two: weights are out of 512, and their products out of 2^18.
inline constexpr unsigned kWeightsOfAxis = 512;
inline constexpr int kWeightBits = 18;

/// A weighted sum of samples to the nearest, halves up.
constexpr unsigned WeightedMean(std::uint32_t sum) noexcept {
    return (sum + (1U << (kWeightBits - 1))) >> kWeightBits;
}

/// The straight colour of weighted pixels: the sum of weight * alpha * colour by that of weight * alpha, to
/// the nearest, halves up.
constexpr unsigned StraightMean(std::uint64_t colours, std::uint32_t alphas) noexcept {
    return alphas == 0 ? 0 : static_cast<unsigned>((colours + alphas / 2) / alphas);
}

}  // namespace Zan

#endif  // TESSELU_SRC_OVERLAY_KERNELS_OVERLAYFORMULAS_H
