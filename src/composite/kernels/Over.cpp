// Source A over source B, by an alpha of A's own.

#include "composite/kernels/Blend.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "composite/kernels/Over.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "composite/kernels/AlphaProducts-inl.h"
#include "composite/kernels/Blend-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

// ---- Pairs of 4:2:2 pixels and a plane of alpha -----------------------------------------------------------

struct OverByPlane {
    using Place = simd::Place<3, 2>;
    static constexpr PlaneUse kSources[] = {PairPlane(0), PairPlane(1), {.index = 2, .columns = 2}};
    static constexpr PlaneUse kDestinations[] = {PairPlane(0), {.index = 1, .columns = 2}};
    static constexpr std::size_t kUnit = 2;

    void Unit(const Place& at, std::size_t x) const {
        const std::uint8_t *a = at.in[0][0] + 2 * x, *b = at.in[1][0] + 2 * x, *alpha = at.in[2][0] + x;
        const std::uint8_t first = alpha[0], second = alpha[1];
        std::uint8_t* out = at.out[0][0] + 2 * x;
        for (std::size_t i = 0; i < 4; ++i) {
            out[i] =
                OverWithoutOffset(a[i], b[i], i < 3 ? first : second, i % 2 == 0 ? kChromaZero : kLumaZero);
        }
        at.out[1][0][x] = 255;
        at.out[1][0][x + 1] = 255;
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes;

    /// Quotients of t / 255 for v = t - 32640: rounded from t = 255 * zero on, below it the next whole number
    /// up. Lanes are chroma and luma in turn.
    static HWY_INLINE HWY_ATTR VI16 Divide(VI16 v) {
        const DI16 d;
        const VI16 atZero = hn::BitCast(
            d, hn::Set(DU32(), std::uint32_t{static_cast<std::uint16_t>(255 * kLumaZero - 32640)} << 16));
        const VI16 below = hn::VecFromMask(d, hn::Lt(v, atZero));
        return Div255RoundCentred(hn::Add(v, hn::And(below, hn::Set(d, 127))));
    }

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const DI8 di;
        const DU64 d64;
        const VU8 zero = hn::BitCast(d, hn::Set(DU16(), kLumaZero << 8 | kChromaZero));
        const VU8 alphas = hn::LoadU(d, at.in[2][0] + x);
        const Weights words = WeightsOf(hn::BitCast(d, DealToBlocks(d64, hn::BitCast(d64, alphas))));
        const auto over = [&](std::size_t i, const Weights& weights) HWY_ATTR {
            const VI8 a = Centred(hn::LoadU(d, at.in[0][0] + 2 * x + i * kVectorBytes));
            const VI8 b = Centred(hn::LoadU(d, at.in[1][0] + 2 * x + i * kVectorBytes));
            const VI16 low = MulAddPairs(weights.lower, hn::InterleaveLower(di, b, a));
            const VI16 high = MulAddPairs(weights.upper, hn::InterleaveUpper(di, b, a));
            return hn::Sub(PackToBytes(Divide(low), Divide(high)), zero);
        };
        const VU8 made[2] = {over(0, WeightsOfPairs(words.lower)), over(1, WeightsOfPairs(words.upper))};
        for (std::size_t i = 0; i < 2; ++i) {
            put(d, made[i], at.out[0][0] + 2 * x + i * kVectorBytes);
        }
        // The one row that all lines write: it stays in the cache.
        hn::StoreU(hn::Set(d, 255), d, at.out[1][0] + x);
    }
#endif
};

// ---- Pixels with alpha, which is faded --------------------------------------------------------------------

/// `shapes`: colour of B is multiplied by its alpha first, and A counts as opaque in the alpha of the result.
template <bool shapes>
struct OverFaded {
    using Place = simd::Place<2, 1>;
    static constexpr PlaneUse kSources[] = {PixelPlane(0), PixelPlane(1)};
    static constexpr PlaneUse kDestinations[] = {PixelPlane(0)};
    unsigned weight, tailWeight;

    static void Pixel(const Place& at, std::size_t x, unsigned weight) {
        const std::uint8_t *a = at.in[0][0] + 4 * x, *b = at.in[1][0] + 4 * x;
        std::uint8_t* out = at.out[0][0] + 4 * x;
        const unsigned alphaA = a[3], alphaB = b[3], share = FadedAlpha(alphaA, weight);
        for (std::size_t i = 0; i < 3; ++i) {
            out[i] = BlendByAlpha(shapes ? Div255Round(b[i] * alphaB) : b[i], a[i], share);
        }
        out[3] = BlendByAlpha(alphaB, shapes ? 255 : alphaA, share);
    }
    void Unit(const Place& at, std::size_t x) const { Pixel(at, x, weight); }
    void Tail(const Place& at, std::size_t x, std::size_t) const { Pixel(at, x, tailWeight); }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kLineVectors * kVectorBytes / 4;

    /// FadedAlpha of each pixel in its four bytes: alpha * 128 as the one product of a pair, then a rounded
    /// product with the weight.
    static HWY_INLINE HWY_ATTR VU8 Faded(VU8 a, VI16 minusWeight) {
        const VI8 onAlpha = hn::BitCast(DI8(), hn::Set(DU32(), 0x80000000U));
        const VI16 faded = hn::MulFixedPoint15(MulAddPairs(a, onAlpha), minusWeight);
        return Spread<2, 2, 2, 2, 6, 6, 6, 6, 10, 10, 10, 10, 14, 14, 14, 14>(hn::BitCast(DU8(), faded));
    }

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const VI16 minusWeight = hn::Set(DI16(), static_cast<std::int16_t>(-static_cast<int>(weight)));
        const VU8 opaque = hn::BitCast(d, hn::Set(DU32(), 0xFF000000U));
        PutLine(at.out[0][0] + 4 * x, put, [&](std::size_t i) HWY_ATTR {
            const VU8 a = hn::LoadU(d, at.in[0][0] + 4 * x + i * kVectorBytes);
            const VU8 b = hn::LoadU(d, at.in[1][0] + 4 * x + i * kVectorBytes);
            const Weights weights = WeightsOf(Faded(a, minusWeight));
            if constexpr (shapes) {
                // Alpha times 255 stays what it is.
                return BlendBytes(TimesAlpha(hn::Or(b, opaque), b), hn::Or(a, opaque), weights);
            } else {
                return BlendBytes(b, a, weights);
            }
        });
    }
#endif
};

void RunOverByPlane(const OverJob& job) {
    Walk(OverByPlane{}, job);
}
void RunOverFaded(const TwoSourceJob& job, const BlendSettings& set) {
    Walk(OverFaded<false>{set.weight, set.tailWeight}, job);
}
void RunOverFadedShaping(const TwoSourceJob& job, const BlendSettings& set) {
    Walk(OverFaded<true>{set.weight, set.tailWeight}, job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(OverKernel, kOverByPlane, RunOverByPlane);
TESSELU_KERNEL(TwoSourceKernel, kOverFaded, RunOverFaded);
TESSELU_KERNEL(TwoSourceKernel, kOverFadedShaping, RunOverFadedShaping);

}  // namespace Zan

#endif  // HWY_ONCE
