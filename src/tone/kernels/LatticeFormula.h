#ifndef TESSELU_SRC_TONE_KERNELS_LATTICEFORMULA_H
#define TESSELU_SRC_TONE_KERNELS_LATTICEFORMULA_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "tone/ColourLattice.h"

// Values are kept as value * 2^exponent, less half of 2^exponent so that the middle of the range is 0, in 16
// bits. Weights are parts of a cell: a weighted sum is value * 2^exponent * 64 * 255, less 64 * 255 halves,
// and 255 is also what a value of 1 comes out as, so that nothing needs to be divided.

namespace Zan {

inline bool Fits(double value, int exponent) noexcept {
    const double stored = std::floor(std::ldexp(value, exponent) + 0.5) - std::ldexp(0.5, exponent);
    return stored >= INT16_MIN && stored <= INT16_MAX;
}

inline std::int16_t StoredValue(double value, int exponent) noexcept {
    const double stored = std::floor(std::ldexp(value, exponent) + 0.5) - std::ldexp(0.5, exponent);
    return static_cast<std::int16_t>(std::clamp<double>(stored, INT16_MIN, INT16_MAX));
}

constexpr int ShiftFor(int exponent) noexcept {
    return exponent + 6;
}

/// The bias of all weights together, and a half for rounding.
constexpr std::int32_t AddendFor(int exponent) noexcept {
    return static_cast<std::int32_t>(kCellParts << (exponent - 1)) + (1 << (exponent + 5));
}

inline std::uint8_t ToSample(std::int32_t sum, std::int32_t addend, int shift) noexcept {
    return static_cast<std::uint8_t>(std::clamp((sum + addend) >> shift, 0, 255));
}

/// The three samples of a colour, through the lattice.
inline void MapColour(const ColourLattice& lattice, const std::uint8_t* in, std::uint8_t* out) noexcept {
    // A fraction above the step along its axis, so that they are ordered together, and without branches.
    // Which of two equal fractions goes first does not matter: the point between them weighs nothing.
    std::uint64_t axis[3];
    std::uint32_t at = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        at += lattice.origin[i][in[i]];
        axis[i] = std::uint64_t{lattice.fraction[i][in[i]]} << 32 | lattice.step[i];
    }
    const auto order = [&axis](std::size_t a, std::size_t b) {
        const std::uint64_t larger = std::max(axis[a], axis[b]);
        axis[b] = std::min(axis[a], axis[b]);
        axis[a] = larger;
    };
    order(0, 1);
    order(1, 2);
    order(0, 1);
    std::int32_t fraction[3];
    std::uint32_t step[3];
    for (std::size_t i = 0; i < 3; ++i) {
        fraction[i] = static_cast<std::int32_t>(axis[i] >> 32);
        step[i] = static_cast<std::uint32_t>(axis[i]);
    }
    const ColourLattice::Point* const points = lattice.points.data();
    const ColourLattice::Point& origin = points[at];
    const ColourLattice::Point& first = points[at + step[0]];
    const ColourLattice::Point& second = points[at + step[0] + step[1]];
    const ColourLattice::Point& third = points[at + step[0] + step[1] + step[2]];
    const std::int32_t weight[] = {static_cast<std::int32_t>(kCellParts) - fraction[0],
                                   fraction[0] - fraction[1], fraction[1] - fraction[2], fraction[2]};
    for (std::size_t i = 0; i < 3; ++i) {
        const std::int32_t sum =
            weight[0] * origin[i] + weight[1] * first[i] + weight[2] * second[i] + weight[3] * third[i];
        out[i] = ToSample(sum, lattice.addend, lattice.shift);
    }
}

}  // namespace Zan

#endif  // TESSELU_SRC_TONE_KERNELS_LATTICEFORMULA_H
