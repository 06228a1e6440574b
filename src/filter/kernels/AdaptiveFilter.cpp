// The adaptive filter over windows of space and time.

#include "filter/kernels/AdaptiveFilter.h"

#include <cmath>
#include <cstring>

#include "filter/kernels/AdaptiveWindow.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/kernels/AdaptiveFilter.cpp"
#include "simd/Foreach.h"
// After it: this is compiled once per target.
#include "filter/kernels/Reals-inl.h"
#include "simd/Extra-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;

/// Every pixel by its formula.
template <class Real>
void PairsByFormula(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    const AdaptiveFormula<Real> formula(settings, job.WindowSamples());
    for (std::size_t y = 0; y < job.height; ++y) {
        std::uint8_t* const to = job.destination.Row(y);
        for (std::size_t x = 0; x < job.width; ++x) {
            std::uint8_t made[3];
            AdaptPixel<PairWindow>(job, formula, x, y, made);
            if (x % 2 == 0) {
                to[2 * x] = made[0];
                to[2 * x + 1] = made[1];
                to[2 * x + 2] = made[2];
                to[2 * x + 3] = made[1];
            } else {
                to[2 * x + 1] = made[1];
            }
        }
    }
}

void PixelsByFormula(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    const AdaptiveFormula<double> formula(settings, job.WindowSamples());
    for (std::size_t y = 0; y < job.height; ++y) {
        std::uint8_t* const to = job.destination.Row(y);
        for (std::size_t x = 0; x < job.width; ++x) {
            std::uint8_t made[3];
            AdaptPixel<PixelWindow>(job, formula, x, y, made);
            for (std::size_t c = 0; c < 3; ++c) {
                to[4 * x + c] = made[c];
            }
            to[4 * x + 3] = job.Row(job.windowFrames / 2, y)[4 * x + 3];
        }
    }
}

#if HWY_TARGET != HWY_SCALAR

// ---- Lanes ------------------------------------------------------------------------------------------------
//
// Bytes stay where they are in a word: even ones, chroma, and odd ones, luma, become vectors of 16-bit lanes
// of their own. Of 32-bit pixels even bytes are channels 0 and 2, odd ones channel 1 and what is copied.

constexpr std::size_t kBytesAtOnce = HWY_LANES(std::uint8_t);

/// Sums fit 16 bits.
constexpr std::size_t kMostSamples = 257;

/// sum / n to the nearest whole number, for sums of n bytes: (sum + summand) * factor >> 16 >> shift, where
/// the sum is limited to 16 bits.
struct Division {
    std::uint16_t summand = 1, factor = 65535;  // of 1
    int shift = 0;

    explicit Division(std::uint32_t n) {
        const std::uint32_t half = n / 2;
        for (std::uint32_t tried = 0; n != 1 && tried < 9 * 2 * 3; ++tried) {
            const std::uint32_t bits = tried / 6, up = tried / 3 % 2, more = tried % 3;
            const std::uint32_t f = ((std::uint32_t{1} << (16 + bits)) + up * (n - 1)) / n;
            if (f > 65535) {
                continue;
            }
            summand = static_cast<std::uint16_t>(half + more);
            factor = static_cast<std::uint16_t>(f);
            shift = static_cast<int>(bits);
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

    std::uint32_t Of(std::uint32_t sum) const {
        return std::min(sum + summand, 65535U) * factor >> 16 >> shift;
    }

    HWY_INLINE HWY_ATTR VU16 Of(VU16 sum) const {
        const DU16 d;
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

enum class Layout { kPairs, kPixels };

/// Makes one vector of bytes. `Width` is that of the window, or 0 where it is told at run time.
template <Layout kLayout, class Real, bool kCombines, std::size_t Width>
class AdaptiveStep {
    static constexpr bool kArePairs = kLayout == Layout::kPairs, kSingle = sizeof(Real) == sizeof(float);
    static constexpr std::size_t kLanes = HWY_LANES(std::int32_t);
    /// In windows of one column all bytes are alike: the lower and the upper ones of each block take the
    /// places of chroma and luma.
    static constexpr bool kByHalves = Width == 1;
    using R = Reals<Real>;

public:
    AdaptiveStep(const AdaptiveJob& job, const AdaptiveSettings& settings)
        : width(job.windowWidth),
          samples(static_cast<std::uint16_t>(job.WindowSamples())),
          division(samples),
          combine(settings.combine),
          limits(settings.limits),
          inverse(Real(1) / static_cast<Real>(samples)),
          strength(static_cast<Real>(settings.strength)) {
        for (std::size_t i = 0; i < kLanes; ++i) {
            const std::size_t chroma = i % 2 * 2;
            levels[0][i] = settings.levels[kByHalves && i % 2 == 1 ? 1 : kByHalves ? i % 4 : chroma];
            levels[1][i] = kByHalves ? levels[0][i] : static_cast<Real>(settings.levels[1]);
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
        return kArePairs ? (windowWidth / 2 + 1) / 2 * 4 : windowWidth / 2 * 4;
    }

    HWY_INLINE HWY_ATTR void operator()(const WindowRows& rows, std::size_t x, std::uint8_t* to) const {
        const DU8 d8;
        const DU16 d16;
        constexpr bool kOddPixels = kCombines && kArePairs;
        const auto evenBytes = [](VU8 tap) TESSELU_INLINED { return EvenBytes(tap); };
        TapSums sums, below;
        VU16 oddChroma, oddMean, oddBelow;
        VU16 chromaMean, lumaMean;
        // Differences are (sum - n * mean) + 2 * those of the samples below the mean.
        if constexpr (kByHalves) {
            alignas(64) std::uint8_t pairs[kMostSamples - 1][kBytesAtOnce];
            sums = SumOfPairs(rows, x, pairs);
            chromaMean = division.Of(sums.chroma);
            lumaMean = division.Of(sums.luma);
            below = SumBelow(rows, x, pairs, chromaMean, lumaMean);
        } else {
            sums = SumOfTaps(
                rows, x, [](VU8 tap) TESSELU_INLINED { return tap; }, evenBytes);
            chromaMean = division.Of(sums.chroma);
            lumaMean = division.Of(sums.luma);
            const VU8 mean = hn::BitCast(d8, hn::Or(chromaMean, hn::ShiftLeft<8>(lumaMean)));
            const auto belowIn = [](VU16 evenMean) TESSELU_INLINED {
                return [evenMean](VU8 tap) TESSELU_INLINED {
                    return hn::BitCast(DU16(), hn::SaturatedSub(hn::BitCast(DU8(), evenMean), tap));
                };
            };
            below = SumOfTaps(
                rows, x, [mean](VU8 tap) TESSELU_INLINED { return hn::SaturatedSub(mean, tap); },
                belowIn(chromaMean));
            if constexpr (kOddPixels) {
                oddChroma = SumOfOddChroma(rows, x, evenBytes);
                oddMean = division.Of(oddChroma);
                oddBelow = SumOfOddChroma(rows, x, belowIn(oddMean));
            }
        }
        // Zeros that are not there lie the mean below it.
        const VU16 missing = hn::Set(d16, static_cast<std::uint16_t>(rows.missing * width));
        const auto differences = [&](VU16 sum, VU16 of, VU16 under) TESSELU_INLINED {
            const VU16 all = kArePairs ? under : hn::Add(under, hn::Mul(of, missing));
            return Deviations(hn::Add(hn::Sub(sum, hn::Mul(of, hn::Set(d16, samples))), hn::Add(all, all)));
        };
        const VU16 chromaOff = differences(sums.chroma, chromaMean, below.chroma);
        const VU16 lumaOff = differences(sums.luma, lumaMean, below.luma);

        const VU8 centre = hn::LoadU(d8, rows.rows[rows.centre] + x);
        const VU16 chromaCentre = kByHalves ? LowerBytes(centre) : EvenBytes(centre),
                   lumaCentre = kByHalves ? UpperBytes(centre) : OddBytes(centre);
        VI16 chromaMade, lumaMade;
        if constexpr (kCombines) {
            const VU16 oddOff = kArePairs ? differences(oddChroma, oddMean, oddBelow) : chromaOff;
            R chromaFractions[2], lumaFractions[2];
            Combined(chromaOff, lumaOff, oddOff, chromaFractions, lumaFractions);
            chromaMade = Results(chromaFractions, chromaMean, chromaCentre);
            lumaMade = Results(lumaFractions, lumaMean, lumaCentre);
        } else {
            const R chromaFractions[2] = {Fraction<0>(Lower(chromaOff)), Fraction<0>(Upper(chromaOff))};
            chromaMade = Results(chromaFractions, chromaMean, chromaCentre);
            const R lumaFractions[2] = {Fraction<1>(Lower(lumaOff)), Fraction<1>(Upper(lumaOff))};
            lumaMade = Results(lumaFractions, lumaMean, lumaCentre);
        }
        VU8 made = kByHalves ? PackToBytes(chromaMade, lumaMade) : BytesInTurn(chromaMade, lumaMade);
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
    struct TapSums {
        VU16 chroma, luma;
    };

    template <class Row>
    HWY_INLINE HWY_ATTR static void ForEachRow(const WindowRows& rows, std::size_t x, Row&& row) {
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

    /// Sums of the lower and the upper bytes of all rows. Two rows at a time, of which the bytes in turn are
    /// left in `pairs`.
    HWY_INLINE HWY_ATTR static TapSums SumOfPairs(const WindowRows& rows, std::size_t x,
                                                  std::uint8_t (*pairs)[kBytesAtOnce]) {
        const DU8 d;
        const VI8 ones = hn::Set(DI8(), 1);
        VI16 lower = hn::Zero(DI16()), upper = lower;
        std::size_t i = 0;
        for (; i + 2 <= rows.count; i += 2) {
            const VU8 a = hn::LoadU(d, rows.rows[i] + x), b = hn::LoadU(d, rows.rows[i + 1] + x);
            const VU8 low = hn::InterleaveLower(d, a, b), high = hn::InterleaveUpper(d, a, b);
            hn::Store(low, d, pairs[i]);
            hn::Store(high, d, pairs[i + 1]);
            lower = hn::Add(lower, MulAddPairs(low, ones));
            upper = hn::Add(upper, MulAddPairs(high, ones));
        }
        const DU16 d16;
        TapSums sums = {hn::BitCast(d16, lower), hn::BitCast(d16, upper)};
        if (i != rows.count) {
            const VU8 last = hn::LoadU(d, rows.rows[i] + x);
            sums = {hn::Add(sums.chroma, LowerBytes(last)), hn::Add(sums.luma, UpperBytes(last))};
        }
        return sums;
    }

    /// Likewise of how far they are below their means.
    HWY_INLINE HWY_ATTR static TapSums SumBelow(const WindowRows& rows, std::size_t x,
                                                const std::uint8_t (*pairs)[kBytesAtOnce], VU16 lowerMean,
                                                VU16 upperMean) {
        const DU8 d;
        const VI8 ones = hn::Set(DI8(), 1);
        const VU8 lowerMeans = hn::BitCast(d, hn::Or(lowerMean, hn::ShiftLeft<8>(lowerMean)));
        const VU8 upperMeans = hn::BitCast(d, hn::Or(upperMean, hn::ShiftLeft<8>(upperMean)));
        VI16 lower = hn::Zero(DI16()), upper = lower;
        std::size_t i = 0;
        for (; i + 2 <= rows.count; i += 2) {
            lower = hn::Add(lower, MulAddPairs(hn::SaturatedSub(lowerMeans, hn::Load(d, pairs[i])), ones));
            upper =
                hn::Add(upper, MulAddPairs(hn::SaturatedSub(upperMeans, hn::Load(d, pairs[i + 1])), ones));
        }
        const DU16 d16;
        TapSums sums = {hn::BitCast(d16, lower), hn::BitCast(d16, upper)};
        if (i != rows.count) {
            const VU8 last = hn::LoadU(d, rows.rows[i] + x);
            sums = {hn::Add(sums.chroma, hn::SaturatedSub(lowerMean, LowerBytes(last))),
                    hn::Add(sums.luma, hn::SaturatedSub(upperMean, UpperBytes(last)))};
        }
        return sums;
    }

    HWY_INLINE HWY_ATTR std::ptrdiff_t Half() const {
        return static_cast<std::ptrdiff_t>(Width == 0 ? width / 2 : Width / 2);
    }

    /// Sums over windows of what `of` makes of bytes, and `ofChroma` of even ones. Of 4:2:2 chroma is that of
    /// the even pixels' windows: positions 2j and 2j + 1 from the centre are pair j.
    template <class Of, class OfChroma>
    HWY_INLINE HWY_ATTR TapSums SumOfTaps(const WindowRows& rows, std::size_t x, Of of,
                                          OfChroma ofChroma) const {
        const DU8 d;
        const DU16 d16;
        // A sum of words is that of their even bytes, and 256 times that of the odd ones.
        VU16 words = hn::Zero(d16), lumaOfWords = words, otherChroma = words, otherLuma = words;
        const auto take = [&](const std::uint8_t* at) TESSELU_INLINED {
            const VU16 word = hn::BitCast(d16, of(hn::LoadU(d, at)));
            words = hn::Add(words, word);
            lumaOfWords = hn::Add(lumaOfWords, hn::ShiftRight<8>(word));
        };
        const auto takeLuma = [&](const std::uint8_t* at) TESSELU_INLINED {
            otherLuma = hn::Add(otherLuma, OddBytes(of(hn::LoadU(d, at))));
        };
        const auto takeChroma = [&](const std::uint8_t* at) TESSELU_INLINED {
            otherChroma = hn::Add(otherChroma, ofChroma(hn::LoadU(d, at)));
        };
        const std::ptrdiff_t half = Half();
        ForEachRow(rows, x, [&](const std::uint8_t* at) TESSELU_INLINED {
            if constexpr (!kArePairs) {
                for (std::ptrdiff_t dx = -half; dx <= half; ++dx) {
                    take(at + 4 * dx);
                }
            } else {
                std::ptrdiff_t dx = -half;
                if ((half & 1) != 0) {
                    takeChroma(at + 2 * dx - 2);
                    takeLuma(at + 2 * dx);
                    ++dx;
                }
                for (; dx < half; dx += 2) {
                    take(at + 2 * dx);  // the chroma of both
                    takeLuma(at + 2 * dx + 2);
                }
                if ((half & 1) == 0) {
                    takeChroma(at + 2 * half);
                    takeLuma(at + 2 * half);
                }
            }
        });
        const VU16 chroma = hn::Sub(words, hn::ShiftLeft<8>(lumaOfWords));
        if constexpr (!kArePairs) {
            return {chroma, lumaOfWords};
        } else {
            return {hn::Add(hn::Add(chroma, chroma), otherChroma), hn::Add(lumaOfWords, otherLuma)};
        }
    }

    /// The same of the odd pixels' windows: positions 2j - 1 and 2j from their pair are pair j.
    template <class OfChroma>
    HWY_INLINE HWY_ATTR VU16 SumOfOddChroma(const WindowRows& rows, std::size_t x, OfChroma ofChroma) const {
        const DU8 d;
        VU16 twice = hn::Zero(DU16()), once = twice;
        const std::ptrdiff_t half = Half();
        ForEachRow(rows, x, [&](const std::uint8_t* at) TESSELU_INLINED {
            std::ptrdiff_t dx = -half;
            if ((half & 1) == 0) {
                once = hn::Add(once, ofChroma(hn::LoadU(d, at + 2 * dx)));
                dx += 2;
            } else {
                once = hn::Add(once, ofChroma(hn::LoadU(d, at + 2 * half + 2)));
                dx += 1;
            }
            for (; dx <= half; dx += 2) {
                twice = hn::Add(twice, ofChroma(hn::LoadU(d, at + 2 * dx)));
            }
        });
        return hn::Add(hn::Add(twice, twice), once);
    }

    /// Sums of differences, or in doubles their means.
    HWY_INLINE HWY_ATTR VU16 Deviations(VU16 differences) const {
        if constexpr (kSingle) {
            return differences;
        } else {
            return division.Of(differences);
        }
    }

    template <std::size_t Kind>
    HWY_INLINE HWY_ATTR R Fraction(VI32 off) const {
        const R level = R::Load(levels[Kind]);
        if constexpr (kSingle) {
            return level / Larger(R::From(off) * R::Set(inverse), level);
        } else {
            // Of level 0 it is 0, and nothing is divided by 0.
            return level / Larger(R::From(off), Larger(level, R::Set(1)));
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
        const auto half = [&](VI32 c, VI32 l, VI32 o, std::size_t i) TESSELU_INLINED {
            const R weight = R::Load(weights[0]);
            const R ofChroma = Fraction<0>(c) * weight, ofLuma = Fraction<1>(l) * R::Load(weights[1]);
            const R even = OfPixel(EvensTwice(ofChroma, ofChroma), EvensTwice(ofLuma, ofLuma),
                                   OddsTwice(ofChroma, ofChroma));
            chromaFractions[i] = even;
            lumaFractions[i] = even;
            if constexpr (kArePairs) {
                const R ofOdd = Fraction<0>(o) * weight;
                const R odd =
                    OfPixel(EvensTwice(ofOdd, ofOdd), OddsTwice(ofLuma, ofLuma), OddsTwice(ofOdd, ofOdd));
                lumaFractions[i] = EvensAndOdds(even, odd);
            }
        };
        half(Lower(chroma), Lower(luma), Lower(oddChroma), 0);
        half(Upper(chroma), Upper(luma), Upper(oddChroma), 1);
    }

    HWY_INLINE HWY_ATTR VI16 Results(const R* fractions, VU16 mean, VU16 centre) const {
        const auto half = [&](const R& fraction, VI32 ofMean, VI32 ofCentre) TESSELU_INLINED {
            const R one = R::Set(1);
            R keep = one - fraction;
            if (strength != 1) {
                keep = AtMost(one, keep * R::Set(strength));
            }
            return ((one - keep) * R::From(ofMean) + keep * R::From(ofCentre) + R::Set(Real(0.5))).Whole();
        };
        return PackToShorts(half(fractions[0], Lower(mean), Lower(centre)),
                            half(fractions[1], Upper(mean), Upper(centre)));
    }

    std::size_t width;
    std::uint16_t samples;
    Division division;
    Combine combine;
    bool limits;
    Real inverse, strength;
    /// Of chroma, Cb and Cr in turn, and of luma.
    alignas(64) Real levels[2][kLanes];
    alignas(64) Real weights[2][kLanes];
    alignas(64) std::uint8_t byteLevels[kBytesAtOnce];
    alignas(64) std::uint8_t copied[kBytesAtOnce];
};

// ---- Rows -------------------------------------------------------------------------------------------------

/// The rows of a window around row y: of 4:2:2 the nearest ones, of 32-bit pixels those that there are.
template <Layout kLayout>
void TakeRows(const AdaptiveJob& job, std::size_t y, WindowRows& taken) {
    const WindowSide side(y, job.windowHeight, job.height);
    taken.count = 0;
    taken.missing = 0;
    for (std::size_t frame = 0; frame < job.windowFrames; ++frame) {
        if (frame == job.windowFrames / 2) {
            taken.centre = taken.count + (y - side.first);
        }
        if constexpr (kLayout == Layout::kPairs) {
            taken.centre += frame == job.windowFrames / 2 ? side.before : 0;
            for (std::size_t i = 0; i < side.before; ++i) {
                taken.rows[taken.count++] = job.Row(frame, side.first);
            }
        } else {
            taken.missing += side.before + side.beyond;
        }
        for (std::size_t j = side.first; j <= side.last; ++j) {
            taken.rows[taken.count++] = job.Row(frame, j);
        }
        if constexpr (kLayout == Layout::kPairs) {
            for (std::size_t i = 0; i < side.beyond; ++i) {
                taken.rows[taken.count++] = job.Row(frame, side.last);
            }
        }
    }
}

/// Copies of the columns where rows end, with what stands for those outside.
template <Layout kLayout>
class EdgeRows {
public:
    /// `bytes` of each row from byte `x`, and `reach` on either side.
    void Take(const AdaptiveJob& job, const WindowRows& from, std::size_t x, std::size_t reach,
              WindowRows& taken) {
        const std::size_t words = kLayout == Layout::kPairs ? (job.width + 1) / 2 : job.width;
        const std::size_t length = kBytesAtOnce + 2 * reach, before = reach - std::min(reach, x);
        const std::size_t first = (x - (reach - before)) / 4;
        const std::size_t inside = std::min(words - first, (length - before) / 4);
        taken.count = from.count;
        taken.centre = from.centre;
        taken.missing = from.missing;
        for (std::size_t i = 0; i < from.count; ++i) {
            std::uint8_t* const to = memory + i * length;
            std::memcpy(to + before, from.rows[i] + 4 * first, 4 * inside);
            if constexpr (kLayout == Layout::kPairs) {
                if (job.width % 2 == 1 && first + inside == words) {
                    std::uint8_t* const last = to + before + 4 * (inside - 1);
                    last[3] = last[1];
                }
                Repeat(to, to + before, to[before + 1], to + before);
                std::uint8_t* const end = to + before + 4 * inside;
                Repeat(end, to + length, end[-1], end - 4);
            } else {
                std::memset(to, 0, before);
                std::memset(to + before + 4 * inside, 0, length - before - 4 * inside);
            }
            taken.rows[i] = to + reach;
        }
    }

private:
    /// Words with the chroma of one and one luma.
    static void Repeat(std::uint8_t* to, const std::uint8_t* end, std::uint8_t luma,
                       const std::uint8_t* word) {
        const std::uint8_t made[4] = {word[0], luma, word[2], luma};
        for (; to < end; to += 4) {
            std::memcpy(to, made, 4);
        }
    }

    // Windows hold at most kMostSamples: few rows if they are wide.
    std::uint8_t memory[kMostSamples * (kBytesAtOnce + 12)];
};

template <Layout kLayout, class Real, bool kCombines, std::size_t Width>
HWY_NOINLINE HWY_ATTR void RunSteps(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    using Step = AdaptiveStep<kLayout, Real, kCombines, Width>;
    const Step step(job, settings);
    const std::size_t reach = Step::Reach(job.windowWidth);
    constexpr bool kArePairs = kLayout == Layout::kPairs;
    const std::size_t bytes = 4 * (kArePairs ? (job.width + 1) / 2 : job.width);
    const bool isOdd = kArePairs && job.width % 2 == 1;
    const std::size_t whole = bytes - (isOdd ? 4 : 0);  // without a luma that does not count
    WindowRows rows, edges;
    EdgeRows<kLayout> staged;
    for (std::size_t y = 0; y < job.height; ++y) {
        TakeRows<kLayout>(job, y, rows);
        std::uint8_t* const to = job.destination.Row(y);
        for (std::size_t x = 0; x < bytes; x += kBytesAtOnce) {
            if (x >= reach && x + kBytesAtOnce + reach <= whole) {
                step(rows, x, to + x);
                continue;
            }
            // Nothing that is read is written: bytes may be made twice.
            if (reach == 0 && x != 0 && x < whole && whole >= kBytesAtOnce) {
                step(rows, whole - kBytesAtOnce, to + whole - kBytesAtOnce);
                if (x + kBytesAtOnce >= bytes && !isOdd) {
                    break;
                }
            }
            alignas(64) std::uint8_t made[kBytesAtOnce];
            staged.Take(job, rows, x, reach, edges);
            step(edges, 0, made);
            std::memcpy(to + x, made, std::min(kBytesAtOnce, bytes - x));
        }
        if (isOdd) {
            to[bytes - 1] = to[bytes - 3];
        }
    }
}

/// Whether vectors can make it: sums fit, and numbers stay far from the limits of their kind.
bool Suits(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    const auto isSmall = [](double x) { return std::fabs(x) <= 1e6; };
    const bool combines = settings.combine != Combine::kNot;
    return job.windowWidth <= kMostSamples && job.windowHeight <= kMostSamples &&
           job.windowFrames <= kMostSamples && job.WindowSamples() <= kMostSamples &&
           isSmall(settings.strength) &&
           (!combines ||
            (isSmall(settings.weights[0]) && isSmall(settings.weights[1]) && isSmall(settings.weights[2])));
}

template <Layout kLayout, class Real>
void RunVectors(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    if (settings.combine != Combine::kNot) {
        RunSteps<kLayout, Real, true, 0>(job, settings);
    } else if (job.windowWidth == 1) {
        RunSteps<kLayout, Real, false, 1>(job, settings);
    } else if (job.windowWidth == 3) {
        RunSteps<kLayout, Real, false, 3>(job, settings);
    } else {
        RunSteps<kLayout, Real, false, 0>(job, settings);
    }
}

#else

enum class Layout { kPairs, kPixels };

bool Suits(const AdaptiveJob&, const AdaptiveSettings&) {
    return false;
}
template <Layout, class Real>
void RunVectors(const AdaptiveJob&, const AdaptiveSettings&) {}

#endif  // HWY_TARGET

void RunAdaptPairsInSingle(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    Suits(job, settings) ? RunVectors<Layout::kPairs, float>(job, settings)
                         : PairsByFormula<float>(job, settings);
}

void RunAdaptPairs(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    Suits(job, settings) ? RunVectors<Layout::kPairs, double>(job, settings)
                         : PairsByFormula<double>(job, settings);
}

void RunAdaptPixels(const AdaptiveJob& job, const AdaptiveSettings& settings) {
    Suits(job, settings) ? RunVectors<Layout::kPixels, double>(job, settings)
                         : PixelsByFormula(job, settings);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(AdaptiveKernel, kAdaptPairsInSingle, RunAdaptPairsInSingle);
TESSELU_KERNEL(AdaptiveKernel, kAdaptPairs, RunAdaptPairs);
TESSELU_KERNEL(AdaptiveKernel, kAdaptPixels, RunAdaptPixels);

void DeviationsAround(const AdaptiveJob& job, std::size_t x, std::size_t y, float (&deviations)[3]) noexcept {
    const AdaptiveSettings none{};
    const AdaptiveFormula<float> formula(none, job.WindowSamples());
    for (std::size_t c = 0; c < 3; ++c) {
        deviations[c] = formula.Deviation(StatisticsOf<PairWindow>(job, formula, c, x, y).differences);
    }
}

}  // namespace Zan

#endif  // HWY_ONCE
