#ifndef TESSELU_SRC_SIMD_JOB_H
#define TESSELU_SRC_SIMD_JOB_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "foundation/Plane.h"

namespace Zan::simd {

/// How a kernel uses a plane. Columns are pixels, or bytes where a kernel treats all samples alike.
struct PlaneUse {
    std::size_t index = 0;        ///< of the plane, in the job and in `Place`
    std::size_t bytesPer16 = 16;  ///< bytes that 16 columns take
    /// Least number of columns that are whole bytes or belong together, a power of two: who asks at run time
    /// shall not divide.
    std::size_t columns = 1;
    bool halfHeight = false;    ///< one row serves all lines that a kernel takes together
    bool mayBeMissing = false;  ///< a source without memory, which the kernel looks for
    /// What the memory lacks is not refused or left out: a source repeats its last sample, a destination is
    /// not written there.
    bool isClamped = false;
    /// Surroundings that a window reads. Beyond the picture columns are 0, rows the nearest one.
    std::size_t left = 0, right = 0, above = 0, below = 0;

    constexpr std::size_t Bytes(std::size_t count) const noexcept {
        return bytesPer16 >= 16 ? count * (bytesPer16 / 16) : count * bytesPer16 / 16;
    }
    /// The same, with columns that belong together counted whole.
    constexpr std::size_t BytesUp(std::size_t count) const noexcept {
        return Bytes((count + columns - 1) & ~(columns - 1));
    }
    /// The same for a width that nobody has looked at: saturates at SIZE_MAX, which no plane holds.
    constexpr std::size_t RowBytes(std::size_t width) const noexcept {
        return width > SIZE_MAX / bytesPer16 ? SIZE_MAX : BytesUp(width);
    }
    /// How many columns lie whole in the first `bytes` of a row.
    constexpr std::size_t ColumnsIn(std::size_t bytes) const noexcept {
        return bytes / (columns * bytesPer16 / 16) * columns;
    }
};

/// Where a kernel works: the rows of the lines in hand, in each plane. Row `above` of a source is the first
/// of the lines themselves.
template <std::size_t Sources, std::size_t Destinations, std::size_t Lines = 1, std::size_t Rows = Lines>
struct Place {
    static constexpr std::size_t kSources = Sources, kDestinations = Destinations;
    static constexpr std::size_t kLines = Lines, kRows = Rows;

    const std::uint8_t* in[Sources == 0 ? 1 : Sources][Rows] = {};
    std::uint8_t* out[Destinations == 0 ? 1 : Destinations][Lines] = {};
};

/// A rectangle of work for a kernel. The first `whole` columns are made by its vector form or its formula,
/// the rest by its tail.
template <std::size_t Sources, std::size_t Destinations>
struct Job {
    std::array<Plane, Sources> source{};
    std::array<Plane, Destinations> destination{};
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t whole = 0;
    bool isInside = false;  ///< known: every row lies in its memory, so that the walk need not look
};

namespace detail {
/// Calls that move no more are not asked about: smaller than every last-level cache, or as tests have it.
extern std::atomic<std::size_t> alwaysFits;
bool ExceedsLastLevelCache(std::size_t bytes) noexcept;
}  // namespace detail

/// True when a call that moves `bytes` in all should write around the cache. Up to half of the last-level
/// cache the next operation still finds there what this one wrote, and loses a third of its time if not;
/// beyond that the lines are gone by then, and fetching them only to overwrite them is wasted.
inline bool ExceedsCache(std::size_t bytes) noexcept {
    return bytes > detail::alwaysFits.load(std::memory_order_relaxed) && detail::ExceedsLastLevelCache(bytes);
}

/// Overrides the answer of `ExceedsCache` (tests): 0 never, 1 always, -1 by size.
void ForceStreaming(int mode) noexcept;

}  // namespace Zan::simd

#endif  // TESSELU_SRC_SIMD_JOB_H
