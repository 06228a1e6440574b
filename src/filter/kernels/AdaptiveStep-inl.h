// One step of the adaptive filter: a vector of bytes out of the rows of its windows.

#if defined(TESSELU_SRC_FILTER_KERNELS_ADAPTIVESTEP_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_FILTER_KERNELS_ADAPTIVESTEP_INL_H
#undef TESSELU_SRC_FILTER_KERNELS_ADAPTIVESTEP_INL_H
#else
#define TESSELU_SRC_FILTER_KERNELS_ADAPTIVESTEP_INL_H
#endif

#include <algorithm>
#include <type_traits>

#include "filter/kernels/AdaptiveFilter.h"
#include "filter/kernels/Reals-inl.h"
#include "simd/Extra-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;

enum class Layout { kPairs, kPixels };

#if HWY_TARGET != HWY_SCALAR

// Bytes stay where they are in a word: even ones, chroma, and odd ones, luma, become vectors of 16-bit lanes
// of their own. Of 32-bit pixels even bytes are channels 0 and 2, odd ones channel 1 and what is copied.

constexpr std::size_t kBytesAtOnce = HWY_LANES(std::uint8_t);

/// Sums fit 16 bits.
constexpr std::size_t kMostSamples = 257;

/// sum / n to the nearest whole number, for sums of n bytes: (sum * factor + 2^14) >> 15 where that holds,
/// else (sum + summand) * factor >> 16 >> shift, where the sum is limited to 16 bits.
struct Division {
    bool rounds = false;
    std::uint16_t summand = 1, factor = 65535;  // of 1
    int shift = 0;

    constexpr explicit Division(std::uint32_t n) {
        const std::uint32_t half = n / 2;
        for (std::uint32_t tried = 0; n != 1 && tried <= 9 * 2 * 3; ++tried) {
            rounds = tried == 0;
            if (rounds) {
                if (255 * n > 32767) {
                    continue;
                }
                factor = static_cast<std::uint16_t>((32768 + half) / n);
            } else {
                const std::uint32_t i = tried - 1, bits = i / 6, up = i / 3 % 2, more = i % 3;
                const std::uint32_t f = ((std::uint32_t{1} << (16 + bits)) + up * (n - 1)) / n;
                if (f > 65535) {
                    continue;
                }
                summand = static_cast<std::uint16_t>(half + more);
                factor = static_cast<std::uint16_t>(f);
                shift = static_cast<int>(bits);
            }
            bool holds = Of(255 * n) == 255;
            // It rises with the sum: a look at where each result starts is enough.
            for (std::uint32_t k = 1; holds && k < 256; ++k) {
                holds = Of(k * n - half) == k && Of(k * n - half - 1) == k - 1;
            }
            if (holds) {
                return;
            }
        }
    }

    constexpr std::uint32_t Of(std::uint32_t sum) const {
        return rounds ? (sum * factor + 16384) >> 15
                      : std::min(sum + summand, 65535U) * factor >> 16 >> shift;
    }

    HWY_INLINE HWY_ATTR VU16 Of(VU16 sum) const {
        const DU16 d;
        if (rounds) {
            const DI16 di;
            return hn::BitCast(
                d, hn::MulFixedPoint15(hn::BitCast(di, sum), hn::Set(di, static_cast<std::int16_t>(factor))));
        }
        const VU16 product = hn::MulHigh(hn::SaturatedAdd(sum, hn::Set(d, summand)), hn::Set(d, factor));
        return shift == 0 ? product : hn::ShiftRightSame(product, shift);
    }
};

/// Rows that a window reads, and where a picture's bytes are in them.
struct WindowRows {
    const std::uint8_t* rows[kMostSamples];
    std::size_t count = 0;
    std::size_t centre = 0;   ///< which row has the centres
    std::size_t missing = 0;  ///< rows of zeros that are not there
};

/// Sums of the window's rows in each column, by the place of the column's word: lane i is byte 2i, or 2i + 1,
/// from where they begin.
struct ColumnSums {
    /// Bytes of a row whose windows are made from one filling.
    static constexpr std::size_t kBytes = 16 * kBytesAtOnce;
    /// On either side of them.
    static constexpr std::size_t kMostReach = 4 * (kMostSamples / 2 + 1);

    alignas(64) std::uint16_t chroma[(kBytes + 2 * kMostReach) / 2];
    alignas(64) std::uint16_t luma[(kBytes + 2 * kMostReach) / 2];
};

/// What a vector's windows come to. It lies in memory between the two halves of the work: in one go either
/// would wait for the other, as processors look ahead less far than both are long.
struct WindowStatistics {
    static constexpr std::size_t kLanes = HWY_LANES(std::uint16_t);

    alignas(64) std::uint16_t chromaMean[kLanes], lumaMean[kLanes];
    /// Sums of differences, or in doubles their means; `oddOff` is the chroma's of odd pixels.
    alignas(64) std::uint16_t chromaOff[kLanes], lumaOff[kLanes], oddOff[kLanes];
};

/// `Width` is that of the window and `Rows` how many rows it reads, or 0 where they are told at run time.
template <Layout kLayout, class Real, bool kCombines, std::size_t Width, std::size_t Rows>
class AdaptiveStep {
    static constexpr bool kArePairs = kLayout == Layout::kPairs, kSingle = sizeof(Real) == sizeof(float);
    static constexpr std::size_t kLanes = HWY_LANES(std::int32_t);
    /// Of the window, or 0 where it is told at run time.
    static constexpr std::uint16_t kSamples = Width * Rows;
    /// The chroma of odd pixels counts as well.
    static constexpr bool kOddPixels = kCombines && kArePairs;
    using R = Reals<Real>;

public:
    AdaptiveStep(const AdaptiveJob& job, const AdaptiveSettings& settings)
        : width(job.windowWidth),
          countedSamples(static_cast<std::uint16_t>(job.WindowSamples())),
          countedDivision(countedSamples),
          combine(settings.combine),
          limits(settings.limits),
          inverse(kScale * (Real(1) / static_cast<Real>(countedSamples))),
          strength(kScale * static_cast<Real>(settings.strength)) {
        for (std::size_t i = 0; i < kLanes; ++i) {
            const std::size_t chroma = i % 2 * 2;
            levels[0][i] = settings.levels[chroma];
            levels[1][i] = settings.levels[1];
            weights[0][i] = static_cast<Real>(settings.weights[chroma]);
            weights[1][i] = static_cast<Real>(settings.weights[1]);
        }
        for (std::size_t i = 0; i < kBytesAtOnce; ++i) {
            byteLevels[i] = i % 2 == 1 ? settings.levels[1] : settings.levels[i % 4];
            copied[i] = i % 4 == 3 ? 0xFF : 0;
        }
    }

    /// How many bytes before and beyond its own a step reads; whole words.
    static std::size_t Reach(std::size_t windowWidth) {
        return windowWidth == 1 ? 0 : 4 * ((kArePairs ? windowWidth / 4 : windowWidth / 2) + 1);
    }

    /// Of `bytes` of the rows from byte x on; at least a vector.
    HWY_INLINE HWY_ATTR void SumColumns(const WindowRows& rows, std::size_t x, std::size_t bytes,
                                        ColumnSums& sums) const {
        if constexpr (Width != 1) {
            const auto take = [&](std::size_t at) TESSELU_INLINED {
                const EvenAndOdd sum = SumOfRows(rows, x + at);
                hn::StoreU(sum.even, DU16(), sums.chroma + at / 2);
                hn::StoreU(sum.odd, DU16(), sums.luma + at / 2);
            };
            const std::size_t last = bytes - kBytesAtOnce;
            for (std::size_t at = 0; at < last; at += kBytesAtOnce) {
                take(at);
            }
            take(last);
        }
    }

    /// Of the bytes from x on, whose columns' sums begin at byte `column` of `columns`.
    HWY_INLINE HWY_ATTR void Measure(const WindowRows& rows, std::size_t x, const ColumnSums& columns,
                                     std::size_t column, WindowStatistics& made) const {
        const DU16 d16;
        const WindowSums sums = SumOfWindows(rows, x, columns, column);
        const WindowSums means = {Divided(sums.chroma), Divided(sums.luma),
                                  kOddPixels ? Divided(sums.oddChroma) : sums.oddChroma};
        const WindowSums below = SumBelow(rows, x, means);
        // Differences are (sum - n * mean) + 2 * those of the samples below the mean.
        const auto differences = [&](VU16 sum, VU16 mean, VU16 under) TESSELU_INLINED {
            if constexpr (!kArePairs) {
                // Zeros that are not there lie the mean below it.
                const VU16 missing = hn::Set(d16, static_cast<std::uint16_t>(rows.missing * width));
                under = hn::Add(under, hn::Mul(mean, missing));
            }
            const VU16 off =
                hn::Add(hn::Sub(sum, hn::Mul(mean, hn::Set(d16, Samples()))), hn::Add(under, under));
            return kSingle ? off : Divided(off);
        };
        hn::Store(means.chroma, d16, made.chromaMean);
        hn::Store(means.luma, d16, made.lumaMean);
        hn::Store(differences(sums.chroma, means.chroma, below.chroma), d16, made.chromaOff);
        hn::Store(differences(sums.luma, means.luma, below.luma), d16, made.lumaOff);
        if constexpr (kOddPixels) {
            hn::Store(differences(sums.oddChroma, means.oddChroma, below.oddChroma), d16, made.oddOff);
        }
    }

    /// The bytes whose centres are these.
    HWY_INLINE HWY_ATTR void Make(const WindowStatistics& of, const std::uint8_t* centres,
                                  std::uint8_t* to) const {
        const DU8 d8;
        const DU16 d16;
        const VU8 centre = hn::LoadU(d8, centres);
        const VU16 chromaCentre = EvenBytes(centre), lumaCentre = OddBytes(centre);
        const VU16 chromaMean = hn::Load(d16, of.chromaMean), lumaMean = hn::Load(d16, of.lumaMean);
        const VU16 chromaOff = hn::Load(d16, of.chromaOff), lumaOff = hn::Load(d16, of.lumaOff);
        VI16 chromaMade, lumaMade;
        if constexpr (kCombines) {
            const VU16 oddOff = kArePairs ? hn::Load(d16, of.oddOff) : chromaOff;
            R chromaFractions[2], lumaFractions[2];
            Combined(chromaOff, lumaOff, oddOff, chromaFractions, lumaFractions);
            chromaMade = Results(chromaFractions, chromaMean, chromaCentre);
            lumaMade = Results(lumaFractions, lumaMean, lumaCentre);
        } else {
            const R chromaFractions[2] = {Fraction<0, kLower>(chromaOff), Fraction<0, kUpper>(chromaOff)};
            chromaMade = Results(chromaFractions, chromaMean, chromaCentre);
            const R lumaFractions[2] = {Fraction<1, kLower>(lumaOff), Fraction<1, kUpper>(lumaOff)};
            lumaMade = Results(lumaFractions, lumaMean, lumaCentre);
        }
        VU8 made = BytesInTurn(chromaMade, lumaMade);
        if (limits) {
            const VU8 level = hn::Load(d8, byteLevels);
            made = hn::Max(hn::Min(made, hn::SaturatedAdd(centre, level)), hn::SaturatedSub(centre, level));
        }
        if constexpr (!kArePairs) {
            const VU8 mask = hn::Load(d8, copied);
            made = hn::Or(hn::AndNot(mask, made), hn::And(mask, centre));
        }
        hn::StoreU(made, d8, to);
    }

private:
    struct EvenAndOdd {
        VU16 even, odd;
    };
    /// Of windows; `oddChroma` only where kOddPixels.
    struct WindowSums {
        VU16 chroma, luma, oddChroma;
    };
    enum Half { kLower, kUpper };

    // Products with numbers of 16 bits take no conversion where one rounding serves two operations: such a
    // number in the low bits of 1 is 1 + v * 2^-23, in doubles 2^-52, and a * (1 + v * 2^-23) - a is what
    // a * 2^-23 * v would be, rounded once. All such a are scaled, which is exact.
#if (HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3) && !defined(HWY_DISABLE_BMI2_FMA)
    static constexpr bool kFuses = true;
#else
    static constexpr bool kFuses = false;
#endif
    static constexpr Real kScale = !kFuses ? Real(1) : kSingle ? Real(8388608) : Real(4503599627370496);

    /// v times what `scaled` is kScale times of. Doubles that are fused lie otherwise than Reals converts:
    /// low has the lower two of each block of four.
    template <Half kHalf>
    HWY_INLINE HWY_ATTR static R Product(const R& scaled, VU16 v) {
        if constexpr (!kFuses) {
            return scaled * R::From(kHalf == kLower ? Lower(v) : Upper(v));
        } else if constexpr (kSingle) {
            const DU16 d;
            const VU16 one = hn::Set(d, 0x3F80);
            const VU16 bits =
                kHalf == kLower ? hn::InterleaveLower(d, v, one) : hn::InterleaveUpper(d, v, one);
            return {hn::MulSub(hn::BitCast(typename R::D(), bits), scaled.v, scaled.v)};
        } else {
            const DU32 d;
            const typename R::D dr;
            const VU32 one = hn::Set(d, 0x3FF00000U);
            const VU32 whole = hn::BitCast(d, kHalf == kLower ? Lower(v) : Upper(v));
            const auto low = hn::BitCast(dr, hn::InterleaveLower(d, whole, one));
            const auto high = hn::BitCast(dr, hn::InterleaveUpper(d, whole, one));
            return {hn::MulSub(low, scaled.low, scaled.low), hn::MulSub(high, scaled.high, scaled.high)};
        }
    }

    /// Truncated, in the order of the lanes.
    HWY_INLINE HWY_ATTR static VI32 WholeInOrder(const R& v) {
        const VI32 whole = v.Whole();
        if constexpr (kFuses && !kSingle) {
            constexpr std::size_t kPairs = kLanes / 2;
            alignas(64) std::uint64_t from[kPairs];
            for (std::size_t i = 0; i < kPairs; ++i) {
                from[i] = i / 2 + i % 2 * (kPairs / 2);
            }
            const DU64 d;
            return hn::BitCast(DI32(),
                               hn::TableLookupLanes(hn::BitCast(d, whole), hn::SetTableIndices(d, from)));
        } else {
            return whole;
        }
    }

    HWY_INLINE HWY_ATTR std::uint16_t Samples() const {
        return kSamples != 0 ? kSamples : countedSamples;
    }

    HWY_INLINE HWY_ATTR VU16 Divided(VU16 sum) const {
        if constexpr (kSamples != 0) {
            constexpr Division kDivision(kSamples);
            return kDivision.Of(sum);
        } else {
            return countedDivision.Of(sum);
        }
    }

    /// A sum so far. GCC would add all of it in another order, for which there are not registers enough.
    HWY_INLINE HWY_ATTR static void Keep([[maybe_unused]] VU16& sum) {
#if HWY_COMPILER_GCC_ACTUAL && HWY_TARGET == HWY_AVX3
        __asm__("" : "+v"(sum.raw));
#elif HWY_COMPILER_GCC_ACTUAL && (HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_SSSE3)
        __asm__("" : "+x"(sum.raw));
#endif
    }

    template <class Row>
    HWY_INLINE HWY_ATTR static void ForEachRow(const WindowRows& rows, std::size_t x, Row&& row) {
        if constexpr (Rows != 0) {
            for (std::size_t i = 0; i < Rows; ++i) {
                row(rows.rows[i] + x);
            }
        } else {
            std::size_t i = 0;
            for (; i + 3 <= rows.count; i += 3) {
                row(rows.rows[i] + x);
                row(rows.rows[i + 1] + x);
                row(rows.rows[i + 2] + x);
            }
            for (; i < rows.count; ++i) {
                row(rows.rows[i] + x);
            }
        }
    }

    // A sum of words is that of their even bytes, and 256 times that of the odd ones.

    HWY_INLINE HWY_ATTR static void TakeBoth(VU16& words, VU16& odd, VU8 bytes) {
        const VU16 word = hn::BitCast(DU16(), bytes);
        words = hn::Add(words, word);
        odd = hn::Add(odd, hn::ShiftRight<8>(word));
        Keep(words);
        Keep(odd);
    }

    HWY_INLINE HWY_ATTR static EvenAndOdd Apart(VU16 words, VU16 odd) {
        return {hn::Sub(words, hn::ShiftLeft<8>(odd)), odd};
    }

    HWY_INLINE HWY_ATTR static EvenAndOdd SumOfRows(const WindowRows& rows, std::size_t x) {
        VU16 words = hn::Zero(DU16()), odd = words;
        ForEachRow(rows, x, [&](const std::uint8_t* at) TESSELU_INLINED {
            TakeBoth(words, odd, hn::LoadU(DU8(), at));
        });
        return Apart(words, odd);
    }

    HWY_INLINE HWY_ATTR std::ptrdiff_t HalfWidth() const {
        return static_cast<std::ptrdiff_t>(Width == 0 ? width / 2 : Width / 2);
    }

    // Columns of a window, by their distance in bytes. Of 4:2:2 chroma is that of the even pixel's window:
    // positions 2j and 2j + 1 from the centre are pair j. Of the odd pixel's, 2j - 1 and 2j are.

    template <class Take>
    HWY_INLINE HWY_ATTR void ForLuma(Take take) const {
        const std::ptrdiff_t half = HalfWidth();
        for (std::ptrdiff_t dx = -half; dx <= half; ++dx) {
            take((kArePairs ? 2 : 4) * dx);
        }
    }

    template <class Once, class Twice>
    HWY_INLINE HWY_ATTR void ForChroma(Once once, Twice twice) const {
        const std::ptrdiff_t half = HalfWidth();
        if constexpr (!kArePairs) {
            ForLuma(once);
        } else if ((half & 1) != 0) {
            once(-2 * (half + 1));
            for (std::ptrdiff_t dx = -(half - 1); dx < half; dx += 2) {
                twice(2 * dx);
            }
        } else {
            for (std::ptrdiff_t dx = -half; dx < half; dx += 2) {
                twice(2 * dx);
            }
            once(2 * half);
        }
    }

    template <class Once, class Twice>
    HWY_INLINE HWY_ATTR void ForOddChroma(Once once, Twice twice) const {
        ForChroma([once](std::ptrdiff_t offset) TESSELU_INLINED { once(-offset); },
                  [twice](std::ptrdiff_t offset) TESSELU_INLINED { twice(-offset); });
    }

    HWY_INLINE HWY_ATTR WindowSums SumOfWindows(const WindowRows& rows, std::size_t x,
                                                const ColumnSums& columns, std::size_t column) const {
        const DU16 d;
        if constexpr (Width == 1) {
            const EvenAndOdd sum = SumOfRows(rows, x);
            return {sum.even, sum.odd, sum.even};
        } else {
            const std::uint16_t* const chroma = columns.chroma + column / 2;
            const std::uint16_t* const luma = columns.luma + column / 2;
            const VU16 zero = hn::Zero(d);
            WindowSums sums = {zero, zero, zero};
            ForLuma([&](std::ptrdiff_t offset)
                        TESSELU_INLINED { sums.luma = hn::Add(sums.luma, hn::LoadU(d, luma + offset / 2)); });
            VU16 twice = zero;
            ForChroma(
                [&](std::ptrdiff_t offset) TESSELU_INLINED {
                    sums.chroma = hn::Add(sums.chroma, hn::LoadU(d, chroma + offset / 2));
                },
                [&](std::ptrdiff_t offset)
                    TESSELU_INLINED { twice = hn::Add(twice, hn::LoadU(d, chroma + offset / 2)); });
            sums.chroma = hn::Add(sums.chroma, hn::Add(twice, twice));
            if constexpr (kOddPixels) {
                twice = zero;
                ForOddChroma(
                    [&](std::ptrdiff_t offset) TESSELU_INLINED {
                        sums.oddChroma = hn::Add(sums.oddChroma, hn::LoadU(d, chroma + offset / 2));
                    },
                    [&](std::ptrdiff_t offset)
                        TESSELU_INLINED { twice = hn::Add(twice, hn::LoadU(d, chroma + offset / 2)); });
                sums.oddChroma = hn::Add(sums.oddChroma, hn::Add(twice, twice));
            }
            return sums;
        }
    }

    /// By how much the samples below the mean are so.
    HWY_INLINE HWY_ATTR WindowSums SumBelow(const WindowRows& rows, std::size_t x,
                                            const WindowSums& means) const {
        const DU8 d8;
        const DU16 d16;
        const VU8 mean = hn::BitCast(d8, hn::Or(means.chroma, hn::ShiftLeft<8>(means.luma)));
        const VU16 zero = hn::Zero(d16);
        // Of the even bytes: the upper halves of the means are 0, whatever lies there.
        const auto take = [d8, d16](VU16& sum, VU16 mean16, const std::uint8_t* at) TESSELU_INLINED {
            const VU8 off = hn::SaturatedSub(hn::BitCast(d8, mean16), hn::LoadU(d8, at));
            sum = hn::Add(sum, hn::BitCast(d16, off));
            Keep(sum);
        };
        // Of all bytes at once.
        VU16 words = zero, odd = zero;
        const auto takeBoth = [&](const std::uint8_t* at) TESSELU_INLINED {
            TakeBoth(words, odd, hn::SaturatedSub(mean, hn::LoadU(d8, at)));
        };
        if constexpr (Width == 1) {
            ForEachRow(rows, x, takeBoth);
            const EvenAndOdd sum = Apart(words, odd);
            return {sum.even, sum.odd, sum.even};
        } else if constexpr (!kArePairs) {
            ForEachRow(rows, x, [&](const std::uint8_t* at) TESSELU_INLINED {
                ForLuma([&](std::ptrdiff_t offset) TESSELU_INLINED { takeBoth(at + offset); });
            });
            const EvenAndOdd sum = Apart(words, odd);
            return {sum.even, sum.odd, sum.even};
        } else if constexpr (Width == 3 && !kOddPixels) {
            VU16 luma = zero, chroma = zero;
            ForEachRow(rows, x, [&](const std::uint8_t* at) TESSELU_INLINED {
                takeBoth(at);
                take(luma, means.luma, at - 1);
                take(luma, means.luma, at + 3);
                take(chroma, means.chroma, at - 4);
            });
            const EvenAndOdd middle = Apart(words, odd);
            return {hn::Add(chroma, hn::Add(middle.even, middle.even)), hn::Add(luma, middle.odd), zero};
        } else {
            WindowSums below = {zero, zero, zero};
            VU16 twice = zero, oddTwice = zero;
            ForEachRow(rows, x, [&](const std::uint8_t* at) TESSELU_INLINED {
                const auto into = [&](VU16& sum, VU16 mean16, std::ptrdiff_t shift) TESSELU_INLINED {
                    return [&sum, mean16, from = at + shift, take](std::ptrdiff_t dx)
                               TESSELU_INLINED { take(sum, mean16, from + dx); };
                };
                ForLuma(into(below.luma, means.luma, 1));
                ForChroma(into(below.chroma, means.chroma, 0), into(twice, means.chroma, 0));
                if constexpr (kOddPixels) {
                    ForOddChroma(into(below.oddChroma, means.oddChroma, 0),
                                 into(oddTwice, means.oddChroma, 0));
                }
            });
            below.chroma = hn::Add(below.chroma, hn::Add(twice, twice));
            below.oddChroma = hn::Add(below.oddChroma, hn::Add(oddTwice, oddTwice));
            return below;
        }
    }

    template <std::size_t Kind, Half kHalf>
    HWY_INLINE HWY_ATTR R Fraction(VU16 off) const {
        const R level = R::Load(levels[Kind]);
        if constexpr (kSingle) {
            return level / Larger(Product<kHalf>(R::Set(inverse), off), level);
        } else {
            // Of level 0 it is 0, and nothing is divided by 0.
            return level / Larger(Product<kHalf>(R::Set(kScale), off), Larger(level, R::Set(1)));
        }
    }

    /// What becomes of the three fractions of a pixel.
    HWY_INLINE HWY_ATTR R OfPixel(const R& first, const R& luma, const R& second) const {
        const R sum = first + luma + second;
        R result = sum;
        if (combine == Combine::kMinimum) {
            result = UnlessNone(Smaller(Smaller(first, luma), second), sum);
        } else if (combine == Combine::kMaximum) {
            result = UnlessNone(Larger(Larger(first, luma), second), sum);
        }
        return AtLeast(R::Set(0), AtMost(R::Set(1), result));
    }

    HWY_INLINE HWY_ATTR void Combined(VU16 chroma, VU16 luma, VU16 oddChroma, R* chromaFractions,
                                      R* lumaFractions) const {
        const auto half = [&](auto which) TESSELU_INLINED {
            constexpr Half i = which.value;
            const R weight = R::Load(weights[0]);
            const R ofChroma = Fraction<0, i>(chroma) * weight,
                    ofLuma = Fraction<1, i>(luma) * R::Load(weights[1]);
            const R even = OfPixel(EvensTwice(ofChroma, ofChroma), EvensTwice(ofLuma, ofLuma),
                                   OddsTwice(ofChroma, ofChroma));
            chromaFractions[i] = even;
            lumaFractions[i] = even;
            if constexpr (kArePairs) {
                const R ofOdd = Fraction<0, i>(oddChroma) * weight;
                const R odd =
                    OfPixel(EvensTwice(ofOdd, ofOdd), OddsTwice(ofLuma, ofLuma), OddsTwice(ofOdd, ofOdd));
                lumaFractions[i] = EvensAndOdds(even, odd);
            }
        };
        half(std::integral_constant<Half, kLower>());
        half(std::integral_constant<Half, kUpper>());
    }

    HWY_INLINE HWY_ATTR VI16 Results(const R* fractions, VU16 mean, VU16 centre) const {
        const auto half = [&](auto which) TESSELU_INLINED {
            constexpr Half i = which.value;
            const R whole = R::Set(kScale);
            R keep = (R::Set(1) - fractions[i]) * R::Set(strength);
            if constexpr (Rows == 0) {
                keep = AtMost(whole, keep);
            }
            return WholeInOrder(Product<i>(whole - keep, mean) + Product<i>(keep, centre) +
                                R::Set(Real(0.5)));
        };
        return PackToShorts(half(std::integral_constant<Half, kLower>()),
                            half(std::integral_constant<Half, kUpper>()));
    }

    std::size_t width;
    std::uint16_t countedSamples;
    Division countedDivision;
    Combine combine;
    bool limits;
    Real inverse, strength;  ///< times kScale
    /// Of chroma, Cb and Cr in turn, and of luma.
    alignas(64) Real levels[2][kLanes];
    alignas(64) Real weights[2][kLanes];
    alignas(64) std::uint8_t byteLevels[kBytesAtOnce];
    alignas(64) std::uint8_t copied[kBytesAtOnce];
};

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#endif  // include guard
