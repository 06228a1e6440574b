#include "filter/UniformLine.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "filter/kernels/NoiseFormulas.h"

namespace Zan {
namespace {

constexpr std::int64_t kLastDraw = kDrawnValues - 1;

/// What is added at a draw, to the nearest whole number, halves up.
double Rounded(const UniformNoise& noise, std::int64_t draw) noexcept {
    return std::floor(noise.Added(static_cast<std::uint32_t>(draw)) + 0.5);
}

/// Whether a sum with a byte is rounded as the noise by itself is: it lies at a half, or so far from one that
/// the rounding of doubles cannot matter.
bool IsPlain(const UniformNoise& noise, std::int64_t draw) noexcept {
    const double twice = 2 * noise.Added(static_cast<std::uint32_t>(draw)), nearest = std::nearbyint(twice);
    return twice == nearest || std::fabs(twice - nearest) > 1e-9 || std::fmod(nearest, 2) == 0;
}

}  // namespace

UniformLine UniformLine::Of(const UniformNoise& noise) noexcept {
    UniformLine line;
    const double base = std::floor(noise.low);
    line.base = static_cast<std::int16_t>(base);
    // Results lie from 0 to span + 2.
    line.shift = 22;
    while (line.shift < 30 && std::ldexp(noise.span + 3, line.shift + 1) < 2147483647.0) {
        ++line.shift;
    }
    const double slope = std::ldexp(noise.span / (2.0 * static_cast<double>(kLastDraw)), line.shift);
    const double factor = std::floor(slope + 0.5);
    line.factor = static_cast<std::int16_t>(std::min(factor, 32767.0));
    line.fraction =
        static_cast<std::int16_t>(std::clamp(std::floor((slope - factor) * 65536 + 0.5), -32768.0, 32767.0));
    const auto at = [&line](std::int64_t draw) {
        const std::int64_t d = 2 * draw - kDrawnValues;
        return d * line.factor + (d * line.fraction >> 16);
    };
    const std::int64_t one = std::int64_t{1} << line.shift;

    // The line rises with the draws, and so does the formula: it is enough to look where a result starts, and
    // one draw before. Any offset from `least` to `most` will do.
    const double first = Rounded(noise, 0), last = Rounded(noise, kLastDraw);
    std::int64_t least = static_cast<std::int64_t>(first - base) * one - at(0);
    std::int64_t most = static_cast<std::int64_t>(last - base + 1) * one - 1 - at(kLastDraw);
    bool isPlain = IsPlain(noise, 0) && IsPlain(noise, kLastDraw);
    for (double result = first + 1; result <= last; ++result) {
        auto draw = std::clamp(static_cast<std::int64_t>((result - 0.5 - noise.low) / noise.span *
                                                         static_cast<double>(kLastDraw)),
                               std::int64_t{1}, kLastDraw);
        while (draw < kLastDraw && Rounded(noise, draw) < result) {
            ++draw;
        }
        while (draw > 1 && Rounded(noise, draw - 1) >= result) {
            --draw;
        }
        const std::int64_t start = static_cast<std::int64_t>(result - base) * one;
        least = std::max(least, start - at(draw));
        most = std::min(most, start - 1 - at(draw - 1));
        isPlain = isPlain && IsPlain(noise, draw) && IsPlain(noise, draw - 1);
    }
    const std::int64_t offset = least + (most - least) / 2;
    line.offset = static_cast<std::int32_t>(offset);
    // Neither end may leave 31 bits.
    line.holds = isPlain && least <= most && at(0) + offset >= 0 && at(kLastDraw) + offset <= 2147483647 &&
                 line.offset == offset;
    return line;
}

}  // namespace Zan
