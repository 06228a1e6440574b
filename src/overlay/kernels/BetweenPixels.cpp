// A foreground between pixels, as the overlays at whole pixels take it.

#include <array>
#include <type_traits>

#include "overlay/kernels/Overlay.h"
#include "overlay/kernels/OverlayFormulas.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "overlay/kernels/BetweenPixels.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "composite/kernels/Blend-inl.h"
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

/// Weights of the taps of one kind of sample, out of 2^18.
template <std::size_t taps>
std::array<std::uint32_t, taps> WeightsOfTaps(unsigned share, unsigned row) {
    const std::uint32_t rest = kWeightsOfAxis - share, rowRest = kWeightsOfAxis - row;
    if constexpr (taps == 2) {
        return {rest * kWeightsOfAxis, share * kWeightsOfAxis};
    } else {
        return {rest * rowRest, share * rowRest, rest * row, share * row};
    }
}

template <std::size_t taps>
std::uint8_t MixOf(const std::array<std::uint32_t, taps>& weights,
                   const std::array<std::uint8_t, taps>& samples) {
    std::uint32_t sum = 0;
    for (std::size_t t = 0; t < taps; ++t) {
        sum += weights[t] * samples[t];
    }
    return static_cast<std::uint8_t>(WeightedMean(sum));
}

template <std::size_t taps>
std::uint8_t StraightMixOf(const std::array<std::uint32_t, taps>& weights,
                           const std::array<std::uint8_t, taps>& samples,
                           const std::array<std::uint8_t, taps>& alphas) {
    std::uint64_t colours = 0;
    std::uint32_t sum = 0;
    for (std::size_t t = 0; t < taps; ++t) {
        const std::uint32_t weight = weights[t] * alphas[t];
        sum += weight;
        colours += std::uint64_t{weight} * samples[t];
    }
    return static_cast<std::uint8_t>(StraightMean(colours, sum));
}

#if HWY_TARGET != HWY_SCALAR

/// Shares on vectors, in 256ths where all are even. Lanes are chroma and luma in turn.
template <std::size_t taps>
struct VectorShares {
    HWY_INLINE HWY_ATTR explicit VectorShares(const MixShares& s)
        : isFine(((s.chroma | s.luma | s.row) & 1) != 0), chroma(s.chroma), luma(s.luma), row(s.row) {}

    /// 256 less a share and the share, as bytes.
    HWY_INLINE HWY_ATTR VU8 OfBytes() const {
        const auto pair = [](std::uint32_t share) { return (256 - share) | share << 8; };
        return hn::BitCast(DU8(), hn::Set(DU32(), pair(chroma / 2) | pair(luma / 2) << 16));
    }
    /// The same as words, two kinds of samples in turn.
    HWY_INLINE HWY_ATTR VI16 OfWords(unsigned whole, unsigned first, unsigned second) const {
        const auto pair = [whole](std::uint64_t share) { return (whole - share) | share << 16; };
        return hn::BitCast(DI16(), hn::Set(DU64(), pair(first) | pair(second) << 32));
    }

    bool isFine;
    unsigned chroma, luma, row;
};

/// Sums of a pair of taps in 256ths, less 32768: the taps' bytes are brought together in 16-bit lanes.
struct RowSums {
    VI16 low, high;

    HWY_INLINE HWY_ATTR RowSums(VU8 a, VU8 b, VU8 shares) {
        const DI8 d;
        const VI8 ca = Centred(a), cb = Centred(b);
        low = MulAddPairs(shares, hn::InterleaveLower(d, ca, cb));
        high = MulAddPairs(shares, hn::InterleaveUpper(d, ca, cb));
    }
};

/// MixOf in 512ths, for which bytes are too small.
template <std::size_t taps>
HWY_NOINLINE HWY_ATTR VU8 MixFinely(const VU8 (&in)[taps], const VectorShares<taps>& shares) {
    const DU8 d;
    const DI16 d16;
    const DI32 d32;
    const VU8 none = hn::Zero(d);
    const VI16 across = shares.OfWords(512, shares.chroma, shares.luma);
    VI32 sums[4];
    for (std::size_t r = 0; r < taps / 2; ++r) {
        VI16 a[2] = {hn::BitCast(d16, hn::InterleaveLower(d, in[2 * r], none)),
                     hn::BitCast(d16, hn::InterleaveUpper(d, in[2 * r], none))};
        VI16 b[2] = {hn::BitCast(d16, hn::InterleaveLower(d, in[2 * r + 1], none)),
                     hn::BitCast(d16, hn::InterleaveUpper(d, in[2 * r + 1], none))};
        for (std::size_t i = 0; i < 4; ++i) {
            const VI16 both = i % 2 == 0 ? hn::InterleaveLower(d16, a[i / 2], b[i / 2])
                                         : hn::InterleaveUpper(d16, a[i / 2], b[i / 2]);
            const VI32 sum = MulAddPairs(both, across);
            if constexpr (taps == 2) {
                sums[i] = hn::ShiftRight<9>(hn::Add(sum, hn::Set(d32, 256)));
            } else if (r == 0) {
                sums[i] = hn::Mul(sum, hn::Set(d32, static_cast<std::int32_t>(512 - shares.row)));
            } else {
                const VI32 all =
                    hn::Add(sums[i], hn::Mul(sum, hn::Set(d32, static_cast<std::int32_t>(shares.row))));
                sums[i] = hn::ShiftRight<18>(hn::Add(all, hn::Set(d32, 1 << 17)));
            }
        }
    }
    return PackToBytes(PackToShorts(sums[0], sums[1]), PackToShorts(sums[2], sums[3]));
}

/// MixOf on every byte.
template <std::size_t taps>
HWY_INLINE HWY_ATTR VU8 MixBytesOf(const VU8 (&in)[taps], const VectorShares<taps>& shares) {
    if (shares.isFine) [[unlikely]] {
        return MixFinely(in, shares);
    }
    const VU8 across = shares.OfBytes();
    const RowSums first(in[0], in[1], across);
    if constexpr (taps == 2) {
        const DU16 d;
        const auto mean = [&](VI16 sum) HWY_ATTR {
            const VU16 whole = hn::Add(hn::BitCast(d, sum), hn::Set(d, 0x8000 + 128));
            return hn::BitCast(DI16(), hn::ShiftRight<8>(whole));
        };
        return PackToBytes(mean(first.low), mean(first.high));
    } else {
        const DI16 d;
        const DI32 d32;
        const RowSums second(in[2], in[3], across);
        const VI16 down = shares.OfWords(256, shares.row / 2, shares.row / 2);
        // What is taken off the sums, 2^23, is 128 of the mean.
        const auto mean = [&](VI16 a, VI16 b) HWY_ATTR {
            const VI32 low = MulAddPairs(hn::InterleaveLower(d, a, b), down);
            const VI32 high = MulAddPairs(hn::InterleaveUpper(d, a, b), down);
            const VI32 half = hn::Set(d32, 1 << 15);
            return PackToShorts(hn::ShiftRight<16>(hn::Add(low, half)),
                                hn::ShiftRight<16>(hn::Add(high, half)));
        };
        const VI8 made = PackToSignedBytes(mean(first.low, second.low), mean(first.high, second.high));
        return hn::BitCast(DU8(), Centred(hn::BitCast(DU8(), made)));
    }
}

/// StraightMixOf on every byte, in 256ths. Quotients are estimated in single precision, which is off by one
/// at most, and put right by their remainder.
template <std::size_t taps>
HWY_INLINE HWY_ATTR VU8 StraightMixBytesOf(const VU8 (&in)[taps], const VU8 (&alpha)[taps],
                                           const VectorShares<taps>& shares) {
    const DU8 d;
    const DI16 d16;
    const DU16 du16;
    const DI32 d32;
    const DU32 du32;
    const hn::ScalableTag<float> df;
    const VU8 none = hn::Zero(d);
    const VI16 across = shares.OfWords(256, shares.chroma / 2, shares.luma / 2);
    const auto half = [&](VU8 v, std::size_t i) HWY_ATTR {
        return hn::BitCast(du16, i == 0 ? hn::InterleaveLower(d, v, none) : hn::InterleaveUpper(d, v, none));
    };
    VI16 words[2];
    for (std::size_t i = 0; i < 2; ++i) {
        VI16 a[taps], product[taps];
        for (std::size_t t = 0; t < taps; ++t) {
            const VU16 alphas = half(alpha[t], i);
            a[t] = hn::BitCast(d16, alphas);
            product[t] = hn::BitCast(d16, hn::Xor(hn::Mul(half(in[t], i), alphas), hn::Set(du16, 0x8000)));
        }
        VI32 quotient[2];
        for (std::size_t k = 0; k < 2; ++k) {
            const auto sum = [&](VI16 x, VI16 y) HWY_ATTR {
                return MulAddPairs(k == 0 ? hn::InterleaveLower(d16, x, y) : hn::InterleaveUpper(d16, x, y),
                                   across);
            };
            const VI32 offset = hn::Set(d32, 1 << 23);
            VI32 colours = hn::Add(sum(product[0], product[1]), offset), alphas = sum(a[0], a[1]);
            if constexpr (taps == 4) {
                const VI32 row = hn::Set(d32, static_cast<std::int32_t>(shares.row / 2));
                const VI32 rest = hn::Set(d32, static_cast<std::int32_t>(256 - shares.row / 2));
                const VI32 below = hn::Add(sum(product[2], product[3]), offset);
                colours = hn::Add(hn::Mul(colours, rest), hn::Mul(below, row));
                alphas = hn::Add(hn::Mul(alphas, rest), hn::Mul(sum(a[2], a[3]), row));
            }
            alphas = hn::Max(alphas, hn::Set(d32, 1));
            const VU32 rounded =
                hn::Add(hn::BitCast(du32, colours), hn::ShiftRight<1>(hn::BitCast(du32, alphas)));
            // Up to 2^32, so that half of it is what is converted.
            const auto top = hn::ConvertTo(df, hn::BitCast(d32, hn::ShiftRight<1>(rounded)));
            const auto bottom = hn::ConvertTo(df, alphas);
            const VI32 estimate = hn::ConvertTo(d32, hn::Div(hn::Add(top, top), bottom));
            const VI32 remainder = hn::Sub(hn::BitCast(d32, rounded), hn::Mul(estimate, alphas));
            const VI32 below = hn::VecFromMask(d32, hn::Lt(remainder, hn::Zero(d32)));
            const VI32 within = hn::VecFromMask(d32, hn::Lt(remainder, alphas));
            // -1 where it is negative; 1 where it is not less than the divisor.
            quotient[k] = hn::Add(estimate, hn::Add(below, hn::Add(within, hn::Set(d32, 1))));
        }
        words[i] = PackToShorts(quotient[0], quotient[1]);
    }
    return PackToBytes(words[0], words[1]);
}

#endif  // HWY_TARGET

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
        const VectorShares<taps> s(shares);
        PutLine(at.out[0][0] + x, put, [&](std::size_t i) HWY_ATTR {
            VU8 in[taps];
            for (std::size_t t = 0; t < taps; ++t) {
                in[t] = hn::LoadU(DU8(), at.in[ColourOf(t, false)][0] + x + i * kVectorBytes);
            }
            return MixBytesOf<taps>(in, s);
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
        const auto weights = WeightsOfTaps<taps>(shares.luma, shares.row);
        std::array<std::uint8_t, taps> samples, alphas;
        std::uint8_t* const out = at.out[0][0] + 4 * x;
        for (std::size_t i = 0; i < 4; ++i) {
            for (std::size_t t = 0; t < taps; ++t) {
                const std::uint8_t* const pixel = at.in[ColourOf(t, false)][0] + 4 * x;
                samples[t] = pixel[i];
                alphas[t] = pixel[3];
            }
            out[i] = i < 3 ? StraightMixOf(weights, samples, alphas) : MixOf(weights, alphas);
        }
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes / 4;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const VectorShares<taps> s(shares);
        if (s.isFine) [[unlikely]] {
            for (std::size_t i = 0; i < kStep; ++i) {
                Unit(at, x + i);
            }
            return;
        }
        const DI32 d32;
        const DU32 du32;
        const hn::ScalableTag<float> df;
        const auto weights = WeightsOfTaps<taps>(shares.luma, shares.row);
        // Weights out of 2^16, or 2^8, so that sums of weight * alpha * colour stay below 2^32.
        constexpr int kShift = taps == 4 ? 16 : 8;
        VU32 pixels[taps];
        VI32 weighted[taps], alphas = hn::Set(d32, 0);
        for (std::size_t t = 0; t < taps; ++t) {
            pixels[t] = hn::BitCast(du32, hn::LoadU(d, at.in[ColourOf(t, false)][0] + 4 * x));
            const auto weight = static_cast<std::int32_t>(weights[t] >> (kWeightBits - kShift));
            weighted[t] = hn::Mul(hn::BitCast(d32, hn::ShiftRight<24>(pixels[t])), hn::Set(d32, weight));
            alphas = hn::Add(alphas, weighted[t]);
        }
        const VU32 alpha =
            hn::ShiftRight<kShift>(hn::BitCast(du32, hn::Add(alphas, hn::Set(d32, 1 << (kShift - 1)))));
        const VI32 divisor = hn::Max(alphas, hn::Set(d32, 1)), half = hn::ShiftRight<1>(divisor);
        // Colours are halved before they become floats: they have up to 32 bits.
        const auto factor = hn::Div(hn::Set(df, 2.0F), hn::ConvertTo(df, divisor));
        VU32 made = hn::ShiftLeft<24>(alpha);
        const auto add = [&](auto place) HWY_ATTR {
            constexpr int kPlace = decltype(place)::value;
            VI32 colours = hn::Zero(d32);
            for (std::size_t t = 0; t < taps; ++t) {
                const VU32 sample = hn::And(hn::ShiftRight<kPlace>(pixels[t]), hn::Set(du32, 255));
                colours = hn::Add(colours, hn::Mul(weighted[t], hn::BitCast(d32, sample)));
            }
            const VU32 halved = hn::ShiftRight<1>(hn::BitCast(du32, colours));
            // The sum with 2^23 has the nearest whole number in its low bits.
            const auto sum = hn::Add(hn::Mul(hn::ConvertTo(df, hn::BitCast(d32, halved)), factor),
                                     hn::Set(df, 8388608.0F));
            const VI32 estimate = hn::And(hn::BitCast(d32, sum), hn::Set(d32, 0x1FF));
            const VI32 remainder = hn::Sub(hn::Add(colours, half), hn::Mul(estimate, divisor));
            const VI32 below = hn::VecFromMask(d32, hn::Lt(remainder, hn::Zero(d32)));
            const VI32 within = hn::VecFromMask(d32, hn::Lt(remainder, divisor));
            const VI32 quotient = hn::Add(estimate, hn::Add(below, hn::Add(within, hn::Set(d32, 1))));
            made = hn::Or(made, hn::ShiftLeft<kPlace>(hn::BitCast(du32, quotient)));
        };
        add(std::integral_constant<int, 0>());
        add(std::integral_constant<int, 8>());
        add(std::integral_constant<int, 16>());
        put(d, hn::BitCast(d, made), at.out[0][0] + 4 * x);
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
        const VectorShares<taps> s(Base::shares);
        PutLine(at.out[0][0] + 2 * x, put, [&](std::size_t i) HWY_ATTR {
            VU8 in[taps];
            Base::Load(at, 2 * x + i * kVectorBytes, in);
            return MixBytesOf<taps>(in, s);
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
        const VectorShares<taps> s(Base::shares);
        VU8 alpha[taps];
        Base::LoadAlphas(at, 2 * x, alpha);
        put(DU8(), MixBytesOf<taps>(alpha, s), at.out[0][0] + 2 * x);
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
        const VectorShares<taps> s(Base::shares);
        if (s.isFine) [[unlikely]] {
            for (std::size_t i = 0; i < kStep; i += 2) {
                Unit(at, x + i);
            }
            return;
        }
        VU8 in[taps], alpha[taps];
        Base::Load(at, 2 * x, in);
        Base::LoadAlphas(at, 2 * x, alpha);
        put(DU8(), StraightMixBytesOf<taps>(in, alpha, s), at.out[0][0] + 2 * x);
    }
#endif
};

template <template <std::size_t> class Mix>
void WalkTaps(const MixJob& job, const MixShares& shares) {
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
    MixShares bytes = shares;
    bytes.chroma = shares.luma;
    WalkTaps<MixEveryByte>(job, bytes);
}
void RunMixPairs(const MixJob& job, const MixShares& shares) {
    WalkTaps<MixColourOfPairs>(job, shares);
}
void RunMixPairAlphas(const MixJob& job, const MixShares& shares) {
    WalkTaps<MixAlphasOfPairs>(job, shares);
}
void RunMixStraightPixels(const MixJob& job, const MixShares& shares) {
    MixShares pixels = shares;
    pixels.chroma = shares.luma;
    WalkTaps<MixStraightPixels>(job, pixels);
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
