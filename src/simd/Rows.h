#ifndef TESSELU_SRC_SIMD_ROWS_H
#define TESSELU_SRC_SIMD_ROWS_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace Zan::simd {

/// A plane that a kernel reads or writes: the start of its first row and the signed distance between rows.
struct ReadPlane {
    const std::uint8_t* row = nullptr;
    std::ptrdiff_t pitch = 0;
};
struct WritePlane {
    std::uint8_t* row = nullptr;
    std::ptrdiff_t pitch = 0;
};

/// A rectangle of work for a row kernel: `units` times `rows` of whatever the kernel makes in one go (a byte,
/// a pixel, a pair of pixels), out of `Sources` planes into one.
template <std::size_t Sources>
struct RowJob {
    std::array<ReadPlane, Sources> source;
    WritePlane destination;
    std::size_t units = 0;
    std::size_t rows = 0;
    bool stream = false;  ///< write around the cache

    /// The same rows, without their first `count` units.
    template <class Layout>
    RowJob From(std::size_t count) const noexcept {
        RowJob rest = *this;
        for (std::size_t i = 0; i < Sources; ++i)
            if (rest.source[i].row != nullptr)
                rest.source[i].row += count * Layout::kSourceBytes[i];
        rest.destination.row += count * Layout::kDestinationBytes;
        rest.units -= count;
        return rest;
    }

    /// When every row ends where the next one starts, all rows are one.
    template <class Layout>
    void JoinRows() noexcept {
        if (rows < 2)
            return;
        const auto joined = [this](std::ptrdiff_t pitch, std::size_t bytes) {
            return pitch > 0 && static_cast<std::size_t>(pitch) == units * bytes;
        };
        for (std::size_t i = 0; i < Sources; ++i)
            if (source[i].row != nullptr && !joined(source[i].pitch, Layout::kSourceBytes[i]))
                return;
        if (!joined(destination.pitch, Layout::kDestinationBytes))
            return;
        units *= rows;
        rows = 1;
    }
};

/// True when a call that moves `bytes` in all should write around the cache. Up to half of the last-level
/// cache the next operation still finds there what this one wrote, and loses a third of its time if not;
/// beyond that the lines are gone by then, and fetching them only to overwrite them is wasted.
bool ExceedsCache(std::size_t bytes) noexcept;

/// Overrides the answer of `ExceedsCache` (tests): 0 never, 1 always, -1 by size.
void ForceStreaming(int mode) noexcept;

}  // namespace Zan::simd

#endif  // TESSELU_SRC_SIMD_ROWS_H
