#ifndef TESSELU_SRC_TONE_COLOURLATTICE_H
#define TESSELU_SRC_TONE_COLOURLATTICE_H

#include <TesselU/foundation/Types.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Zan {

struct CubeTable;

/// Parts of a cell: a multiple of 255, so that positions in the default domain are whole numbers.
inline constexpr std::uint32_t kCellParts = 64 * 255;

/// What colours become: a lattice of points, or three curves. Channels are in memory order: blue, green, red.
struct ColourLattice {
    /// A point in 16 bits a channel, less `bias`.
    using Point = std::array<std::int16_t, 4>;

    std::string title;
    ULong32 dimensions = 0;  ///< 1: `curves`, 3: the rest
    ULong32 size = 0;        ///< points of a side

    std::uint8_t curves[3][256] = {};

    /// Red is fastest. Behind the last point there is one more layer, row and point, so that the point one
    /// step on along each axis can be read, with weight 0, where there is none; and one that is read along.
    std::vector<Point> points;
    /// From a point to the next along each axis.
    std::uint32_t step[3] = {};
    /// Where samples stand: the part of the point's index, and how far into the cell.
    std::uint32_t origin[3][256] = {};
    std::uint32_t fraction[3][256] = {};
    /// True when the samples of all axes stand at sample * (size - 1) / 255.
    bool hasDefaultDomain = false;
    /// Values have 2^exponent steps; of a weighted sum of them (value + addend) >> shift is the result.
    int shift = 0;
    std::int32_t addend = 0;

    /// Throws std::bad_alloc.
    explicit ColourLattice(const CubeTable& table);

private:
    void MakeCurves(const CubeTable& table, int exponent);
    void MakePoints(const CubeTable& table, int exponent);
};

}  // namespace Zan

#endif  // TESSELU_SRC_TONE_COLOURLATTICE_H
