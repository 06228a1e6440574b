#ifndef TESSELU_TESTS_COMPOSITE_WIPEFORMULAS_H
#define TESSELU_TESTS_COMPOSITE_WIPEFORMULAS_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace composite_test {

/// Truncated; what does not fit 32 bits saturates.
inline std::int32_t Truncate32(double value) {
    if (value >= 2147483647.0) {
        return std::numeric_limits<std::int32_t>::max();
    }
    if (value <= -2147483648.0) {
        return std::numeric_limits<std::int32_t>::min();
    }
    return static_cast<std::int32_t>(value);
}

/// The low 16 bits with their sign.
inline int Low16(std::int32_t value) {
    const int low = value & 0xFFFF;
    return low >= 0x8000 ? low - 0x10000 : low;
}

/// Alpha of a key value in double precision: the scalar kernel.
inline unsigned FloatAlpha(unsigned g, double threshold, double gain) {
    const double t = threshold * 255.0;
    const double scale = gain * 255.0;
    double d = g - t;
    if (d < 0.0) {
        d = 0.0;
    }
    d = d * scale;
    if (d > 255.0) {
        d = 255.0;
    }
    const int alpha = Truncate32(d + 0.5);
    return alpha < 0 ? 0U : static_cast<unsigned>(alpha);
}

/// Alpha in units of 32640: the SSE and SSE2 kernels.
inline unsigned WordAlpha(unsigned g, double threshold, double gain) {
    const int t16 = Low16(Truncate32(threshold * 32640.0));
    const int g16 = Low16(Truncate32(gain * 32640.0));
    int x = static_cast<int>(g << 7) - t16;
    x = std::clamp(x, -32768, 32767);
    x = std::clamp(x, 0, 32640);
    const std::int64_t product = std::int64_t{x} * g16;
    // An arithmetic shift, written as the floor that it is.
    int alpha = static_cast<int>(std::floor(static_cast<double>(product) / 16384.0));
    alpha = std::min(std::clamp(alpha, -32768, 32767), 255);
    return alpha < 0 ? 0U : static_cast<unsigned>(alpha);
}

/// Alpha in units of 65280: the fixed mapping of the 4:2:2 passes.
inline unsigned FixedAlpha(unsigned g, double threshold, double gain) {
    const std::int32_t t = Truncate32(threshold * 65280.0);
    const std::int32_t scale = Truncate32(gain * 65280.0);
    const std::int64_t x = std::max<std::int64_t>(std::int64_t{g << 8} - t, 0);
    return static_cast<unsigned>(std::min<std::int64_t>((x * scale + 32768) >> 16, 255));
}

}  // namespace composite_test

#endif  // TESSELU_TESTS_COMPOSITE_WIPEFORMULAS_H
