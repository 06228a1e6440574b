#ifndef TESSELU_SRC_FILTER_KERNELS_NOISEFORMULAS_H
#define TESSELU_SRC_FILTER_KERNELS_NOISEFORMULAS_H

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "filter/RandomNumbers.h"

namespace Zan {

/// Limited to 0...255, plus 0.5, truncated; 0 for what is not a number.
inline std::uint8_t NearestByte(double value) noexcept {
    const double limited = value > 0.0 ? (value < 255.0 ? value : 255.0) : 0.0;
    return static_cast<std::uint8_t>(limited + 0.5);
}

/// What a normal distribution needs of each of its draws.
struct GaussianTables {
    double logarithms[kDrawnValues];
    double cosines[kDrawnValues];

    GaussianTables() noexcept;

    static double Uniform(std::uint32_t draw) noexcept { return 1.0 - draw * 3.0518416338339375e-05; }
    static double Angle(std::uint32_t draw) noexcept {
        return draw * 0.00019175345011749627 - 3.141592653589793;
    }
    /// The same for all calls, made by the first one.
    static const GaussianTables& Instance() noexcept;
};

// `Unit`: a byte with the next draws.

struct GaussianNoise {
    static constexpr std::size_t kDraws = 2;
    const GaussianTables* tables;
    double variance, mean;

    std::uint8_t Unit(std::uint8_t byte, const std::uint32_t (&draws)[kDraws]) const noexcept {
        const double radius = std::sqrt(tables->logarithms[draws[0]] * variance * -2.0);
        return NearestByte(tables->cosines[draws[1]] * radius + mean + byte);
    }
};

struct UniformNoise {
    static constexpr std::size_t kDraws = 1;
    double low, span;

    double Added(std::uint32_t draw) const noexcept { return draw * 3.051850947599719e-05 * span + low; }
    std::uint8_t Unit(std::uint8_t byte, const std::uint32_t (&draws)[kDraws]) const noexcept {
        return NearestByte(Added(draws[0]) + byte);
    }
};

struct BitErrors {
    static constexpr std::size_t kDraws = 8;
    std::uint32_t threshold;  ///< 0 ... 32767: draws not above it flip

    std::uint8_t Unit(std::uint8_t byte, const std::uint32_t (&draws)[kDraws]) const noexcept {
        unsigned flips = 0;
        for (unsigned bit = 0; bit < kDraws; ++bit) {
            flips |= static_cast<unsigned>(draws[bit] <= threshold) << bit;
        }
        return static_cast<std::uint8_t>(byte ^ flips);
    }
};

}  // namespace Zan

#endif  // TESSELU_SRC_FILTER_KERNELS_NOISEFORMULAS_H
