// Mixes of two sources by one weight for all samples.

#include <utility>

#include "composite/kernels/Blend.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "composite/kernels/Dissolve.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "simd/Extra-inl.h"
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

using namespace simd::HWY_NAMESPACE;
using simd::PlaneUse;

struct OfTwo {
    using Place = simd::Place<2, 1>;
    static constexpr PlaneUse kSources[] = {{.index = 0}, {.index = 1}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0}};
#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kLineVectors * kVectorBytes;
#endif
};

struct Of256 {
    static constexpr unsigned kTotal = 256;
    static std::int16_t Factor(unsigned weight) { return FactorOf256(weight); }
    static std::uint8_t Mix(unsigned a, unsigned b, unsigned weight) { return DissolveOf256(a, b, weight); }
    static std::uint8_t Tail(unsigned a, unsigned b, unsigned weight) { return DissolveOf256(a, b, weight); }
};

struct Of255 {
    static constexpr unsigned kTotal = 255;
    static std::int16_t Factor(unsigned weight) { return FactorOf255(weight); }
    static std::uint8_t Mix(unsigned a, unsigned b, unsigned weight) { return DissolveOf255(a, b, weight); }
    static std::uint8_t Tail(unsigned a, unsigned b, unsigned weight) {
        return DissolveOf255Tail(a, b, weight);
    }
};

template <class Formula>
struct Dissolve : OfTwo {
    unsigned weight;

    void Unit(const Place& at, std::size_t x) const {
        at.out[0][0][x] = Formula::Mix(at.in[0][0][x], at.in[1][0][x], weight);
    }
    void Tail(const Place& at, std::size_t x, std::size_t) const {
        at.out[0][0][x] = Formula::Tail(at.in[0][0][x], at.in[1][0][x], weight);
    }
};

#if HWY_TARGET != HWY_SCALAR

/// With weights below a half: B plus the rounded product of the difference, which fits a signed byte.
template <class Formula>
struct Mix : Dissolve<Formula> {
    using Place = OfTwo::Place;
    VI16 factor;

    HWY_INLINE HWY_ATTR Mix(unsigned weightOfA, std::int16_t factorOfA)
        : Dissolve<Formula>{{}, weightOfA}, factor(hn::Set(DI16(), factorOfA)) {}

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const VI8 plusMinus = hn::BitCast(DI8(), hn::Set(DU16(), 0xFF01));
        PutLine(at.out[0][0] + x, put, [&](std::size_t i) HWY_ATTR {
            const VU8 a = hn::LoadU(d, at.in[0][0] + x + i * kVectorBytes);
            const VU8 b = hn::LoadU(d, at.in[1][0] + x + i * kVectorBytes);
            const VI16 low = MulAddPairs(hn::InterleaveLower(d, a, b), plusMinus);
            const VI16 high = MulAddPairs(hn::InterleaveUpper(d, a, b), plusMinus);
            const VI8 change =
                PackToSignedBytes(hn::MulFixedPoint15(low, factor), hn::MulFixedPoint15(high, factor));
            return hn::Add(b, hn::BitCast(d, change));
        });
    }
};

/// Equal weights of 256.
struct Mean : Dissolve<Of256> {
    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        PutLine(at.out[0][0] + x, put, [&](std::size_t i) HWY_ATTR {
            return hn::AverageRound(hn::LoadU(d, at.in[0][0] + x + i * kVectorBytes),
                                    hn::LoadU(d, at.in[1][0] + x + i * kVectorBytes));
        });
    }
};

/// No weight: B as it is, in whole blocks.
template <class Formula>
struct OnlyB : Dissolve<Formula> {
    using Place = OfTwo::Place;

    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        PutLine(at.out[0][0] + x, put,
                [&](std::size_t i) HWY_ATTR { return hn::LoadU(DU8(), at.in[1][0] + x + i * kVectorBytes); });
    }
};

#endif  // HWY_TARGET

/// The reference: double precision, one multiplication a sample made ahead.
struct InDoubles : OfTwo {
    [[maybe_unused]] static constexpr std::size_t kStep = 0;
    const double (*parts)[256];

    void Unit(const Place& at, std::size_t x) const {
        at.out[0][0][x] =
            static_cast<std::uint8_t>(parts[1][at.in[1][0][x]] + parts[0][at.in[0][0][x]] + 0.5);
    }
};

/// With a second source that is 255 everywhere.
struct WithFull {
    using Place = simd::Place<1, 1>;
    static constexpr PlaneUse kSources[] = {{.index = 0}};
    static constexpr PlaneUse kDestinations[] = {{.index = 0}};
    unsigned weight;

    void Unit(const Place& at, std::size_t x) const {
        at.out[0][0][x] = DissolveOf256(at.in[0][0][x], 255, weight);
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kLineVectors * kVectorBytes;

    /// 255 less (weight * (255 - a) + 127) / 256.
    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const DU8 d;
        const DU16 d16;
        const VU8 none = hn::Zero(d);
        const VU16 factor = hn::Set(d16, static_cast<std::uint16_t>(weight));
        const auto taken = [&](VU8 rest) HWY_ATTR {
            const VU16 t = hn::Add(hn::Mul(hn::BitCast(d16, rest), factor), hn::Set(d16, 127));
            return hn::BitCast(DI16(), hn::ShiftRight<8>(t));
        };
        PutLine(at.out[0][0] + x, put, [&](std::size_t i) HWY_ATTR {
            const VU8 rest = hn::Not(hn::LoadU(d, at.in[0][0] + x + i * kVectorBytes));
            return hn::Not(PackToBytes(taken(hn::InterleaveLower(d, rest, none)),
                                       taken(hn::InterleaveUpper(d, rest, none))));
        });
    }
#endif
};

/// The formulas are the same with the sources exchanged, so that A has the smaller weight.
template <class Formula>
HWY_ATTR void RunDissolve(const TwoSourceJob& given, unsigned weight) {
    TwoSourceJob job = given;
    if (weight > Formula::kTotal / 2) {
        std::swap(job.source[0], job.source[1]);
        weight = Formula::kTotal - weight;
    }
#if HWY_TARGET == HWY_SCALAR
    Walk(Dissolve<Formula>{{}, weight}, job);
#else
    if (weight == 0) {
        Walk(OnlyB<Formula>{{{}, weight}}, job);
    } else if (2 * weight == Formula::kTotal) {
        Walk(Mean{{{}, weight}}, job);
    } else {
        Walk(Mix<Formula>(weight, Formula::Factor(weight)), job);
    }
#endif
}

void RunDissolveOf256(const TwoSourceJob& job, const BlendSettings& set) {
    RunDissolve<Of256>(job, set.weight);
}
void RunDissolveOf255(const TwoSourceJob& job, const BlendSettings& set) {
    RunDissolve<Of255>(job, set.weight);
}
void RunDissolveWithFull(const OneSourceJob& job, const BlendSettings& set) {
    Walk(WithFull{set.weight}, job);
}
void RunDissolveInDoubles(const TwoSourceJob& job, const BlendSettings& set) {
    Walk(InDoubles{{}, set.parts}, job);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(TwoSourceKernel, kDissolveOf256, RunDissolveOf256);
TESSELU_KERNEL(TwoSourceKernel, kDissolveOf255, RunDissolveOf255);
TESSELU_KERNEL(OneSourceKernel, kDissolveWithFull, RunDissolveWithFull);
TESSELU_KERNEL(TwoSourceKernel, kDissolveInDoubles, RunDissolveInDoubles);

}  // namespace Zan

#endif  // HWY_ONCE
