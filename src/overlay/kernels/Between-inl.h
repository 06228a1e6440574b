// What comes between pixels, for one target: the formulas on samples and on vectors of them.

#if defined(TESSELU_SRC_OVERLAY_KERNELS_BETWEEN_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_OVERLAY_KERNELS_BETWEEN_INL_H
#undef TESSELU_SRC_OVERLAY_KERNELS_BETWEEN_INL_H
#else
#define TESSELU_SRC_OVERLAY_KERNELS_BETWEEN_INL_H
#endif

#include <array>
#include <type_traits>

#include "composite/kernels/Blend-inl.h"

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

/// A 32-bit pixel of `pixel(tap)`, premultiplied or straight.
template <std::size_t taps, bool premultiplied, class Pixel>
void MixPixel(const MixShares& shares, const Pixel& pixel, std::uint8_t* out) {
    const auto weights = WeightsOfTaps<taps>(shares.luma, shares.row);
    std::array<std::uint8_t, taps> samples, alphas;
    for (std::size_t t = 0; t < taps; ++t) {
        alphas[t] = pixel(t)[3];
    }
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t t = 0; t < taps; ++t) {
            samples[t] = pixel(t)[i];
        }
        out[i] = i == 3 || premultiplied ? MixOf(weights, samples) : StraightMixOf(weights, samples, alphas);
    }
}

/// Brings the taps of a job, which `swap(a, b)` exchanges, in an order that vectors like: row shares of a
/// half at most, and the axis with shares out of 128, if there is one, as that of the columns.
template <class Swap>
MixShares Arranged(MixShares shares, const Swap& swap) {
    if (shares.taps == 4) {
        if (!shares.IsCoarse() && shares.chroma == shares.luma && shares.row % 4 == 0) {
            swap(1, 2);
            shares.chroma = shares.row;
            shares.row = shares.luma;
            shares.luma = shares.chroma;
        }
        if (shares.row > kWeightsOfAxis / 2) {
            swap(0, 2);
            swap(1, 3);
            shares.row = kWeightsOfAxis - shares.row;
        }
    }
    return shares;
}

#if HWY_TARGET != HWY_SCALAR

// ---- Means --------------------------------------------------------------------------------------------

/// Two shares as words, for chroma and luma in turn, each with what it leaves of `whole` before it.
HWY_INLINE HWY_ATTR VI16 WordShares(unsigned whole, unsigned first, unsigned second) {
    const auto pair = [whole](std::uint64_t share) { return (whole - share) | share << 16; };
    return hn::BitCast(DI16(), hn::Set(DU64(), pair(first) | pair(second) << 32));
}
HWY_INLINE HWY_ATTR VI32 SetInt(unsigned value) {
    return hn::Set(DI32(), static_cast<std::int32_t>(value));
}

/// Sums of two taps out of 128, which have 15 bits.
struct CoarseSums {
    HWY_INLINE HWY_ATTR CoarseSums(VU8 a, VU8 b, const MixShares& shares) {
        const DU8 d;
        const auto pair = [](std::uint32_t share) { return (128 - share / 4) | share / 4 << 8; };
        const VI8 across = hn::BitCast(DI8(), hn::Set(DU32(), pair(shares.chroma) | pair(shares.luma) << 16));
        low = MulAddPairs(hn::InterleaveLower(d, a, b), across);
        high = MulAddPairs(hn::InterleaveUpper(d, a, b), across);
    }

    /// What lies between these and those of the other row. What is less than one of their units takes no part
    /// in the rounding, which may as well be done on whole ones.
    HWY_INLINE HWY_ATTR CoarseSums Towards(const CoarseSums& other, const MixShares& shares) const {
        // A half fits 16 bits when it is negative.
        const VI16 row = hn::Set(DI16(), static_cast<std::int16_t>(-128 * static_cast<int>(shares.row)));
        CoarseSums made = *this;
        made.low = hn::Add(low, hn::MulHigh(hn::Sub(low, other.low), row));
        made.high = hn::Add(high, hn::MulHigh(hn::Sub(high, other.high), row));
        return made;
    }

    /// (sum + 64) / 128
    HWY_INLINE HWY_ATTR VU8 Mean() const {
        const VI16 unit = hn::Set(DI16(), 1 << 8);
        return PackToBytes(hn::MulFixedPoint15(low, unit), hn::MulFixedPoint15(high, unit));
    }

    VI16 low, high;
};

/// MixOf on every byte, shares of columns being multiples of 4 and that of the row half at most.
template <std::size_t taps>
HWY_INLINE HWY_ATTR VU8 MixCoarsely(const VU8 (&in)[taps], const MixShares& shares) {
    const CoarseSums first(in[0], in[1], shares);
    if constexpr (taps == 2) {
        return first.Mean();
    } else {
        return first.Towards(CoarseSums(in[2], in[3], shares), shares).Mean();
    }
}

/// The same of four taps with any shares.
HWY_NOINLINE HWY_ATTR VU8 MixFinely(const VU8 (&in)[4], const MixShares& shares) {
    const DU8 d;
    const DI16 d16;
    const VU8 none = hn::Zero(d);
    const VI16 across = WordShares(512, shares.chroma, shares.luma);
    const VI32 row = SetInt(shares.row), rest = SetInt(512 - shares.row), half = SetInt(1 << 17);
    VI32 sums[4];
    for (std::size_t i = 0; i < 4; ++i) {
        const auto words = [&](VU8 v) HWY_ATTR {
            return hn::BitCast(d16,
                               i < 2 ? hn::InterleaveLower(d, v, none) : hn::InterleaveUpper(d, v, none));
        };
        const auto sum = [&](VU8 a, VU8 b) HWY_ATTR {
            const VI16 x = words(a), y = words(b);
            return MulAddPairs(i % 2 == 0 ? hn::InterleaveLower(d16, x, y) : hn::InterleaveUpper(d16, x, y),
                               across);
        };
        const VI32 all = hn::Add(hn::Mul(sum(in[0], in[1]), rest), hn::Mul(sum(in[2], in[3]), row));
        sums[i] = hn::ShiftRight<18>(hn::Add(all, half));
    }
    return PackToBytes(PackToShorts(sums[0], sums[1]), PackToShorts(sums[2], sums[3]));
}

/// The same where all shares are even: sums of columns have 16 bits when 128 is taken off the samples.
HWY_INLINE HWY_ATTR VU8 MixEvenly(const VU8 (&in)[4], const MixShares& shares) {
    const DI8 d;
    const DI16 d16;
    const auto pair = [](std::uint32_t share) { return (256 - share / 2) | share / 2 << 8; };
    const VU8 across = hn::BitCast(DU8(), hn::Set(DU32(), pair(shares.chroma) | pair(shares.luma) << 16));
    const VI16 down = WordShares(256, shares.row / 2, shares.row / 2);
    VI8 c[4];
    for (std::size_t t = 0; t < 4; ++t) {
        c[t] = Centred(in[t]);
    }
    // What is taken off the sums, 2^23, is 128 of the mean.
    const auto mean = [&](VI8 x, VI8 y) HWY_ATTR {
        const VI16 a = MulAddPairs(across, x), b = MulAddPairs(across, y);
        const VI32 half = SetInt(1 << 15);
        const VI32 low = MulAddPairs(hn::InterleaveLower(d16, a, b), down);
        const VI32 high = MulAddPairs(hn::InterleaveUpper(d16, a, b), down);
        return PackToShorts(hn::ShiftRight<16>(hn::Add(low, half)), hn::ShiftRight<16>(hn::Add(high, half)));
    };
    const VI8 made =
        PackToSignedBytes(mean(hn::InterleaveLower(d, c[0], c[1]), hn::InterleaveLower(d, c[2], c[3])),
                          mean(hn::InterleaveUpper(d, c[0], c[1]), hn::InterleaveUpper(d, c[2], c[3])));
    return hn::BitCast(DU8(), Centred(hn::BitCast(DU8(), made)));
}

/// MixOf on every byte.
template <std::size_t taps>
HWY_INLINE HWY_ATTR VU8 MixBytesOf(const VU8 (&in)[taps], const MixShares& shares) {
    if constexpr (taps == 2) {
        // in[0] + (in[1] - in[0]) * share, rounded like the sum.
        const DU8 d;
        const DU16 d16;
        const VI8 difference = hn::BitCast(DI8(), hn::Set(d16, 0x01FF));
        const VI16 share = hn::BitCast(DI16(), hn::Set(DU32(), shares.chroma << 6 | shares.luma << (16 + 6)));
        const auto step = [&](VU8 both) HWY_ATTR {
            const VI16 product = hn::MulFixedPoint15(MulAddPairs(both, difference), share);
            return hn::BitCast(DI16(), hn::And(hn::BitCast(d16, product), hn::Set(d16, 0xFF)));
        };
        return hn::Add(in[0], PackToBytes(step(hn::InterleaveLower(d, in[0], in[1])),
                                          step(hn::InterleaveUpper(d, in[0], in[1]))));
    } else {
        return shares.IsCoarse()                                       ? MixCoarsely(in, shares)
               : ((shares.chroma | shares.luma | shares.row) & 1) != 0 ? MixFinely(in, shares)
                                                                       : MixEvenly(in, shares);
    }
}

// ---- Straight means -----------------------------------------------------------------------------------

/// StraightMean of colours around `top`, which may have lost bits beyond the 32nd in `colours`, by `divisor`
/// above 0, given as `factor` = 1 / divisor too. In single precision: with `factor` a 2^-20th larger, the
/// quotient is the right one or the next, which the remainder tells.
HWY_INLINE HWY_ATTR VI32 StraightQuotient(VI32 colours, hn::Vec<hn::ScalableTag<float>> top, VI32 divisor,
                                          hn::Vec<hn::ScalableTag<float>> factor) {
    const DI32 d;
    const hn::ScalableTag<float> df;
    // The sum with 2^23 has the nearest whole number in its low bits.
    const auto sum = hn::Add(hn::Mul(top, factor), hn::Set(df, 8388608.0F));
    const VI32 estimate = hn::And(hn::BitCast(d, sum), hn::Set(d, 0x1FF));
    const VI32 rounded = hn::Add(colours, hn::ShiftRight<1>(divisor));
    const VI32 remainder = hn::Sub(rounded, hn::Mul(estimate, divisor));
    return hn::Add(estimate, hn::ShiftRight<31>(remainder));
}
HWY_INLINE HWY_ATTR hn::Vec<hn::ScalableTag<float>> StraightFactor(VI32 divisor) {
    const hn::ScalableTag<float> df;
    return hn::Div(hn::Set(df, 1.0F + 1.0F / 1048576), hn::ConvertTo(df, divisor));
}

/// Sums of taps of one kind of sample: of weight * alpha and of weight * alpha * colour. Weights are out of
/// 128, or of 512 where that is too coarse; of the rows, 256 or 512.
template <std::size_t taps, bool coarse>
struct StraightSums {
    static constexpr int kShift = (coarse ? 7 : 9) + (taps == 2 ? 0 : coarse ? 8 : 9);
    static constexpr unsigned kRows = coarse ? 256 : 512;
    static constexpr std::int32_t kOpaque = 255 << kShift;

    HWY_INLINE HWY_ATTR explicit StraightSums(const MixShares& shares)
        : across(coarse ? WordShares(128, shares.chroma / 4, shares.luma / 4)
                        : WordShares(512, shares.chroma, shares.luma)),
          row(SetInt(coarse ? shares.row / 2 : shares.row)),
          rest(SetInt(kRows - (coarse ? shares.row / 2 : shares.row))) {}

    /// Alphas of pairs of taps, in 16-bit lanes.
    HWY_INLINE HWY_ATTR VI32 Alphas(const VI16 (&pairs)[taps / 2]) const {
        const VI32 first = MulAddPairs(pairs[0], across);
        if constexpr (taps == 2) {
            return first;
        } else {
            return Down(first, MulAddPairs(pairs[1], across));
        }
    }

    /// The same for colours, as a quotient by the sum of alphas.
    HWY_INLINE HWY_ATTR VI32 Quotient(const VI16 (&alphas)[taps / 2], const VI16 (&colours)[taps / 2],
                                      VI32 divisor, hn::Vec<hn::ScalableTag<float>> factor) const {
        const hn::ScalableTag<float> df;
        VI32 sum[taps / 2];
        for (std::size_t r = 0; r < taps / 2; ++r) {
            const DU16 du16;
            const DI16 d16;
            const VU16 a = hn::BitCast(du16, alphas[r]), c = hn::BitCast(du16, colours[r]);
            if constexpr (coarse) {
                sum[r] = MulAddPairs(hn::BitCast(d16, hn::Mul(a, hn::BitCast(du16, across))), colours[r]);
            } else {
                const VU16 product = hn::Xor(hn::Mul(a, c), hn::Set(du16, 0x8000));
                sum[r] = hn::Add(MulAddPairs(hn::BitCast(d16, product), across), SetInt(1 << 24));
            }
        }
        if constexpr (taps == 2) {
            return StraightQuotient(sum[0], hn::ConvertTo(df, sum[0]), divisor, factor);
        } else {
            const VI32 all = Down(sum[0], sum[1]);
            if constexpr (coarse) {
                return StraightQuotient(all, hn::ConvertTo(df, all), divisor, factor);
            } else {
                const auto top = hn::Add(hn::Mul(hn::ConvertTo(df, sum[0]), hn::ConvertTo(df, rest)),
                                         hn::Mul(hn::ConvertTo(df, sum[1]), hn::ConvertTo(df, row)));
                return StraightQuotient(all, top, divisor, factor);
            }
        }
    }

    HWY_INLINE HWY_ATTR VI32 Down(VI32 above, VI32 below) const {
        return hn::Add(hn::Mul(above, rest), hn::Mul(below, row));
    }

    VI16 across;
    VI32 row, rest;
};

/// 32-bit pixels with straight colour between pixels.
template <std::size_t taps, bool coarse>
class StraightPixels {
    using Sums = StraightSums<taps, coarse>;

public:
    HWY_INLINE HWY_ATTR StraightPixels(const VU8 (&from)[taps], const MixShares& shares) : sums(shares) {
        const DI16 d16;
        const DU32 du32;
        // Two taps of a pixel side by side: their red and alpha, their blue and green.
        for (std::size_t i = 0; i < taps / 2; ++i) {
            const VU8 a = from[2 * i], b = from[2 * i + 1];
            const VU32 upper = hn::ShiftRight<16>(hn::BitCast(du32, a));
            const VU32 lower = hn::ShiftLeft<16>(hn::BitCast(du32, b));
            red[i] = MergeEvenOdd(hn::BitCast(d16, upper), hn::BitCast(d16, b));
            blue[i] = MergeEvenOdd(hn::BitCast(d16, a), hn::BitCast(d16, lower));
            alphas[i] = Odd(red[i]);
        }
        sum = sums.Alphas(alphas);
    }

    HWY_INLINE HWY_ATTR auto IsOpaque() const { return hn::Eq(sum, hn::Set(DI32(), Sums::kOpaque)); }
    /// No pixel is half transparent.
    HWY_INLINE HWY_ATTR bool IsFlat() const {
        return hn::AllTrue(DI32(), hn::Or(IsOpaque(), hn::Eq(sum, hn::Zero(DI32()))));
    }

    HWY_INLINE HWY_ATTR VU32 Alpha() const {
        const VI32 half = hn::Set(DI32(), 1 << (Sums::kShift - 1));
        return hn::BitCast(DU32(), hn::ShiftRight<Sums::kShift>(hn::Add(sum, half)));
    }
    HWY_INLINE HWY_ATTR VU8 Pixels(VU32 alpha) const {
        const VI32 divisor = hn::Max(sum, hn::Set(DI32(), 1));
        const auto factor = StraightFactor(divisor);
        VI16 b[taps / 2], g[taps / 2], r[taps / 2];
        for (std::size_t i = 0; i < taps / 2; ++i) {
            b[i] = Even(blue[i]);
            g[i] = Odd(blue[i]);
            r[i] = Even(red[i]);
        }
        const VI32 low = hn::Or(sums.Quotient(alphas, b, divisor, factor),
                                hn::ShiftLeft<8>(sums.Quotient(alphas, g, divisor, factor)));
        const VI32 high = hn::Or(hn::ShiftLeft<16>(sums.Quotient(alphas, r, divisor, factor)),
                                 hn::BitCast(DI32(), hn::ShiftLeft<24>(alpha)));
        return hn::BitCast(DU8(), hn::Or(low, high));
    }

private:
    static HWY_INLINE HWY_ATTR VI16 Even(VI16 v) { return hn::And(v, hn::Set(DI16(), 0xFF)); }
    static HWY_INLINE HWY_ATTR VI16 Odd(VI16 v) {
        return hn::BitCast(DI16(), hn::ShiftRight<8>(hn::BitCast(DU16(), v)));
    }

    Sums sums;
    VI16 red[taps / 2], blue[taps / 2], alphas[taps / 2];
    VI32 sum;
};

/// StraightMixOf on every byte.
template <std::size_t taps>
HWY_INLINE HWY_ATTR VU8 StraightMixBytesOf(const VU8 (&in)[taps], const VU8 (&alpha)[taps],
                                           const MixShares& shares) {
    const DU8 d;
    const DI16 d16;
    const VU8 none = hn::Zero(d);
    const StraightSums<taps, false> sums(shares);
    VI32 quotient[4];
    for (std::size_t k = 0; k < 4; ++k) {
        // Two taps side by side.
        const auto pairs = [&](const VU8(&v)[taps], VI16(&made)[taps / 2]) HWY_ATTR {
            const auto half = [&](std::size_t t) HWY_ATTR {
                return hn::BitCast(
                    d16, k < 2 ? hn::InterleaveLower(d, v[t], none) : hn::InterleaveUpper(d, v[t], none));
            };
            for (std::size_t r = 0; r < taps / 2; ++r) {
                made[r] = k % 2 == 0 ? hn::InterleaveLower(d16, half(2 * r), half(2 * r + 1))
                                     : hn::InterleaveUpper(d16, half(2 * r), half(2 * r + 1));
            }
        };
        VI16 alphas[taps / 2], colours[taps / 2];
        pairs(alpha, alphas);
        pairs(in, colours);
        const VI32 divisor = hn::Max(sums.Alphas(alphas), hn::Set(DI32(), 1));
        quotient[k] = sums.Quotient(alphas, colours, divisor, StraightFactor(divisor));
    }
    return PackToBytes(PackToShorts(quotient[0], quotient[1]), PackToShorts(quotient[2], quotient[3]));
}

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
