// What a kernel declares of its planes, and what follows from that for a job: rows, bounds, overlaps.

#if defined(TESSELU_SRC_SIMD_KERNELPLANES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TESSELU_SRC_SIMD_KERNELPLANES_INL_H
#undef TESSELU_SRC_SIMD_KERNELPLANES_INL_H
#else
#define TESSELU_SRC_SIMD_KERNELPLANES_INL_H
#endif

#include <algorithm>
#include <type_traits>
#include <utility>

#include "simd/Job.h"
#include "simd/Lines.h"

HWY_BEFORE_NAMESPACE();
namespace Zan::simd {
namespace HWY_NAMESPACE {

template <class K>
struct LinesOfKernel {
    using Type = SingleLines;
};
template <class K>
requires requires {
    typename K::Lines;
}
struct LinesOfKernel<K> {
    using Type = typename K::Lines;
};
template <class K>
using LinesOf = typename LinesOfKernel<K>::Type;

template <class K>
constexpr std::size_t UnitOf() {
    if constexpr (requires { K::kUnit; }) {
        return K::kUnit;
    } else {
        return 1;
    }
}

/// Columns of a vector step; 0 for kernels without.
template <class K>
constexpr std::size_t StepOf() {
    if constexpr (requires { K::kStep; }) {
        return K::kStep;
    } else {
        return 0;
    }
}

/// A plane use as a type, so that loops over planes see constants.
template <class K, std::size_t I>
struct SourceUse {
    static constexpr PlaneUse kUse = K::kSources[I];
};
template <class K, std::size_t I>
struct DestinationUse {
    static constexpr PlaneUse kUse = K::kDestinations[I];
};

template <class K, class Visit>
HWY_INLINE constexpr void ForEachSource(const Visit& visit) {
    [&]<std::size_t... I>(std::index_sequence<I...>) {
        (visit(SourceUse<K, I>{}), ...);
    }
    (std::make_index_sequence<std::size(K::kSources)>{});
}
template <class K, class Visit>
HWY_INLINE constexpr void ForEachDestination(const Visit& visit) {
    [&]<std::size_t... I>(std::index_sequence<I...>) {
        (visit(DestinationUse<K, I>{}), ...);
    }
    (std::make_index_sequence<std::size(K::kDestinations)>{});
}

template <class K>
constexpr std::size_t LargestOf(std::size_t PlaneUse::*member, std::size_t least) {
    for (const PlaneUse& use : K::kSources) {
        least = std::max(least, use.*member);
    }
    for (const PlaneUse& use : K::kDestinations) {
        least = std::max(least, use.*member);
    }
    return least;
}

/// Columns that a step may start at a multiple of.
template <class K>
constexpr std::size_t kGranularity = LargestOf<K>(&PlaneUse::columns, UnitOf<K>());

template <class K>
constexpr bool kIsWindow = LargestOf<K>(&PlaneUse::left, 0) + LargestOf<K>(&PlaneUse::right, 0) +
                               LargestOf<K>(&PlaneUse::above, 0) + LargestOf<K>(&PlaneUse::below, 0) !=
                           0;
template <class K>
constexpr std::size_t LeftOf() {
    return LargestOf<K>(&PlaneUse::left, 0);
}
template <class K>
constexpr std::size_t RightOf() {
    return LargestOf<K>(&PlaneUse::right, 0);
}

/// Whether rows that touch may be walked as one.
template <class K>
constexpr bool kRowsJoin = !requires {
    &K::Columns;
}
&&!requires {
    requires !K::kRowsJoin;
};

template <class K>
constexpr bool kReduces = std::size(K::kDestinations) == 0;

// ---- Planes -------------------------------------------------------------------------------------------

/// The row of a plane that line `i` of a band takes, `height` being that of the picture.
template <class K>
constexpr std::size_t RowOf(const PlaneUse& use, std::size_t band, std::size_t i, std::size_t height) {
    using Lines = LinesOf<K>;
    if (use.halfHeight) {
        return band;
    }
    return Lines::Line(band, i) < height ? Lines::Line(band, i) : Lines::Line(band, 0);
}

/// Rows of a plane in a picture of `height` lines.
template <class K>
constexpr std::size_t RowsOf(const PlaneUse& use, std::size_t height) {
    return use.halfHeight ? LinesOf<K>::Bands(height) : height;
}

/// Row `i` of a source's window: lines above, the lines of the band, lines below. Beyond the picture, and
/// beyond the memory of a clamped plane, the nearest one.
template <class K>
HWY_INLINE std::size_t WindowRow(const PlaneUse& use, const Plane& plane, std::size_t band, std::size_t i,
                                 std::size_t height) {
    constexpr std::size_t kLines = LinesOf<K>::kLines;
    std::size_t row = RowOf<K>(use, band, i < use.above ? 0 : std::min(i - use.above, kLines - 1), height);
    if (i < use.above) {
        row -= std::min(use.above - i, row);
    } else if (i >= use.above + kLines) {
        row = std::min(row + (i - use.above - kLines + 1), RowsOf<K>(use, height) - 1);
    }
    if (use.isClamped) {
        while (row != 0 && plane.Clip(1, row) == 0) {
            row -= std::min(row, use.halfHeight ? LinesOf<K>::kRowStep : 1);
        }
    }
    return row;
}

/// The rows in hand of a picture of `height` lines. `Clamp` is false where the memory is known to hold them
/// all.
template <class K, bool Clamp, class J>
HWY_INLINE typename K::Place PlaceOf(const J& job, std::size_t height, std::size_t band) {
    typename K::Place place;
    ForEachSource<K>([&](auto use) {
        constexpr const PlaneUse& kUse = decltype(use)::kUse;
        constexpr std::size_t kRows = kUse.above + LinesOf<K>::kLines + kUse.below;
        const Plane& plane = job.source[kUse.index];
        for (std::size_t i = 0; i < kRows; ++i) {
            if (!kUse.mayBeMissing || plane.first != nullptr) {
                const std::size_t row = Clamp || kRows != LinesOf<K>::kLines
                                            ? WindowRow<K>(kUse, plane, band, i, height)
                                            : RowOf<K>(kUse, band, i, height);
                place.in[kUse.index][i] = plane.Row(row);
            }
        }
    });
    ForEachDestination<K>([&](auto use) {
        constexpr const PlaneUse& kUse = decltype(use)::kUse;
        for (std::size_t i = 0; i < LinesOf<K>::kLines; ++i) {
            place.out[kUse.index][i] = job.destination[kUse.index].Row(RowOf<K>(kUse, band, i, height));
        }
    });
    return place;
}

template <class K, class J, class Visit>
HWY_INLINE void ForEachPlane(const J& job, const Visit& visit) {
    ForEachSource<K>([&](auto use) {
        constexpr const PlaneUse& kUse = decltype(use)::kUse;
        if (!kUse.mayBeMissing || job.source[kUse.index].first != nullptr) {
            visit(use, job.source[kUse.index]);
        }
    });
    ForEachDestination<K>([&](auto use) {
        constexpr const PlaneUse& kUse = decltype(use)::kUse;
        visit(use, job.destination[kUse.index]);
    });
}

/// True when every row of every plane lies inside its memory.
template <class K, class J>
bool LiesInside(const J& job) {
    if (job.isInside) {
        return true;
    }
    bool inside = true;
    ForEachPlane<K>(job, [&](auto use, const Plane& plane) {
        constexpr const PlaneUse& kUse = decltype(use)::kUse;
        // Without bounds there is nothing to test; without memory there is nothing.
        if (plane.IsBounded() || plane.first == nullptr) {
            inside = inside && plane.Holds(kUse.RowBytes(job.width), RowsOf<K>(kUse, job.height));
        }
    });
    return inside;
}

/// How the destinations of a job lie to its sources.
enum class Overlap {
    kNone,     ///< no byte is shared
    kSame,     ///< what is shared starts at the same byte, row after row
    kShifted,  ///< nothing is written that the same step or a later one of the row still has to read
    kAhead,    ///< something may be: made column after column
};

template <class K, class J>
Overlap OverlapOf(const J& job) {
    struct Span {
        std::uintptr_t low, high;
    };
    const auto span = [&job](const PlaneUse& use, const Plane& plane) {
        const auto last = static_cast<std::ptrdiff_t>(RowsOf<K>(use, job.height) - 1) * plane.pitch;
        const auto first = reinterpret_cast<std::uintptr_t>(plane.first);
        const auto end = first + static_cast<std::uintptr_t>(last);
        return Span{std::min(first, end), std::max(first, end) + use.BytesUp(job.width)};
    };
    // How many bytes right of its source a destination lies, least and most: in the first and the last row,
    // in the first and behind the last column.
    const auto ahead = [&job](const PlaneUse& use, const Plane& from, const PlaneUse& toUse,
                              const Plane& to) {
        const auto rows = [&job](const PlaneUse& of, const Plane& plane) {
            return static_cast<std::ptrdiff_t>(RowsOf<K>(of, job.height) - 1) * plane.pitch;
        };
        const auto first = static_cast<std::ptrdiff_t>(reinterpret_cast<std::uintptr_t>(to.first) -
                                                       reinterpret_cast<std::uintptr_t>(from.first));
        const std::ptrdiff_t down = rows(toUse, to) - rows(use, from);
        const auto along = static_cast<std::ptrdiff_t>(toUse.BytesUp(job.width) - use.BytesUp(job.width));
        return std::pair{first + std::min<std::ptrdiff_t>(down, 0) + std::min<std::ptrdiff_t>(along, 0),
                         first + std::max<std::ptrdiff_t>(down, 0) + std::max<std::ptrdiff_t>(along, 0)};
    };
    Overlap overlap = Overlap::kNone;
    ForEachSource<K>([&](auto source) {
        constexpr const PlaneUse& kFrom = decltype(source)::kUse;
        const Plane& from = job.source[kFrom.index];
        if (kFrom.mayBeMissing && from.first == nullptr) {
            return;
        }
        const Span a = span(kFrom, from);
        ForEachDestination<K>([&](auto destination) {
            constexpr const PlaneUse& kTo = decltype(destination)::kUse;
            const Plane& to = job.destination[kTo.index];
            const Span b = span(kTo, to);
            if (a.low < b.high && b.low < a.high) {
                constexpr std::size_t kRead = StepOf<K>() == 0 ? 0 : StepOf<K>() + RightOf<K>();
                const auto [least, most] = ahead(kFrom, from, kTo, to);
                if (most == 0 && least == 0 && kFrom.bytesPer16 == kTo.bytesPer16 && !kIsWindow<K>) {
                    overlap = std::max(overlap, Overlap::kSame);
                } else if (LinesOf<K>::kLines == 1 &&
                           (most <= -static_cast<std::ptrdiff_t>(kFrom.Bytes(kFrom.left)) ||
                            least >= static_cast<std::ptrdiff_t>(kFrom.Bytes(kRead)))) {
                    overlap = std::max(overlap, Overlap::kShifted);
                } else {
                    overlap = Overlap::kAhead;
                }
            }
        });
    });
    return overlap;
}

/// How much of a job's picture is walked, and in how many rows.
struct Extent {
    std::size_t width, height;
    std::size_t whole;  ///< of the width; see `Job`
};

/// The picture of a job; as a single row when every row ends where the next one starts. Where source and
/// destination overlap with a shift, rows stay apart: line after line is what a caller sees.
template <class K, class J>
HWY_INLINE Extent JoinedRows(const J& job, std::size_t whole, Overlap overlap) {
    if constexpr (LinesOf<K>::kLines == 1 && !kIsWindow<K> && kRowsJoin<K>) {
        bool joined = job.height > 1 && whole == job.width && overlap <= Overlap::kSame;
        ForEachPlane<K>(job, [&](auto use, const Plane& plane) {
            constexpr const PlaneUse& kUse = decltype(use)::kUse;
            joined =
                joined && plane.pitch > 0 && static_cast<std::size_t>(plane.pitch) == kUse.Bytes(job.width);
        });
        if (joined) {
            return {job.width * job.height, 1, job.width * job.height};
        }
    }
    return {job.width, job.height, whole};
}

template <class K, class J>
std::size_t BytesMoved(const J& job) {
    std::size_t bytes = 0;
    ForEachPlane<K>(job, [&](auto use, const Plane&) {
        constexpr const PlaneUse& kUse = decltype(use)::kUse;
        bytes += kUse.Bytes(job.width) * RowsOf<K>(kUse, job.height);
    });
    return bytes;
}

}  // namespace HWY_NAMESPACE
}  // namespace Zan::simd
HWY_AFTER_NAMESPACE();

#endif  // include guard
