// The temporal filter over three frames.

#include "filter/kernels/TemporalFilter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/kernels/TemporalFilter.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "filter/kernels/Reals-inl.h"
#include "simd/Extra-inl.h"
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;
using simd::PlaneUse;

struct Frames {
    using Place = simd::Place<3, 1>;
    static constexpr PlaneUse kSources[] = {
        {.index = 0, .bytesPer16 = 64}, {.index = 1, .bytesPer16 = 64}, {.index = 2, .bytesPer16 = 64}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0, .bytesPer16 = 64}};
    const TemporalFormula& formula;

    void Unit(const Place& at, std::size_t x) const {
        formula.Unit(at.in[0][0] + 4 * x, at.in[1][0] + 4 * x, at.in[2][0] + 4 * x, at.out[0][0] + 4 * x);
    }
};

#if HWY_TARGET != HWY_SCALAR

/// Motion as a step of the fade, 0 to `span` of `span`, for each byte.
class Motion {
public:
    explicit Motion(const TemporalFormula& formula)
        : low(static_cast<std::uint8_t>(formula.lowThreshold)),
          // Without a fade there are two steps.
          span(static_cast<std::uint8_t>(std::max(formula.highThreshold - formula.lowThreshold, 1))) {
        isWeighted = false;
        for (const double weight : formula.channelWeights) {
            isWeighted = isWeighted || weight != 1;
        }
        if (!isWeighted) {
            holds = true;
            return;
        }
        // Weights below 1, or less than 128 times that.
        double most = 0;
        for (const double weight : formula.channelWeights) {
            most = weight > most ? weight : most;
        }
        // Motions of 255 and more are alike.
        holds = most < 128 && (most <= 1 || formula.lowThreshold < 255);
        shift = 0;
        while (holds && std::ldexp(most, -shift) >= 1) {
            ++shift;
        }
        for (std::size_t k = 0; holds && k < 3; ++k) {
            const double weight = formula.channelWeights[k];
            const auto factor =
                weight > 0 ? static_cast<std::uint32_t>(std::ceil(std::ldexp(weight, 16 - shift))) : 0U;
            holds = factor <= 65535;
            for (std::uint32_t difference = 0; holds && difference < 256; ++difference) {
                const double weighted = difference * weight;
                const std::uint32_t expected = TemporalFormula::Motion(&weighted, 1);
                const std::uint32_t made = (difference << shift) * factor >> 16;
                holds = std::min(made, 255U) == std::min(expected, 255U);
            }
            for (std::size_t i = 0; i < 8; ++i) {
                (k == 1 ? odd[i] : k == i % 2 * 2 ? even[i] : unused) = static_cast<std::uint16_t>(factor);
            }
        }
    }

    /// Whether the steps are what the formula says.
    bool Holds() const { return holds; }
    int Span() const { return span; }

    HWY_INLINE HWY_ATTR VU8 Steps(VU8 a, VU8 b, VU8 c) const {
        const DU8 d;
        alignas(16) static constexpr std::uint8_t kNext[16] = {1, 2,  0, 3,  5,  6,  4,  7,
                                                               9, 10, 8, 11, 13, 14, 12, 15};
        alignas(16) static constexpr std::uint8_t kLast[16] = {2,  0, 1, 3,  6,  4,  5,  7,
                                                               10, 8, 9, 11, 14, 12, 13, 15};
        const VU8 before = hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a));
        const VU8 after = hn::Or(hn::SaturatedSub(c, b), hn::SaturatedSub(b, c));
        VU8 motion = hn::Max(before, after);
        if (isWeighted) {
            const DU16 d16;
            const VU16 limit = hn::Set(d16, 255);
            const VU16 ofEven =
                hn::MulHigh(hn::ShiftLeftSame(EvenBytes(motion), shift), hn::LoadDup128(d16, even));
            const VU16 ofOdd =
                hn::MulHigh(hn::ShiftLeftSame(OddBytes(motion), shift), hn::LoadDup128(d16, odd));
            motion = hn::BitCast(d, hn::Or(hn::Min(ofEven, limit), hn::ShiftLeft<8>(hn::Min(ofOdd, limit))));
        }
        // The largest of bytes 0, 1 and 2 in all three; byte 3 by itself.
        motion = hn::Max(motion, hn::Max(hn::TableLookupBytes(motion, InEveryBlock(kNext)),
                                         hn::TableLookupBytes(motion, InEveryBlock(kLast))));
        return hn::Min(hn::SaturatedSub(motion, hn::Set(d, low)), hn::Set(d, span));
    }

private:
    std::uint8_t low, span;
    bool isWeighted, holds;
    int shift = 0;
    alignas(16) std::uint16_t even[8] = {}, odd[8] = {};
    std::uint16_t unused = 0;
};

constexpr double kThird = 0.3333333333333333;
constexpr auto kThirds = [] {
    std::array<double, 256> made{};
    for (std::size_t i = 0; i < made.size(); ++i) {
        made[i] = kThird * static_cast<double>(i);
    }
    return made;
}();

/// 1 - m and m.
struct FadeStep {
    double ofFiltered, ofCurrent;
};

/// In doubles, as the formula.
struct MixInDoubles : Frames {
    static constexpr std::size_t kStep = HWY_LANES(std::uint8_t) / 4;
    Motion motion;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const VU8 a = hn::LoadU(d, at.in[0][0] + 4 * x), b = hn::LoadU(d, at.in[1][0] + 4 * x),
                  c = hn::LoadU(d, at.in[2][0] + 4 * x), steps = motion.Steps(a, b, c);
        const auto mix = [&](VU16 ofA, VU16 ofB, VU16 ofC, VU16 step) TESSELU_INLINED {
            return PackToShorts(Mix(Lower(ofA), Lower(ofB), Lower(ofC), Lower(step)),
                                Mix(Upper(ofA), Upper(ofB), Upper(ofC), Upper(step)));
        };
        put(d,
            BytesInTurn(mix(EvenBytes(a), EvenBytes(b), EvenBytes(c), EvenBytes(steps)),
                        mix(OddBytes(a), OddBytes(b), OddBytes(c), OddBytes(steps))),
            at.out[0][0] + 4 * x);
    }

private:
    HWY_INLINE HWY_ATTR VI32 Mix(VI32 a, VI32 b, VI32 c, VI32 step) const {
        using R = Reals<double>;
        const auto& w = formula.frameWeights;
        const R ofB = R::From(b);
        const R mean = R::Set(w[0]) * R::From(a) + R::Set(w[1]) * ofB + R::Set(w[2]) * R::From(c);
        const R filtered = Smaller(Larger(mean, R::Set(0)), R::Set(255));
        // 0 and 1 at the ends, which leave the filtered and the current sample as they are.
        const R m = R::From(step) / R::Set(motion.Span());
        return (filtered * (R::Set(1) - m) + ofB * m + R::Set(0.5)).Whole();
    }
};

/// Three equal weights: a sample is q / (3 * span), q = (a + b + c) * (span - step) + 3 * b * step. Only
/// halves depend on how doubles are rounded; others lie 1 / (6 * span) from one and more.
struct MixEqually : Frames {
    static constexpr std::size_t kStep = HWY_LANES(std::uint8_t) / 4;
    Motion motion;
    float scale;           ///< of q, to 65536 times the sample
    const FadeStep* fade;  ///< of each step

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const DU16 d16;
        const VU8 a = hn::LoadU(d, at.in[0][0] + 4 * x), b = hn::LoadU(d, at.in[1][0] + 4 * x),
                  c = hn::LoadU(d, at.in[2][0] + 4 * x), steps = motion.Steps(a, b, c);
        std::uint8_t* const to = at.out[0][0] + 4 * x;
        const VU16 evenB = EvenBytes(b), oddB = OddBytes(b);
        const VU16 even = hn::Add(hn::Add(EvenBytes(a), EvenBytes(c)), evenB);
        const VU16 odd = hn::Add(hn::Add(OddBytes(a), OddBytes(c)), oddB);
        if (hn::AllTrue(d, hn::Eq(steps, hn::Zero(d)))) {
            // (sum + 1) / 3; 21846 is 65538 / 3.
            const VU16 one = hn::Set(d16, 1), third = hn::Set(d16, 21846);
            const DI16 di16;
            put(d,
                BytesInTurn(hn::BitCast(di16, hn::MulHigh(hn::Add(even, one), third)),
                            hn::BitCast(di16, hn::MulHigh(hn::Add(odd, one), third))),
                to);
            return;
        }
        VI16 evenDoubts, oddDoubts;
        const VI16 ofEven = Mix(even, evenB, EvenBytes(steps), evenDoubts);
        const VI16 ofOdd = Mix(odd, oddB, OddBytes(steps), oddDoubts);
        const VU8 made = BytesInTurn(ofEven, ofOdd);
        const VI16 none = hn::Zero(DI16());
        if (HWY_UNLIKELY(!hn::AllTrue(DI16(), hn::Eq(hn::Or(evenDoubts, oddDoubts), none)))) {
            const VU8 doubts =
                hn::BitCast(d, hn::OddEven(hn::BitCast(d, oddDoubts), hn::BitCast(d, evenDoubts)));
            const std::uint64_t down =
                RoundedDown(at.in[0][0] + 4 * x, at.in[1][0] + 4 * x, at.in[2][0] + 4 * x, steps, doubts);
            std::uint8_t bits[8];
            std::memcpy(bits, &down, 8);
            put(d, hn::Add(made, hn::VecFromMask(d, hn::LoadMaskBits(d, bits))), to);
            return;
        }
        put(d, made, to);
    }

private:
    HWY_INLINE HWY_ATTR VI16 Mix(VU16 sum, VU16 b, VU16 step, VI16& doubts) const {
        const DU16 d;
        const DI16 di16;
        const DI32 d32;
        const VU16 span = hn::Set(d, static_cast<std::uint16_t>(motion.Span()));
        const VU16 ofSum = hn::Sub(span, step), ofB = hn::Add(hn::Add(step, step), step);
        // 65536 times the sample; 24 bits, of which the last two may be wrong. A half is then next to a whole
        // number.
        const auto half = [&](VU16 samples, VU16 factors) TESSELU_INLINED {
            const VI32 q = MulAddPairs(hn::BitCast(di16, samples), hn::BitCast(di16, factors));
            return (Reals<float>::From(q) * Reals<float>::Set(scale) + Reals<float>::Set(32768 + kDoubt / 2))
                .Whole();
        };
        const VI32 low = half(hn::InterleaveLower(d, sum, b), hn::InterleaveLower(d, ofSum, ofB));
        const VI32 high = half(hn::InterleaveUpper(d, sum, b), hn::InterleaveUpper(d, ofSum, ofB));
        const auto isNear = [&](VI32 v) TESSELU_INLINED {
            return hn::VecFromMask(d32, hn::Lt(hn::And(v, hn::Set(d32, 0xFFFF)), hn::Set(d32, kDoubt)));
        };
        doubts = PackToShorts(isNear(low), isNear(high));
        return PackToShorts(hn::ShiftRight<16>(low), hn::ShiftRight<16>(high));
    }

    /// Of halves that were rounded up, those that doubles round down, by the formula.
    HWY_INLINE HWY_ATTR std::uint64_t RoundedDown(const std::uint8_t* a, const std::uint8_t* b,
                                                  const std::uint8_t* c, VU8 steps, VU8 halves) const {
        const DU8 d;
        alignas(64) std::uint8_t step[4 * kStep];
        hn::Store(steps, d, step);
        std::uint64_t left = 0, down = 0;
        std::uint8_t bits[8] = {};
        hn::StoreMaskBits(d, hn::Ne(halves, hn::Zero(d)), bits);
        std::memcpy(&left, bits, 8);
        for (; left != 0; left &= left - 1) {
            const auto i = static_cast<std::size_t>(std::countr_zero(left));
            const double filtered = kThirds[a[i]] + kThirds[b[i]] + kThirds[c[i]];
            const FadeStep& weights = fade[step[i]];
            const double made = filtered * weights.ofFiltered + b[i] * weights.ofCurrent + 0.5;
            const int isDown = static_cast<int>(made + 0.25) - static_cast<int>(made);
            down |= static_cast<std::uint64_t>(isDown) << i;
        }
        return down;
    }

    static constexpr int kDoubt = 16;
};

#endif

void RunMixFrames(const TemporalJob& job, const TemporalFormula& formula) {
#if HWY_TARGET != HWY_SCALAR
    const Motion motion(formula);
    const auto& weights = formula.frameWeights;
    const auto isSmall = [](double x) { return std::fabs(x) <= 1e6; };
    if (motion.Holds() && isSmall(weights[0]) && isSmall(weights[1]) && isSmall(weights[2])) {
        if (weights[0] == kThird && weights[1] == kThird && weights[2] == kThird) {
            const auto scale = static_cast<float>(65536.0 / (3 * motion.Span()));
            FadeStep fade[256];
            for (int step = 0; step <= motion.Span(); ++step) {
                const double m = static_cast<double>(step) / motion.Span();
                fade[step] = {1 - m, m};
            }
            Walk(MixEqually{{formula}, motion, scale, fade}, job);
        } else {
            Walk(MixInDoubles{{formula}, motion}, job);
        }
        return;
    }
#endif
    Walk(Frames{formula}, job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

using TemporalKernel = simd::Kernel<void(const TemporalJob&, const TemporalFormula&)>;
TESSELU_KERNEL(TemporalKernel, kMixFrames, RunMixFrames);

}  // namespace Zan

#endif  // HWY_ONCE
