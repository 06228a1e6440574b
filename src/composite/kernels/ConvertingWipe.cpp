// The soft wipe from 4:2:2 to 32-bit RGB.

#include "composite/kernels/ConvertingWipe.h"

#include "convert/kernels/ConversionFormulas.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "composite/kernels/ConvertingWipe.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "composite/kernels/Blend-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

struct ConvertingWipe {
    using Place = simd::Place<3, 1>;
    static constexpr PlaneUse kSources[] = {PairPlane(0), PairPlane(1), {.index = 2}};
    static constexpr PlaneUse kDestinations[] = {PixelPlane(0)};
    static constexpr std::size_t kUnit = 2;
    KeyMap8 map;
    const FixedPointCoefficients& coefficients;

    void Unit(const Place& at, std::size_t x) const {
        Pixel pixels[2][2];
        for (std::size_t source = 0; source < 2; ++source) {
            const std::uint8_t* pair = at.in[source][0] + 2 * x;
            for (std::size_t i = 0; i < 2; ++i) {
                pixels[source][i] = SevenBitColor(coefficients, {{pair[0], pair[1 + 2 * i], pair[2], 0}});
                pixels[source][i].sample[3] = 255;
            }
        }
        for (std::size_t i = 0; i < 2; ++i) {
            const std::uint8_t alpha = map(at.in[2][0][x + i]);
            for (std::size_t j = 0; j < 4; ++j) {
                at.out[0][0][4 * (x + i) + j] =
                    BlendByAlpha(pixels[0][i].sample[j], pixels[1][i].sample[j], alpha);
            }
        }
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes / 2;

    /// A vector of pixels: each block holds eight of B, then of R, and eight of G, then of A.
    struct Halves {
        VU8 blueRed, greenAlpha;
    };

    /// Two lanes of 16 bits in every pair.
    static HWY_INLINE HWY_ATTR VI16 Pairs(std::int16_t even, std::int16_t odd) {
        return hn::BitCast(DI16(), hn::Set(DU32(), static_cast<std::uint16_t>(even) |
                                                       std::uint32_t{static_cast<std::uint16_t>(odd)} << 16));
    }

    HWY_INLINE HWY_ATTR Halves Convert(const std::uint8_t* pairs) const {
        const DI16 d;
        const DU16 du;
        const DI32 d32;
        const DU64 d64;
        const auto& c = coefficients;
        const VU16 words = hn::BitCast(du, DealToBlocks(d64, hn::BitCast(d64, hn::LoadU(DU8(), pairs))));
        // Chroma is a pair of lanes for two pixels, luma a lane for each.
        const VI16 chroma = hn::Add(hn::BitCast(d, hn::ShiftRight<1>(hn::ShiftLeft<8>(words))),
                                    Pairs(c.offsetFixed[0][0], c.offsetFixed[0][2]));
        const VI16 luma = hn::Add(hn::BitCast(d, hn::ShiftLeft<7>(hn::ShiftRight<8>(words))),
                                  hn::Set(d, c.offsetFixed[0][1]));
        const auto row = [&](std::size_t i) HWY_ATTR {
            const auto& m = c.matrixFixed[i];
            const VI32 shared = hn::Add(MulAddPairs(chroma, Pairs(m[0], m[2])),
                                        hn::Set(d32, std::int32_t{m[3]} * c.offsetFixed[0][3]));
            const VI16 sums = HighHalves(hn::Add(shared, MulAddPairs(luma, Pairs(m[1], 0))),
                                         hn::Add(shared, MulAddPairs(luma, Pairs(0, m[1]))));
            return hn::ShiftRight<4>(hn::Add(sums, hn::Set(d, c.offsetFixed[1][i])));
        };
        return {PackToBytes(row(0), row(2)), PackToBytes(row(1), hn::Set(d, 255))};
    }

    HWY_INLINE HWY_ATTR VU8 Alphas(const std::uint8_t* keys) const {
        const DU16 d;
        const DU64 d64;
        const hn::Rebind<std::uint8_t, DU16> half;
        const VU16 above = hn::ShiftLeft<8>(hn::PromoteTo(d, hn::LoadU(half, keys)));
        const VU16 x = hn::ShiftRight<8>(hn::SaturatedSub(above, hn::Set(d, map.threshold)));
        const VU16 alpha = hn::Min(hn::Mul(x, hn::Set(d, map.gain)), hn::Set(d, 255));
        const VI16 dealt = hn::BitCast(DI16(), DealToBlocks(d64, hn::BitCast(d64, alpha)));
        return PackToBytes(dealt, dealt);
    }

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const DU16 d16;
        const VU8 alphas = Alphas(at.in[2][0] + x);
        const bool isMixed = !ExtremeTest()(alphas) || !AreAlike(alphas);
        Halves made = Convert(at.in[isMixed || AreZero(alphas) ? 0 : 1][0] + 2 * x);
        if (isMixed) {
            const Weights weights = WeightsOf(alphas);
            const Halves b = Convert(at.in[1][0] + 2 * x);
            made.blueRed = BlendBytes(made.blueRed, b.blueRed, weights);
            made.greenAlpha = BlendBytes(made.greenAlpha, b.greenAlpha, weights);
        }
        const VU16 blueGreen = hn::BitCast(d16, hn::InterleaveLower(d, made.blueRed, made.greenAlpha));
        const VU16 redAlpha = hn::BitCast(d16, hn::InterleaveUpper(d, made.blueRed, made.greenAlpha));
        put(d, hn::BitCast(d, hn::InterleaveLower(d16, blueGreen, redAlpha)), at.out[0][0] + 4 * x);
        put(d, hn::BitCast(d, hn::InterleaveUpper(d16, blueGreen, redAlpha)),
            at.out[0][0] + 4 * x + kVectorBytes);
    }
#endif
};

void RunWipeConverting(const KeyedJob& job, const KeyMap8& map, const FixedPointCoefficients& coefficients) {
    Walk(ConvertingWipe{map, coefficients}, job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(ConvertingKernel, kWipeConverting, RunWipeConverting);

}  // namespace Zan

#endif  // HWY_ONCE
