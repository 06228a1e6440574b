#ifndef TESSELU_SRC_FILTER_UNIFORMLINE_H
#define TESSELU_SRC_FILTER_UNIFORMLINE_H

#include <cstdint>

namespace Zan {

struct UniformNoise;

/// Even noise in integers: what a draw adds to a byte, to the nearest whole number, is
///
///     (d * factor + (d * fraction >> 16) + offset >> shift) + base,   d = 2 * draw - 32768
///
/// with everything but the result in 32 bits.
struct UniformLine {
    bool holds = false;  ///< for each draw and byte, what the formula in doubles gives
    std::int16_t factor = 0, fraction = 0;
    std::int32_t offset = 0;
    int shift = 0;
    std::int16_t base = 0;

    /// Finds the line of a range.
    static UniformLine Of(const UniformNoise& noise) noexcept;
};

}  // namespace Zan

#endif  // TESSELU_SRC_FILTER_UNIFORMLINE_H
