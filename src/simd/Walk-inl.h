// The walk of a kernel over its job, for one target. A kernel is a value with
//
//     using Place = simd::Place<...>;                    // the rows in hand
//     static constexpr PlaneUse kSources[], kDestinations[];
//     using Lines = ...;                                 // lines taken together; SingleLines if not named
//     static constexpr std::size_t kUnit;                // columns of a unit; 1 if not named
//     void Unit(const Place&, x) const;                  // the formula: one unit from column x
//     void Tail(const Place&, x, columns) const;         // one of the unit's columns or more beyond
//     Job::whole
//
//     static constexpr std::size_t kStep;                // columns of one vector step
//     template <class Put>
//     void Step(const Place&, x, Put put) const;         // the same as Units on kStep columns
//
//     bool Row(const Place&, columns) const;             // a row in one go; false where that does not pay
//     std::size_t Columns(const Place&, columns) const;  // how many columns a row really has
//     static constexpr bool kStaysInCache;               // true: not worth a form that writes around the
//     cache
//
// of which Tail, Step, Row and Columns are left out where there are none. A step reads all before it writes,
// so that a destination may be one of the sources. A kernel without destinations reduces: its Unit and Step
// are not const and gather in the kernel itself.

#if defined(TESSELU_SRC_SIMD_WALK_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_SIMD_WALK_INL_H
#undef TESSELU_SRC_SIMD_WALK_INL_H
#else
#define TESSELU_SRC_SIMD_WALK_INL_H
#endif

#include <algorithm>
#include <type_traits>

#include "simd/Staging-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Zan::simd {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// ---- One band -----------------------------------------------------------------------------------------

/// Columns from `from` on that are made one unit at a time: by the tail beyond `whole`.
template <class K>
HWY_INLINE void UnitColumns(const K& kernel, const typename K::Place& place, std::size_t from,
                            std::size_t whole, std::size_t width) {
    constexpr std::size_t kUnit = UnitOf<K>();
    std::size_t x = from;
    for (; x < whole; x += kUnit) {
        if constexpr (LeftOf<K>() + RightOf<K>() != 0) {
            if (x < LeftOf<K>() || x + kUnit + RightOf<K>() > width) {
                Staging<K, kUnit> staging;
                kernel.Unit(staging.Fill(place, x, kUnit, width, AllInside()), 0);
                staging.Flush(place, x, kUnit, AllInside());
                continue;
            }
        }
        kernel.Unit(place, x);
    }
    if constexpr (requires { kernel.Tail(place, x, x); }) {
        for (x = std::max(from, whole); x < width; x += kUnit) {
            kernel.Tail(place, x, std::min(kUnit, width - x));
        }
    }
}

#if HWY_TARGET == HWY_SCALAR

template <class K>
constexpr bool kHasStep = false;

#else

template <class K>
constexpr bool kHasStep = requires {
    requires K::kStep != 0;
};

/// How a step hands over what it made.
struct PutInCache {
    template <class D, class V>
    HWY_INLINE HWY_ATTR void operator()(D d, V v, std::uint8_t* to) const {
        hn::StoreU(v, d, to);
    }
};
struct PutAroundCache {
    template <class D, class V>
    HWY_INLINE HWY_ATTR void operator()(D d, V v, std::uint8_t* to) const {
        // Highway streams half a block as a whole one.
        if constexpr (hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) < 16) {
            hn::StoreU(v, d, to);
        } else {
            hn::Stream(v, d, to);
        }
    }
};

constexpr std::size_t kVectorBytes = HWY_LANES(std::uint8_t);

/// Vectors of a step of the plain kernels: whole cache lines, so that what goes around the cache leaves in
/// whole lines, and two of them where registers allow, which feeds wide vectors better.
constexpr std::size_t kLineVectors = kVectorBytes < 32 ? 4 : 128 / kVectorBytes;

/// Makes the vectors of a step by `make(index)`, then stores them one behind the other.
template <class Make, class Put>
HWY_INLINE HWY_ATTR void PutLine(std::uint8_t* out, Put put, Make&& make) {
    using D = hn::ScalableTag<std::uint8_t>;
    hn::Vec<D> made[kLineVectors];
    for (std::size_t i = 0; i < kLineVectors; ++i) {
        made[i] = make(i);
    }
    for (std::size_t i = 0; i < kLineVectors; ++i) {
        put(D(), made[i], out + i * kVectorBytes);
    }
}

/// Bytes of the least number of columns in the first destination, as the product of a power of two and an odd
/// number, 1 or 3.
template <class K>
constexpr std::size_t kColumnBytes = K::kDestinations[0].bytesPer16* kGranularity<K> / 16;
template <class K>
constexpr std::size_t kColumnPower = kColumnBytes<K>&(0 - kColumnBytes<K>);

/// Columns up to the one whose bytes in the first destination start at a vector's boundary; SIZE_MAX if none.
template <class K>
HWY_INLINE std::size_t ColumnsToBoundary(const std::uint8_t* row) {
    constexpr std::size_t kPower = kColumnPower<K>, kOdd = kColumnBytes<K> / kPower;
    static_assert(kOdd == 1 || kOdd == 3);
    const std::size_t bytes = -reinterpret_cast<std::uintptr_t>(row) % kVectorBytes;
    if constexpr (kPower >= kVectorBytes) {
        return bytes == 0 ? 0 : SIZE_MAX;
    } else {
        // 3 * 43 is 1 in every size of vector, so that some number of columns always does.
        return bytes % kPower == 0
                   ? bytes / kPower * (kOdd == 3 ? 43 : 1) % (kVectorBytes / kPower) * kGranularity<K>
                   : SIZE_MAX;
    }
}

/// True when every store of whole steps is aligned, as those around the cache must be: every row starts at,
/// or is brought by a head of whole columns to, an address that is a multiple of the vectors that it gets.
template <class K, class J>
bool CanStream(const J& job, const Extent& extent) {
    if (extent.whole < 4 * K::kStep) {
        return false;
    }
    const std::size_t head = ColumnsToBoundary<K>(job.destination[K::kDestinations[0].index].first);
    bool aligned = head <= K::kStep && K::kDestinations[0].Bytes(K::kStep) >= kVectorBytes;
    constexpr bool kSingle = std::size(K::kDestinations) == 1 && LinesOf<K>::kLines == 1;
    ForEachDestination<K>([&](auto use) {
        constexpr const PlaneUse& kUse = decltype(use)::kUse;
        constexpr std::size_t kChunk = std::min(kVectorBytes, kUse.Bytes(K::kStep));
        // With a single row in hand every row finds its own head.
        constexpr auto kPitch =
            static_cast<std::ptrdiff_t>(kSingle ? std::min(kColumnPower<K>, kChunk) : kChunk);
        const Plane& plane = job.destination[kUse.index];
        aligned = aligned && kUse.Bytes(K::kStep) % kChunk == 0 &&
                  (reinterpret_cast<std::uintptr_t>(plane.first) + kUse.Bytes(head)) % kChunk == 0 &&
                  (extent.height == 1 || plane.pitch % kPitch == 0);
    });
    return aligned;
}

/// One step at either end of a row, apart from the loop so that this exists once.
template <class K>
HWY_NOINLINE HWY_ATTR void EdgeStep(const K& kernel, const typename K::Place place, std::size_t x) {
    kernel.Step(place, x, PutInCache{});
}

/// Fewer columns than a step.
template <class K>
HWY_NOINLINE HWY_ATTR void PartialStep(const K& kernel, const typename K::Place place, std::size_t x,
                                       std::size_t columns, std::size_t width) {
    Staging<K, K::kStep> staging;
    EdgeStep(kernel, staging.Fill(place, x, columns, width, AllInside()), 0);
    staging.Flush(place, x, columns, AllInside());
}

/// The whole columns of a band. Where nothing overlaps columns may be made twice: an unaligned step at either
/// end in place of a partial one. `local` is a copy of the kernel that nobody else can see, so that it stays
/// in registers.
template <class K, class Put>
HWY_INLINE HWY_ATTR void StepColumns(const K& kernel, const K& local, const typename K::Place& place,
                                     std::size_t whole, std::size_t width, Overlap overlap, Put put) {
    constexpr std::size_t kStep = K::kStep;
    // Stores that straddle cache lines cost twice, which pays for a head in longer rows alone; those around
    // the cache are not possible at all.
    constexpr std::size_t kLeastSteps = std::is_same_v<Put, PutInCache> ? 8 : 4;
    // A head of its own length, which nothing is made of twice, costs as much as some 20 such stores.
    constexpr std::size_t kLeastStepsOnSource = 32;
    static_assert(kStep % kGranularity<K> == 0);
    const bool apart = overlap == Overlap::kNone;
    std::size_t x = 0;
    if constexpr (LeftOf<K>() != 0) {
        x = std::min(kStep, whole);
        PartialStep(kernel, place, 0, x, width);
    } else if (whole >= (apart ? kLeastSteps : kLeastStepsOnSource) * kStep) {
        const std::size_t head = ColumnsToBoundary<K>(place.out[K::kDestinations[0].index][0]);
        if (head != 0 && head <= kStep) {
            if (apart) {
                EdgeStep(kernel, place, 0);
            } else {
                PartialStep(kernel, place, 0, head, width);
            }
            x = head;
        }
    }
    for (; x + kStep <= whole && (RightOf<K>() == 0 || x + kStep + RightOf<K>() <= width); x += kStep) {
        local.Step(place, x, put);
    }
    while (x < whole) {
        if (!kIsWindow<K> && apart && whole >= kStep) {
            EdgeStep(kernel, place, whole - kStep);
            return;
        }
        const std::size_t columns = std::min(kStep, whole - x);
        PartialStep(kernel, place, x, columns, width);
        x += columns;
    }
}

#endif  // HWY_TARGET

/// One band of rows that all lie inside.
template <class K, class Put>
HWY_INLINE HWY_ATTR void WalkBand(const K& kernel, [[maybe_unused]] const K& local,
                                  const typename K::Place& place, std::size_t whole, std::size_t width,
                                  [[maybe_unused]] Overlap overlap, [[maybe_unused]] Put put) {
    if constexpr (requires { kernel.Columns(place, width); }) {
        width = kernel.Columns(place, width);
        whole = width;
    }
    if constexpr (requires { kernel.Row(place, width); }) {
        if (kernel.Row(place, width)) {
            return;
        }
    }
    std::size_t done = 0;
#if HWY_TARGET != HWY_SCALAR
    if constexpr (kHasStep<K>) {
        if (whole != 0 && overlap != Overlap::kAhead) {
            StepColumns(kernel, local, place, whole, width, overlap, put);
            done = whole;
        }
    }
#endif
    UnitColumns(kernel, place, done, whole, width);
}

// ---- All bands ----------------------------------------------------------------------------------------

template <class K, class J, class Put>
HWY_NOINLINE HWY_ATTR void WalkBands(const K& kernel, const J& job, const Extent& extent, Overlap overlap,
                                     Put put) {
    const K local = kernel;
    const std::size_t bands = LinesOf<K>::Bands(extent.height);
    for (std::size_t band = 0; band < bands; ++band) {
        WalkBand(kernel, local, PlaceOf<K, false>(job, extent.height, band), extent.whole, extent.width,
                 overlap, put);
    }
}

/// Bands of which the memory does not hold every row in full. A column is made in all planes or in none,
/// clamped planes excepted.
template <class K, class J, class Put>
HWY_NOINLINE HWY_ATTR void WalkClipped(const K& kernel, const J& job, std::size_t jobWhole, Overlap overlap,
                                       Put put) {
    constexpr std::size_t kUnit = UnitOf<K>();
    const std::size_t bands = LinesOf<K>::Bands(job.height);
    for (std::size_t band = 0; band < bands; ++band) {
        std::size_t wanted = job.width;
        if constexpr (requires { kernel.Columns(PlaceOf<K, true>(job, job.height, band), wanted); }) {
            wanted = kernel.Columns(PlaceOf<K, true>(job, job.height, band), wanted);
        }
        std::size_t width = wanted;
        bool complete = true;
        ForEachPlane<K>(job, [&](auto use, const Plane& plane) {
            constexpr const PlaneUse& kUse = decltype(use)::kUse;
            const std::size_t bytes = kUse.RowBytes(wanted);
            for (std::size_t i = 0; i < (kUse.halfHeight ? 1 : LinesOf<K>::kLines); ++i) {
                const std::size_t inside = plane.Clip(bytes, RowOf<K>(kUse, band, i, job.height));
                if (inside >= bytes) {
                    continue;
                }
                if (kUse.isClamped) {
                    complete = false;
                } else {
                    width = std::min(width, kUse.ColumnsIn(inside));
                }
            }
        });
        // Columns that no destination has memory for need not be made.
        std::size_t useful = 0;
        ForEachDestination<K>([&](auto use) {
            constexpr const PlaneUse& kUse = decltype(use)::kUse;
            for (std::size_t i = 0; i < LinesOf<K>::kLines; ++i) {
                const std::size_t inside = job.destination[kUse.index].Clip(
                    kUse.RowBytes(width), RowOf<K>(kUse, band, i, job.height));
                const std::size_t columns =
                    inside == 0 ? 0 : (kUse.ColumnsIn(inside) / kGranularity<K> + 2) * kGranularity<K>;
                useful = std::max(useful, columns);
            }
        });
        width = std::min(width, useful);
        if (width == 0) {
            continue;
        }
        const std::size_t whole =
            width == job.width ? jobWhole : std::min(jobWhole, width) / kGranularity<K> * kGranularity<K>;
        if (complete) {
            if constexpr (requires { &K::Columns; }) {
                UnitColumns(kernel, PlaceOf<K, true>(job, job.height, band), 0, width, width);
            } else {
                WalkBand(kernel, kernel, PlaceOf<K, true>(job, job.height, band), whole, width, overlap, put);
            }
            continue;
        }
        const typename K::Place rows = PlaceOf<K, true>(job, job.height, band);
        const PartlyInside<K, J> inside{job, band};
        for (std::size_t x = 0; x < width; x += kGranularity<K>) {
            const std::size_t columns = std::min(kGranularity<K>, width - x);
            Staging<K, kGranularity<K>> staging;
            const typename K::Place place = staging.Fill(rows, x, columns, job.width, inside);
            for (std::size_t i = 0; i < columns; i += kUnit) {
                if (x + i < whole) {
                    kernel.Unit(place, i);
                } else if constexpr (requires { kernel.Tail(place, i, i); }) {
                    kernel.Tail(place, i, std::min(kUnit, columns - i));
                }
            }
            staging.Flush(rows, x, columns, inside);
        }
    }
}

/// Runs a kernel that writes.
template <class K, class J>
HWY_ATTR void Walk(const K& kernel, const J& job) {
    static_assert(!kReduces<K>);
    if (job.width == 0 || job.height == 0) {
        return;
    }
    const std::size_t whole = std::min(job.whole, job.width) / kGranularity<K> * kGranularity<K>;
    const Overlap overlap = OverlapOf<K>(job);
#if HWY_TARGET == HWY_SCALAR
    const int put = 0;
#else
    constexpr PutInCache put;
#endif
    bool inside = LiesInside<K>(job);
    if constexpr (requires { &K::Columns; }) {
        inside = false;
    }
    if (!inside) {
        WalkClipped(kernel, job, whole, overlap, put);
        return;
    }
    const Extent extent = JoinedRows<K>(job, whole, overlap);
#if HWY_TARGET != HWY_SCALAR
    if constexpr (kHasStep<K> && !requires { requires K::kStaysInCache; }) {
        if (overlap == Overlap::kNone && simd::ExceedsCache(BytesMoved<K>(job)) &&
            CanStream<K>(job, extent)) {
            WalkBands(kernel, job, extent, overlap, PutAroundCache{});
            hwy::FlushStream();
            return;
        }
    }
#endif
    WalkBands(kernel, job, extent, overlap, put);
}

/// Runs a kernel that reads and sums up, over all units of the job that lie inside.
template <class K, class J>
HWY_ATTR void Reduce(K& kernel, const J& job) {
    static_assert(kReduces<K>);
    if (job.width == 0 || job.height == 0) {
        return;
    }
    constexpr std::size_t kUnit = UnitOf<K>();
    const std::size_t whole = job.width / kGranularity<K> * kGranularity<K>;
    const bool inside = LiesInside<K>(job);
    const Extent extent =
        inside ? JoinedRows<K>(job, whole, Overlap::kNone) : Extent{job.width, job.height, whole};
    K local = kernel;
    const std::size_t bands = LinesOf<K>::Bands(extent.height);
    for (std::size_t band = 0; band < bands; ++band) {
        std::size_t columns = extent.whole;
        if (!inside) {
            ForEachPlane<K>(job, [&](auto use, const Plane& plane) {
                constexpr const PlaneUse& kUse = decltype(use)::kUse;
                const std::size_t row = RowOf<K>(kUse, band, 0, job.height);
                columns = std::min(columns, kUse.ColumnsIn(plane.Clip(kUse.RowBytes(columns), row)));
            });
            columns = columns / kGranularity<K> * kGranularity<K>;
            if (columns == 0) {
                continue;
            }
        }
        const typename K::Place place = PlaceOf<K, false>(job, extent.height, band);
        std::size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
        if constexpr (kHasStep<K>) {
            for (; x + K::kStep <= columns; x += K::kStep) {
                local.Step(place, x);
            }
        }
#endif
        for (; x < columns; x += kUnit) {
            local.Unit(place, x);
        }
    }
    kernel = local;
}

}  // namespace HWY_NAMESPACE
}  // namespace Zan::simd
HWY_AFTER_NAMESPACE();

#endif  // include guard
