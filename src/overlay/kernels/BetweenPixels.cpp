// A foreground between pixels, as the overlays at whole pixels take it.

#include <array>
#include <utility>

#include "overlay/kernels/Overlay.h"
#include "overlay/kernels/OverlayFormulas.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "overlay/kernels/BetweenPixels.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "overlay/kernels/Between-inl.h"
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

// ---- Bytes of any pixels ----------------------------------------------------------------------------------

template <std::size_t taps>
struct MixEveryByte {
    using Place = simd::Place<4 * kMostTaps, 1>;
    static constexpr auto kSources = [] {
        std::array<PlaneUse, taps> uses{};
        for (std::size_t t = 0; t < taps; ++t) {
            uses[t] = {.index = ColourOf(t, false)};
        }
        return uses;
    }();
    static constexpr PlaneUse kDestinations[] = {{.index = 0}};
    static constexpr bool kStaysInCache = true;
    MixShares shares;

    void Unit(const Place& at, std::size_t x) const {
        std::array<std::uint8_t, taps> samples;
        for (std::size_t t = 0; t < taps; ++t) {
            samples[t] = at.in[ColourOf(t, false)][0][x];
        }
        at.out[0][0][x] = MixOf(WeightsOfTaps<taps>(shares.luma, shares.row), samples);
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kLineVectors * kVectorBytes;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        PutLine(at.out[0][0] + x, put, [&](std::size_t i) HWY_ATTR {
            VU8 in[taps];
            for (std::size_t t = 0; t < taps; ++t) {
                in[t] = hn::LoadU(DU8(), at.in[ColourOf(t, false)][0] + x + i * kVectorBytes);
            }
            return MixBytesOf<taps>(in, shares);
        });
    }
#endif
};

// ---- 32-bit pixels ----------------------------------------------------------------------------------------

template <std::size_t taps>
struct MixStraightPixels {
    using Place = simd::Place<4 * kMostTaps, 1>;
    static constexpr auto kSources = [] {
        std::array<PlaneUse, taps> uses{};
        for (std::size_t t = 0; t < taps; ++t) {
            uses[t] = PixelPlane(ColourOf(t, false));
        }
        return uses;
    }();
    static constexpr PlaneUse kDestinations[] = {PixelPlane(0)};
    static constexpr bool kStaysInCache = true;
    MixShares shares;

    void Unit(const Place& at, std::size_t x) const {
        const auto pixel = [&](std::size_t t) { return at.in[ColourOf(t, false)][0] + 4 * x; };
        MixPixel<taps, false>(shares, pixel, at.out[0][0] + 4 * x);
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes / 4;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        VU8 in[taps];
        for (std::size_t t = 0; t < taps; ++t) {
            in[t] = hn::LoadU(d, at.in[ColourOf(t, false)][0] + 4 * x);
        }
        const StraightPixels<taps, false> mixed(in, shares);
        put(d, mixed.Pixels(mixed.Alpha()), at.out[0][0] + 4 * x);
    }
#endif
};

// ---- Pairs of 4:2:2 ---------------------------------------------------------------------------------------

/// What the kernels of pairs have in common: chroma and luma lie in planes of their own, in alternate bytes.
template <std::size_t taps>
struct OfPairs {
    using Place = simd::Place<4 * kMostTaps, 1>;
    static constexpr PlaneUse kDestinations[] = {PairPlane(0)};
    static constexpr std::size_t kUnit = 2;
    static constexpr bool kStaysInCache = true;
    MixShares shares;

    /// Planes of colour, of alpha, or of both.
    template <bool hasColour, bool hasAlpha>
    static constexpr auto Uses() {
        std::array<PlaneUse, 2 * taps*((hasColour ? 1 : 0) + (hasAlpha ? 1 : 0))> uses{};
        std::size_t n = 0;
        for (std::size_t t = 0; t < taps; ++t) {
            for (const bool isLuma : {false, true}) {
                if (hasColour) {
                    uses[n++] = PairPlane(ColourOf(t, isLuma));
                }
                if (hasAlpha) {
                    uses[n++] = {.index = AlphaOf(t, isLuma), .columns = 2};
                }
            }
        }
        return uses;
    }

    /// Byte `i` of the pair at `x`, and its alpha.
    static std::array<std::uint8_t, taps> Samples(const Place& at, std::size_t x, std::size_t i) {
        std::array<std::uint8_t, taps> samples;
        for (std::size_t t = 0; t < taps; ++t) {
            samples[t] = at.in[ColourOf(t, i % 2 != 0)][0][2 * x + i];
        }
        return samples;
    }
    static std::array<std::uint8_t, taps> Alphas(const Place& at, std::size_t x, std::size_t i) {
        std::array<std::uint8_t, taps> alphas;
        for (std::size_t t = 0; t < taps; ++t) {
            alphas[t] = at.in[AlphaOf(t, i % 2 != 0)][0][x + (i == 3 ? 1 : 0)];
        }
        return alphas;
    }
    std::array<std::uint32_t, taps> WeightsOfByte(std::size_t i) const {
        return WeightsOfTaps<taps>(i % 2 == 0 ? shares.chroma : shares.luma, shares.row);
    }

#if HWY_TARGET != HWY_SCALAR
    /// A vector of samples from byte `byte` on, and of the alphas of the same.
    static HWY_INLINE HWY_ATTR void Load(const Place& at, std::size_t byte, VU8 (&in)[taps]) {
        const DU8 d;
        const VU8 isChroma = hn::BitCast(d, hn::Set(DU16(), 0x00FF));
        for (std::size_t t = 0; t < taps; ++t) {
            in[t] = hn::IfVecThenElse(isChroma, hn::LoadU(d, at.in[ColourOf(t, false)][0] + byte),
                                      hn::LoadU(d, at.in[ColourOf(t, true)][0] + byte));
        }
    }
    static HWY_INLINE HWY_ATTR void LoadAlphas(const Place& at, std::size_t byte, VU8 (&alpha)[taps]) {
        const DU8 d;
        const DU16 d16;
        const hn::Half<DU8> half;
        for (std::size_t t = 0; t < taps; ++t) {
            const VU16 chroma = hn::PromoteTo(d16, hn::LoadU(half, at.in[AlphaOf(t, false)][0] + byte / 2));
            const VU16 luma = hn::PromoteTo(d16, hn::LoadU(half, at.in[AlphaOf(t, true)][0] + byte / 2));
            // The even pixel's, for both chroma samples.
            const VU16 even = hn::BitCast(
                d16, Spread<0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13>(hn::BitCast(d, chroma)));
            alpha[t] = hn::BitCast(d, hn::Or(even, hn::ShiftLeft<8>(luma)));
        }
    }
#endif
};

template <std::size_t taps>
struct MixColourOfPairs : OfPairs<taps> {
    using Base = OfPairs<taps>;
    using typename Base::Place;
    static constexpr auto kSources = Base::template Uses<true, false>();

    void Unit(const Place& at, std::size_t x) const {
        for (std::size_t i = 0; i < 4; ++i) {
            at.out[0][0][2 * x + i] = MixOf(Base::WeightsOfByte(i), Base::Samples(at, x, i));
        }
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kLineVectors * kVectorBytes / 2;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        PutLine(at.out[0][0] + 2 * x, put, [&](std::size_t i) HWY_ATTR {
            VU8 in[taps];
            Base::Load(at, 2 * x + i * kVectorBytes, in);
            return MixBytesOf<taps>(in, Base::shares);
        });
    }
#endif
};

template <std::size_t taps>
struct MixAlphasOfPairs : OfPairs<taps> {
    using Base = OfPairs<taps>;
    using typename Base::Place;
    static constexpr auto kSources = Base::template Uses<false, true>();

    void Unit(const Place& at, std::size_t x) const {
        for (std::size_t i = 0; i < 4; ++i) {
            at.out[0][0][2 * x + i] = MixOf(Base::WeightsOfByte(i), Base::Alphas(at, x, i));
        }
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes / 2;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        VU8 alpha[taps];
        Base::LoadAlphas(at, 2 * x, alpha);
        put(DU8(), MixBytesOf<taps>(alpha, Base::shares), at.out[0][0] + 2 * x);
    }
#endif
};

template <std::size_t taps>
struct MixStraightColourOfPairs : OfPairs<taps> {
    using Base = OfPairs<taps>;
    using typename Base::Place;
    static constexpr auto kSources = Base::template Uses<true, true>();

    void Unit(const Place& at, std::size_t x) const {
        for (std::size_t i = 0; i < 4; ++i) {
            at.out[0][0][2 * x + i] =
                StraightMixOf(Base::WeightsOfByte(i), Base::Samples(at, x, i), Base::Alphas(at, x, i));
        }
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes / 2;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        VU8 in[taps], alpha[taps];
        Base::Load(at, 2 * x, in);
        Base::LoadAlphas(at, 2 * x, alpha);
        put(DU8(), StraightMixBytesOf<taps>(in, alpha, Base::shares), at.out[0][0] + 2 * x);
    }
#endif
};

template <template <std::size_t> class Mix>
void WalkTaps(MixJob job, const MixShares& given) {
    const MixShares shares = Arranged(given, [&job](std::size_t a, std::size_t b) {
        for (std::size_t i = 0; i < 4; ++i) {
            std::swap(job.source[4 * a + i], job.source[4 * b + i]);
        }
    });
    if (shares.taps == 2) {
        Mix<2> mix;
        mix.shares = shares;
        Walk(mix, job);
    } else {
        Mix<4> mix;
        mix.shares = shares;
        Walk(mix, job);
    }
}

void RunMixBytes(const MixJob& job, const MixShares& shares) {
    WalkTaps<MixEveryByte>(job, shares.OfLuma());
}
void RunMixPairs(const MixJob& job, const MixShares& shares) {
    WalkTaps<MixColourOfPairs>(job, shares);
}
void RunMixPairAlphas(const MixJob& job, const MixShares& shares) {
    WalkTaps<MixAlphasOfPairs>(job, shares);
}
void RunMixStraightPixels(const MixJob& job, const MixShares& shares) {
    WalkTaps<MixStraightPixels>(job, shares.OfLuma());
}
void RunMixStraightPairs(const MixJob& job, const MixShares& shares) {
    WalkTaps<MixStraightColourOfPairs>(job, shares);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(MixKernel, kMixBytes, RunMixBytes);
TESSELU_KERNEL(MixKernel, kMixPairs, RunMixPairs);
TESSELU_KERNEL(MixKernel, kMixPairAlphas, RunMixPairAlphas);
TESSELU_KERNEL(MixKernel, kMixStraightPixels, RunMixStraightPixels);
TESSELU_KERNEL(MixKernel, kMixStraightPairs, RunMixStraightPairs);

}  // namespace Zan

#endif  // HWY_ONCE
