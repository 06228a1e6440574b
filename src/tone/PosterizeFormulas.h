#ifndef TESSELU_SRC_TONE_POSTERIZEFORMULAS_H
#define TESSELU_SRC_TONE_POSTERIZEFORMULAS_H

#include <algorithm>
#include <cstdint>

namespace Zan {

/// What a sample counts from.
inline constexpr int kChromaCentre = 128;
inline constexpr int kLumaBlack = 16;

/// Levels as they are kept, from 1 to 255.
constexpr double LimitedLevels(double levels) noexcept {
    return !(levels >= 1.0) ? 1.0 : levels > 255.0 ? 255.0 : levels;
}

/// The share of 255 steps that `levels` leaves.
constexpr double ScaleOfLevels(double levels) noexcept {
    return levels * 0.00392156862745098;
}

/// Halves away from zero. The argument is far within the range of the result.
constexpr std::int64_t RoundAwayFromZero(double value) noexcept {
    return static_cast<std::int64_t>(value < 0 ? value - 0.5 : value + 0.5);
}

/// `x` is the entry of a table, which may have more than 256.
constexpr std::uint8_t Posterized(std::int64_t x, int centre, double levels) noexcept {
    const double scale = ScaleOfLevels(levels);
    const std::int64_t q = RoundAwayFromZero(scale * static_cast<double>(x - centre));
    const std::int64_t y = RoundAwayFromZero(static_cast<double>(q) * (1.0 / scale)) + centre;
    return static_cast<std::uint8_t>(std::clamp<std::int64_t>(y, 0, 255));
}

/// Posterized in whole numbers; the two scales are of 65536 and of 256.
constexpr std::uint8_t PosterizedFixed(int x, int centre, double levels) noexcept {
    const double scale = ScaleOfLevels(levels);
    const int down = static_cast<int>(scale * 65536.0), up = static_cast<int>(1.0 / scale * 256.0);
    const int t = (x - centre) * down + 32768;
    const int q = (t + (t < 0 ? 65535 : 0)) >> 16;
    const int u = q * up + 128;
    return static_cast<std::uint8_t>(std::clamp(((u + (u < 0 ? 255 : 0)) >> 8) + centre, 0, 255));
}

}  // namespace Zan

#endif  // TESSELU_SRC_TONE_POSTERIZEFORMULAS_H
