#ifndef TESSELU_SRC_SIMD_LINES_H
#define TESSELU_SRC_SIMD_LINES_H

#include <cstddef>

namespace Zan::simd {

// Which lines of a picture a kernel takes together, as a band. `Line(band, i)` is line i of a band; in planes
// of half height the band's number is the row. A band whose second line lies beyond the picture has the first
// one twice.

struct SingleLines {
    static constexpr std::size_t kLines = 1;
    /// A picture may be cut into strips at every multiple of it.
    static constexpr std::size_t kPeriod = 1;
    /// From a row of half height to the one above that belongs to the same field.
    static constexpr std::size_t kRowStep = 1;
    static constexpr std::size_t Bands(std::size_t height) noexcept { return height; }
    static constexpr std::size_t Line(std::size_t band, std::size_t) noexcept { return band; }
};

/// Neighbouring lines: 4:2:0 of a progressive picture or of one field.
struct LinePairs {
    static constexpr std::size_t kLines = 2;
    static constexpr std::size_t kPeriod = 2;
    static constexpr std::size_t kRowStep = 1;
    static constexpr std::size_t Bands(std::size_t height) noexcept { return height / 2 + height % 2; }
    static constexpr std::size_t Line(std::size_t band, std::size_t i) noexcept { return 2 * band + i; }
};

/// Neighbouring lines of the same field: 4:2:0 of an interlaced frame. Bands 2k and 2k + 1 are lines 4k and
/// 4k + 2, and 4k + 1 and 4k + 3.
struct FieldLinePairs {
    static constexpr std::size_t kLines = 2;
    static constexpr std::size_t kPeriod = 4;
    static constexpr std::size_t kRowStep = 2;
    static constexpr std::size_t Bands(std::size_t height) noexcept {
        return height / 4 * 2 + (height % 4 < 2 ? height % 4 : 2);
    }
    static constexpr std::size_t Line(std::size_t band, std::size_t i) noexcept {
        return band / 2 * 4 + band % 2 + 2 * i;
    }
};

}  // namespace Zan::simd

#endif  // TESSELU_SRC_SIMD_LINES_H
