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

/// Which taps lie a column before.
using TapsBefore = std::array<bool, kMostTaps>;

#if HWY_TARGET != HWY_SCALAR
/// A vector of each line.
template <std::size_t lines>
struct LineVectors {
    HWY_INLINE HWY_ATTR LineVectors Under(const LineVectors& f) const {
        LineVectors made;
        for (std::size_t i = 0; i < lines; ++i) {
            made.line[i] = OverPixels(line[i], f.line[i]);
        }
        return made;
    }
    HWY_INLINE HWY_ATTR void Store(std::uint8_t* const (&out)[lines], std::size_t byte) const {
        for (std::size_t i = 0; i < lines; ++i) {
            hn::StoreU(line[i], DU8(), out[i] + byte);
        }
    }
    VU8 line[lines];
};
/// SSSE3 copies registers where others have a third operand.
constexpr bool kMixesAhead = HWY_TARGET != HWY_SSSE3;
#endif

template <std::size_t taps, std::size_t lines = 1>
struct OverMoved {
    using Place = simd::Place<kMostTaps + 1, 1, lines>;
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
    TapsBefore before{};

    template <bool premultiplied>
    void MixUnit(const Place& at, std::size_t line, std::size_t x, std::uint8_t (&f)[4]) const {
        MixPixel<taps, premultiplied>(
            shares, [&](std::size_t t) { return at.in[t][line] + 4 * x; }, f);
    }
    void PremultipliedUnit(const Place& at, std::size_t line, std::size_t x) const {
        std::uint8_t f[4];
        MixUnit<true>(at, line, x, f);
        PremultipliedPixelOver(at.in[kBehindTaps][line] + 4 * x, f, at.out[0][line] + 4 * x);
    }
    /// The first pixel of a row, that is, without the taps before it.
    void FirstUnit(const Place& at, std::size_t x, std::uint8_t* out) const {
        static constexpr std::uint8_t kNothing[4] = {};
        std::uint8_t f[4];
        MixPixel<taps, true>(
            shares, [&](std::size_t t) { return before[t] ? kNothing : at.in[t][0] + 4 * x; }, f);
        PremultipliedPixelOver(at.in[kBehindTaps][0] + 4 * x, f, out);
    }

#if HWY_TARGET != HWY_SCALAR
    static HWY_INLINE HWY_ATTR VU8 Load(const Place& at, std::size_t tap, std::size_t line,
                                        std::size_t byte) {
        return hn::LoadU(DU8(), at.in[tap][line] + byte);
    }
    static HWY_INLINE HWY_ATTR void Load(const Place& at, std::size_t byte, VU8 (&in)[taps]) {
        for (std::size_t t = 0; t < taps; ++t) {
            in[t] = Load(at, t, 0, byte);
        }
    }
    static HWY_INLINE HWY_ATTR LineVectors<lines> Behind(const Place& at, std::size_t byte) {
        LineVectors<lines> behind;
        for (std::size_t i = 0; i < lines; ++i) {
            behind.line[i] = Load(at, kBehindTaps, i, byte);
        }
        return behind;
    }
#endif
};

#if HWY_TARGET != HWY_SCALAR
/// Lines with a vector at either end that may overlap its neighbour, which takes less than steps there. What
/// such a one reads is read before the loop writes there. With `kAhead` the foreground of a vector is made
/// while the one before it goes over the background: either alone leaves gaps between its instructions.
template <class K>
HWY_NOINLINE HWY_ATTR void LinesOfPixels(const K& kernel, const MovedJob& job) {
    constexpr std::size_t kLanes = kVectorBytes / 4;
    const K local = kernel;
    const std::size_t columns = job.width, last = columns - kLanes;
    const std::size_t bands = simd::HWY_NAMESPACE::LinesOf<K>::Bands(job.height);
    for (std::size_t band = 0; band < bands; ++band) {
        const typename K::Place at = simd::HWY_NAMESPACE::PlaceOf<K, false>(job, job.height, band);
        const auto first = local.Finish(local.Behind(at, 0), local.Begin(at, 0));
        const auto lastBehind = local.Behind(at, 4 * last);
        const std::size_t head = ColumnsToBoundary<K>(at.out[0][0]);
        std::size_t x = head == 0 ? kLanes : std::min(head, kLanes);
        if constexpr (K::kAhead) {
            auto begun = local.Begin(at, 4 * x);
            for (; x + 2 * kLanes <= columns; x += kLanes) {
                const auto next = local.Begin(at, 4 * (x + kLanes));
                local.Finish(local.Behind(at, 4 * x), begun).Store(at.out[0], 4 * x);
                begun = next;
            }
            local.Finish(local.Behind(at, 4 * x), begun).Store(at.out[0], 4 * x);
            x += kLanes;
        } else {
            for (; x + kLanes <= columns; x += kLanes) {
                local.Finish(local.Behind(at, 4 * x), local.Begin(at, 4 * x)).Store(at.out[0], 4 * x);
            }
        }
        if (x != columns) {
            local.Finish(lastBehind, local.Begin(at, 4 * last)).Store(at.out[0], 4 * last);
        }
        first.Store(at.out[0], 0);
    }
}
/// False where lines are too short, or not what LinesOfPixels can do.
template <class K>
HWY_ATTR bool WalkLinesOfPixels(const K& kernel, const MovedJob& job) {
    if (job.width < 2 * (kVectorBytes / 4) || job.height == 0 || OverlapOf<K>(job) > Overlap::kSame ||
        !LiesInside<K>(job)) {
        return false;
    }
    LinesOfPixels(kernel, job);
    return true;
}
/// Rows that touch, around the cache but for the ends of all. `Step` makes the first pixel of each of them
/// with what is not before it, so that it is made again.
template <class K>
HWY_NOINLINE HWY_ATTR bool StreamedRows(const K& kernel, const typename K::Place& place,
                                        std::size_t columns) {
    const typename K::Place at = place;
    const K local = kernel;
    const std::size_t rowColumns = kernel.shares.joined;
    std::uint8_t* const out = at.out[0][0];
    alignas(64) std::uint8_t made[4 * K::kStep];
    const auto makeAside = [&](std::size_t from) HWY_ATTR {
        typename K::Place aside = at;
        for (auto& rows : aside.in) {
            rows[0] = rows[0] == nullptr ? nullptr : rows[0] + 4 * from;
        }
        aside.out[0][0] = made;
        kernel.Step(aside, 0, PutInCache{});
        const std::size_t first = (rowColumns - from % rowColumns) % rowColumns;
        if (first < K::kStep) {
            kernel.FirstUnit(aside, first, made + 4 * first);
        }
    };
    std::size_t x = ColumnsToBoundary<K>(out);
    makeAside(0);
    std::memcpy(out, made, 4 * x);
    std::size_t next = x == 0 ? 0 : rowColumns;
    for (; x + K::kStep <= columns; x += K::kStep) {
        if (next < x + K::kStep) {
            makeAside(x);
            for (std::size_t byte = 0; byte < sizeof made; byte += kVectorBytes) {
                PutAroundCache{}(DU8(), hn::Load(DU8(), made + byte), out + 4 * x + byte);
            }
            next += rowColumns;
        } else {
            local.Step(at, x, PutAroundCache{});
        }
    }
    makeAside(columns - K::kStep);
    std::memcpy(out + 4 * x, made + 4 * (K::kStep - (columns - x)), 4 * (columns - x));
    hwy::FlushStream();
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
    [[maybe_unused]] static constexpr bool kInLines = !joined;

    void Unit(const Place& at, std::size_t x) const { Base::PremultipliedUnit(at, 0, x); }

#if HWY_TARGET != HWY_SCALAR
    static constexpr bool kAhead = kMixesAhead && (taps == 2 || coarse);
    static constexpr std::size_t kVectors = 2;  // more do not find registers
    static constexpr std::size_t kStep = kVectors * kVectorBytes / 4;

    HWY_INLINE HWY_ATTR LineVectors<1> Begin(const Place& at, std::size_t byte) const {
        VU8 in[taps];
        Base::Load(at, byte, in);
        if constexpr (coarse) {
            return {{MixCoarsely<taps>(in, Base::shares)}};
        } else {
            return {{MixBytesOf<taps>(in, Base::shares)}};
        }
    }
    HWY_INLINE HWY_ATTR LineVectors<1> Finish(const LineVectors<1>& behind, const LineVectors<1>& f) const {
        return behind.Under(f);
    }
    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        VU8 made[kVectors];
        for (std::size_t i = 0; i < kVectors; ++i) {
            const std::size_t byte = 4 * x + i * kVectorBytes;
            made[i] = Finish(Base::Behind(at, byte), Begin(at, byte)).line[0];
        }
        for (std::size_t i = 0; i < kVectors; ++i) {
            put(DU8(), made[i], at.out[0][0] + 4 * x + i * kVectorBytes);
        }
    }
    HWY_ATTR bool Row(const Place& at, std::size_t columns) const {
        return !joined && Base::shares.joined != 0 && StreamedRows(*this, at, columns);
    }
#endif
};

/// Two lines with coarse shares of four taps, of which what is above the second line (taps 2 and 3) is what
/// the first one has in hand.
struct MovedLines32 : OverMoved<4, 2> {
    using Lines = simd::LinePairs;
    [[maybe_unused]] static constexpr bool kStaysInCache = true, kInLines = true;

    void Unit(const Place& at, std::size_t x) const {
        PremultipliedUnit(at, 0, x);
        PremultipliedUnit(at, 1, x);
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr bool kAhead = kMixesAhead;
    static constexpr std::size_t kStep = kVectorBytes / 4;

    HWY_INLINE HWY_ATTR LineVectors<2> Begin(const Place& at, std::size_t byte) const {
        const auto sums = [&](std::size_t tap, std::size_t line) HWY_ATTR {
            return CoarseSums(Load(at, tap, line, byte), Load(at, tap + 1, line, byte), shares);
        };
        const CoarseSums between = sums(0, 0);
        return {{between.Towards(sums(2, 0), shares).Mean(), sums(0, 1).Towards(between, shares).Mean()}};
    }
    HWY_INLINE HWY_ATTR LineVectors<2> Finish(const LineVectors<2>& behind, const LineVectors<2>& f) const {
        return behind.Under(f);
    }
    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        const LineVectors<2> made = Finish(Behind(at, 4 * x), Begin(at, 4 * x));
        for (std::size_t i = 0; i < 2; ++i) {
            put(DU8(), made.line[i], at.out[0][i] + 4 * x);
        }
    }
#endif
};

template <std::size_t taps, bool coarse>
struct MovedStraight32 : OverMoved<taps> {
    using Base = OverMoved<taps>;
    using typename Base::Place;
    [[maybe_unused]] static constexpr bool kStaysInCache = true, kInLines = true;

    void Unit(const Place& at, std::size_t x) const {
        std::uint8_t f[4];
        Base::template MixUnit<false>(at, 0, x, f);
        UnitePixel(at.in[kBehindTaps][0] + 4 * x, f, at.out[0][0] + 4 * x);
    }

#if HWY_TARGET != HWY_SCALAR
    static constexpr bool kAhead = false;
    static constexpr std::size_t kStep = kVectorBytes / 4;

    /// The taps; what follows depends on them.
    struct Taps {
        VU8 in[taps];
    };
    HWY_INLINE HWY_ATTR Taps Begin(const Place& at, std::size_t byte) const {
        Taps begun;
        Base::Load(at, byte, begun.in);
        return begun;
    }
    HWY_INLINE HWY_ATTR LineVectors<1> Finish(const LineVectors<1>& behind, const Taps& begun) const {
        const DU8 d;
        const auto& in = begun.in;
        const VU8 b = behind.line[0];
        const StraightPixels<taps, coarse> f(in, Base::shares);
        if (f.IsFlat()) {
            const VI32 isOpaque = hn::VecFromMask(DI32(), f.IsOpaque());
            return {{hn::IfVecThenElse(hn::BitCast(d, isOpaque), MixBytesOf<taps>(in, Base::shares), b)}};
        }
        const VU32 alpha = f.Alpha();
        return {{UnitePixels(b, f.Pixels(alpha), alpha)}};
    }
    template <class Put>
    HWY_INLINE HWY_ATTR void Step(const Place& at, std::size_t x, Put put) const {
        put(DU8(), Finish(Base::Behind(at, 4 * x), Begin(at, 4 * x)).line[0], at.out[0][0] + 4 * x);
    }
#endif
};

template <class Moved>
void WalkMoved(const MovedJob& job, const MixShares& shares, const TapsBefore& before = {}) {
    Moved moved;
    moved.shares = shares;
    moved.before = before;
#if HWY_TARGET != HWY_SCALAR
    if constexpr (Moved::kInLines) {
        if (shares.joined == 0 && WalkLinesOfPixels(moved, job)) {
            return;
        }
    }
#endif
    Walk(moved, job);
}

MixShares ArrangedPixels(MovedJob& job, TapsBefore& before, const MixShares& shares) {
    before = {false, true, false, true};
    return Arranged(shares.OfLuma(), [&](std::size_t a, std::size_t b) {
        std::swap(job.source[a], job.source[b]);
        std::swap(before[a], before[b]);
    });
}

/// Whether taps 0 and 1 have in a line what taps 2 and 3 have in the next one.
bool LinesShareTaps(const MovedJob& job) {
    const auto meets = [&job](std::size_t tap) {
        const Plane &here = job.source[tap], &above = job.source[tap + 2];
        return here.pitch == above.pitch && here.first == above.first + above.pitch;
    };
    return meets(0) && meets(1);
}

MovedJob UpsideDown(MovedJob job) {
    const auto turn = [&job](Plane& plane) {
        plane.first = plane.Row(job.height - 1);
        plane.pitch = -plane.pitch;
    };
    std::for_each(job.source.begin(), job.source.end(), turn);
    turn(job.destination[0]);
    return job;
}

/// Lines in pairs where they share taps, and what is left of the job; its shares are coarse.
MovedJob WalkLinePairs(MovedJob job, const MixShares& shares) {
    if (job.height < 2 || OverlapOf<MovedLines32>(job) > Overlap::kSame || !LiesInside<MovedLines32>(job)) {
        return job;
    }
    // The row with the larger share comes first: with a share above a half lines go up.
    if (!LinesShareTaps(job)) {
        job = UpsideDown(job);
    }
    if (LinesShareTaps(job)) {
        const MovedJob all = job;
        job.height &= ~std::size_t{1};
        WalkMoved<MovedLines32>(job, shares);
        job = all;
        for (Plane& plane : job.source) {
            plane.first = plane.Row(all.height & ~std::size_t{1});
        }
        job.destination[0].first = job.destination[0].Row(all.height & ~std::size_t{1});
        job.height = all.height & 1;
    }
    return job;
}

void RunMovedPremultiplied32(const MovedJob& given, const MixShares& givenShares) {
    MovedJob job = given;
    TapsBefore before;
    const MixShares shares = ArrangedPixels(job, before, givenShares);
    const bool isCoarse = shares.IsCoarse(), isJoined = shares.joined != 0;
    if (shares.taps == 4) {
        if (isCoarse && !isJoined) {
            job = WalkLinePairs(job, shares);
        }
        isCoarse ? WalkMoved<MovedPremultiplied32<4, true, false>>(job, shares, before)
                 : WalkMoved<MovedPremultiplied32<4, false, false>>(job, shares, before);
    } else if (!isJoined && job.destination[0].pitch == static_cast<std::ptrdiff_t>(4 * job.width)) {
        isCoarse ? WalkMoved<MovedPremultiplied32<2, true, true>>(job, shares)
                 : WalkMoved<MovedPremultiplied32<2, false, true>>(job, shares);
    } else {
        isCoarse ? WalkMoved<MovedPremultiplied32<2, true, false>>(job, shares, before)
                 : WalkMoved<MovedPremultiplied32<2, false, false>>(job, shares, before);
    }
}
void RunMovedStraight32(const MovedJob& given, const MixShares& givenShares) {
    MovedJob job = given;
    TapsBefore before;
    const MixShares shares = ArrangedPixels(job, before, givenShares);
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
