#include "tone/ColourLattice.h"

#include <algorithm>
#include <cmath>

#include "tone/CubeText.h"
#include "tone/kernels/LatticeFormula.h"

namespace Zan {
namespace {

constexpr int kFinestExponent = 15;
constexpr int kCoarsestExponent = 10;

/// The channel of a row, which starts with red, that memory has at place `i`.
constexpr std::size_t InRow(std::size_t i) noexcept {
    return 2 - i;
}

/// The finest exponent with which all values, less the bias, fit 16 bits.
int ExponentFor(const std::vector<float>& values) noexcept {
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    int exponent = kFinestExponent;
    while (exponent > kCoarsestExponent && !(Fits(*least, exponent) && Fits(*most, exponent))) {
        --exponent;
    }
    return exponent;
}

/// Where sample `v` stands on an axis: 0 ... kCellParts * (size - 1).
std::uint32_t PositionOf(unsigned v, ULong32 size, double low, double high) noexcept {
    const double along = (v / 255.0 - low) / (high - low);
    // Also right for a quotient that is infinite.
    const double inside = !(along > 0.0) ? 0.0 : (along < 1.0 ? along : 1.0);
    return static_cast<std::uint32_t>(std::floor(inside * (double{kCellParts} * (size - 1)) + 0.5));
}

}  // namespace

ColourLattice::ColourLattice(const CubeTable& table)
    : title(table.title), dimensions(table.dimensions), size(table.size) {
    const int exponent = ExponentFor(table.values);
    shift = ShiftFor(exponent);
    addend = AddendFor(exponent);
    if (dimensions == 1) {
        MakeCurves(table, exponent);
    } else {
        MakePoints(table, exponent);
    }
}

void ColourLattice::MakeCurves(const CubeTable& table, int exponent) {
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t channel = InRow(i);
        for (unsigned v = 0; v < 256; ++v) {
            const std::uint32_t position = PositionOf(v, size, table.low[channel], table.high[channel]);
            const std::size_t from = position / kCellParts;
            const std::size_t to = std::min(from + 1, std::size_t{size} - 1);
            const auto part = static_cast<std::int32_t>(position % kCellParts);
            const std::int32_t sum = (static_cast<std::int32_t>(kCellParts) - part) *
                                         StoredValue(table.values[3 * from + channel], exponent) +
                                     part * StoredValue(table.values[3 * to + channel], exponent);
            curves[i][v] = ToSample(sum, addend, shift);
        }
    }
}

void ColourLattice::MakePoints(const CubeTable& table, int exponent) {
    step[2] = 1;
    step[1] = size;
    step[0] = size * size;
    const std::size_t rows = table.Rows();
    points.resize(rows + step[0] + step[1] + step[2] + 1);
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t i = 0; i < 3; ++i) {
            points[row][i] = StoredValue(table.values[3 * row + InRow(i)], exponent);
        }
    }
    hasDefaultDomain = true;
    for (std::size_t i = 0; i < 3; ++i) {
        for (unsigned v = 0; v < 256; ++v) {
            const std::uint32_t position = PositionOf(v, size, table.low[InRow(i)], table.high[InRow(i)]);
            origin[i][v] = position / kCellParts * step[i];
            fraction[i][v] = position % kCellParts;
            hasDefaultDomain = hasDefaultDomain && position == 64 * v * (size - 1);
        }
    }
}

}  // namespace Zan
