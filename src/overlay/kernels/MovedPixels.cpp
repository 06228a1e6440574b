// 32-bit pixels over 32-bit ones from between pixels: the mean of the taps and the blend in one pass.

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "overlay/kernels/Overlay.h"
#include "overlay/kernels/OverlayFormulas.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "overlay/kernels/MovedPixels.cpp"
#include "simd/Foreach.h"
// After it: these are compiled once per target.
#include "overlay/kernels/Between-inl.h"
#include "overlay/kernels/Overlay-inl.h"
#include "simd/Walk-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan {
namespace HWY_NAMESPACE {
namespace {

template <std::size_t taps>
struct OverMoved {
    using Place = simd::Place<kMostTaps + 1, 1>;
    static constexpr auto kSources = [] {
        std::array<PlaneUse, taps + 1> uses{};
        for (std::size_t t = 0; t < taps; ++t) {
            uses[t] = PixelPlane(t);
        }
        uses[taps] = PixelPlane(kBehindTaps);
        return uses;
    }();
    static constexpr PlaneUse kDestinations[] = {PixelPlane(0)};
    MixShares shares;

    template <bool premultiplied>
    void MixUnit(const Place& at, std::size_t x, std::uint8_t (&f)[4]) const {
        MixPixel<taps, premultiplied>(
            shares, [&](std::size_t t) { return at.in[t][0] + 4 * x; }, f);
    }

#if HWY_TARGET != HWY_SCALAR
    static HWY_INLINE HWY_ATTR void Load(const Place& at, std::size_t byte, VU8 (&in)[taps]) {
        for (std::size_t t = 0; t < taps; ++t) {
            in[t] = hn::LoadU(DU8(), at.in[t][0] + byte);
        }
    }
#endif
};

#if HWY_TARGET != HWY_SCALAR
/// One vector, apart from the loop so that this exists once.
template <class K>
HWY_NOINLINE HWY_ATTR VU8 EdgeVector(const K& kernel, const typename K::Place& at, std::size_t byte) {
    return kernel.Make(at, byte);
}

/// A row between a vector at either end, which takes less than steps there. Both are made before the loop
/// writes where they read, and put after it. False where rows are too short or overlap with a shift.
template <class K>
HWY_NOINLINE HWY_ATTR bool RowOfPixels(const K& kernel, const typename K::Place& place, std::size_t columns) {
    const typename K::Place at = place;
    constexpr std::size_t kLanes = kVectorBytes / 4;
    std::uint8_t* const out = at.out[0][0];
    const auto behind = reinterpret_cast<std::uintptr_t>(at.in[kBehindTaps][0]);
    const std::uintptr_t distance = behind - reinterpret_cast<std::uintptr_t>(out);
    if (columns < 2 * kLanes || (distance != 0 && distance + 4 * columns < 8 * columns)) {
        return false;
    }
    const DU8 d;
    const K local = kernel;
    const std::size_t last = 4 * (columns - kLanes);
    const VU8 before = EdgeVector(kernel, place, 0), after = EdgeVector(kernel, place, last);
    std::size_t x = std::min(ColumnsToBoundary<K>(out), kLanes);
    for (; x + K::kStep <= columns; x += K::kStep) {
        local.Step(at, x, PutInCache{});
    }
    if constexpr (K::kStep != kLanes) {
        for (; x + kLanes <= columns; x += kLanes) {
            hn::StoreU(local.Make(at, 4 * x), d, out + 4 * x);
        }
    }
    hn::StoreU(before, d, out);
    hn::StoreU(after, d, out + last);
    return true;
}
#endif

/// `joined`: rows touch. Where they do not, each has ends that would meet what goes around the cache in the
/// same lines, which costs more than it saves.
template <std::size_t taps, bool coarse, bool joined>
struct MovedPremultiplied32 : OverMoved<taps> {
    using Base = OverMoved<taps>;
    using typename Base::Place;
    static constexpr bool kStaysInCache = !joined;

    void Unit(const Place& at, std::size_t x) const {
        std::uint8_t f[4];
        Base::template MixUnit<true>(at, x, f);
        for (std::size_t i = 0; i < 4; ++i) {
            at.out[0][0][4 * x + i] = PremultipliedOver(at.in[kBehindTaps][0][4 * x + i], f[i], f[3]);
        }
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kVectors = 2;  // more do not find registers
    static constexpr std::size_t kStep = kVectors * kVectorBytes / 4;

    HWY_INLINE HWY_ATTR VU8 Make(const Place& at, std::size_t byte) const {
        VU8 in[taps], f;
        Base::Load(at, byte, in);
        if constexpr (coarse) {
            f = MixCoarsely<taps>(in, Base::shares);
        } else {
            f = MixBytesOf<taps>(in, Base::shares);
        }
        return OverPixels(hn::LoadU(DU8(), at.in[kBehindTaps][0] + byte), f);
    }
    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        VU8 made[kVectors];
        for (std::size_t i = 0; i < kVectors; ++i) {
            made[i] = Make(at, 4 * x + i * kVectorBytes);
        }
        for (std::size_t i = 0; i < kVectors; ++i) {
            put(DU8(), made[i], at.out[0][0] + 4 * x + i * kVectorBytes);
        }
    }
    HWY_ATTR bool Row(const Place& at, std::size_t columns) const {
        return !joined && RowOfPixels(*this, at, columns);
    }
#endif
};

template <std::size_t taps, bool coarse>
struct MovedStraight32 : OverMoved<taps> {
    using Base = OverMoved<taps>;
    using typename Base::Place;
    static constexpr bool kStaysInCache = true;

    void Unit(const Place& at, std::size_t x) const {
        std::uint8_t f[4];
        Base::template MixUnit<false>(at, x, f);
        const std::uint8_t* const b = at.in[kBehindTaps][0] + 4 * x;
        const AlphaUnion both = AlphaUnion::Of(f[3], b[3]);
        std::uint8_t* const out = at.out[0][0] + 4 * x;
        for (std::size_t i = 0; i < 3; ++i) {
            out[i] = BlendByAlpha(b[i], f[i], both.weight);
        }
        out[3] = static_cast<std::uint8_t>(both.alpha);
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr std::size_t kStep = kVectorBytes / 4;

    HWY_INLINE HWY_ATTR VU8 Make(const Place& at, std::size_t byte) const {
        const DU8 d;
        VU8 in[taps];
        Base::Load(at, byte, in);
        const VU8 b = hn::LoadU(d, at.in[kBehindTaps][0] + byte);
        const StraightPixels<taps, coarse> f(in, Base::shares);
        if (f.IsFlat()) {
            const VI32 isOpaque = hn::VecFromMask(DI32(), f.IsOpaque());
            return hn::IfVecThenElse(hn::BitCast(d, isOpaque), MixBytesOf<taps>(in, Base::shares), b);
        }
        const VU32 alpha = f.Alpha();
        return UnitePixels(b, f.Pixels(alpha), alpha);
    }
    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        put(DU8(), Make(at, 4 * x), at.out[0][0] + 4 * x);
    }
    HWY_ATTR bool Row(const Place& at, std::size_t columns) const {
        return RowOfPixels(*this, at, columns);
    }
#endif
};

template <class Moved>
void WalkMoved(const MovedJob& job, const MixShares& shares) {
    Moved moved;
    moved.shares = shares;
    Walk(moved, job);
}

MixShares ArrangedPixels(MovedJob& job, const MixShares& shares) {
    return Arranged(shares.OfLuma(),
                    [&job](std::size_t a, std::size_t b) { std::swap(job.source[a], job.source[b]); });
}

void RunMovedPremultiplied32(const MovedJob& given, const MixShares& givenShares) {
    MovedJob job = given;
    const MixShares shares = ArrangedPixels(job, givenShares);
    const bool isCoarse = shares.IsCoarse();
    if (shares.taps == 4) {
        isCoarse ? WalkMoved<MovedPremultiplied32<4, true, false>>(job, shares)
                 : WalkMoved<MovedPremultiplied32<4, false, false>>(job, shares);
    } else if (job.destination[0].pitch == static_cast<std::ptrdiff_t>(4 * job.width)) {
        isCoarse ? WalkMoved<MovedPremultiplied32<2, true, true>>(job, shares)
                 : WalkMoved<MovedPremultiplied32<2, false, true>>(job, shares);
    } else {
        isCoarse ? WalkMoved<MovedPremultiplied32<2, true, false>>(job, shares)
                 : WalkMoved<MovedPremultiplied32<2, false, false>>(job, shares);
    }
}
void RunMovedStraight32(const MovedJob& given, const MixShares& givenShares) {
    MovedJob job = given;
    const MixShares shares = ArrangedPixels(job, givenShares);
    const bool isCoarse = shares.IsCoarse() && shares.row % 2 == 0;
    if (shares.taps == 4) {
        isCoarse ? WalkMoved<MovedStraight32<4, true>>(job, shares)
                 : WalkMoved<MovedStraight32<4, false>>(job, shares);
    } else {
        isCoarse ? WalkMoved<MovedStraight32<2, true>>(job, shares)
                 : WalkMoved<MovedStraight32<2, false>>(job, shares);
    }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace Zan
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace Zan {

TESSELU_KERNEL(MovedKernel, kMovedPremultiplied32, RunMovedPremultiplied32);
TESSELU_KERNEL(MovedKernel, kMovedStraight32, RunMovedStraight32);

}  // namespace Zan

#endif  // HWY_ONCE
