#include "tone/kernels/FixedTurn.h"

#include <cmath>
#include <cstddef>

namespace Zan {
namespace {

constexpr int kMost = 128;  // of u and v, either way

/// Whether a factor has its halves in 16 bits.
bool Split(double factor, FixedFactor& fixed) noexcept {
    const auto whole = static_cast<std::int32_t>(std::lround(factor * 1073741824));
    fixed.low = static_cast<std::int16_t>(whole & 32767);
    const std::int32_t high = whole >> 15;
    fixed.high = static_cast<std::int16_t>(high);
    return fixed.high == high;
}

std::uint32_t Fraction(double factor) noexcept {
    return static_cast<std::uint32_t>(std::llround(factor * 4294967296));
}

}  // namespace

std::int32_t FixedTurn::operator()(int u, int v) const noexcept {
    const auto floor = static_cast<std::int32_t>((u * cosine.Whole() + v * sine.Whole()) >> 30);
    return floor + (floor < 0 ? 1 : 0);
}

FixedTurn FixedTurn::Of(double cosine, double sine) noexcept {
    FixedTurn turn;
    if (!Split(cosine, turn.cosine) || !Split(sine, turn.sine) || !Split(-sine, turn.minusSine)) {
        return turn;
    }

    // Sums that lie farther from whole numbers than either arithmetic errs (2^-23: both factors half a unit
    // of 2^-30, times 128) give the same. The others are looked for, in 32 bits of fraction, and compared:
    // there are few of them, but for angles like 90 degrees. Sums are odd in (u, v), so that one half of the
    // plane tells of all; so is truncation in double precision.
    constexpr std::uint32_t kNear = 1024;  // 2^-22
    // v by the upper bits of the fraction of v * sine: the first of each, then the next behind each; 0: none.
    constexpr unsigned kShift = 24;
    std::uint16_t first[256] = {}, next[2 * kMost + 2];
    std::uint32_t fraction[2 * kMost + 2];
    const std::uint32_t sineStep = Fraction(sine), cosineStep = Fraction(cosine);
    for (unsigned i = 1; i < 2 * kMost + 2; ++i) {
        fraction[i] = (i - 1 - kMost) * sineStep;
        std::uint16_t& place = first[fraction[i] >> kShift];
        next[i] = place;
        place = static_cast<std::uint16_t>(i);
    }
    for (int u = 0; u <= kMost; ++u) {
        const std::uint32_t wanted = 0 - static_cast<std::uint32_t>(u) * cosineStep;
        const std::uint32_t low = (wanted - kNear) >> kShift, high = (wanted + kNear) >> kShift;
        for (std::uint32_t place = low;; place = high) {
            for (std::size_t i = first[place]; i != 0; i = next[i]) {
                if (fraction[i] - wanted + kNear > 2 * kNear) {
                    continue;
                }
                const int v = static_cast<int>(i) - 1 - kMost;
                const auto exact = static_cast<std::int32_t>(u * cosine + v * sine);
                if (turn(u, v) != exact || turn(-u, -v) != -exact) {
                    return turn;
                }
            }
            if (place == high) {
                break;
            }
        }
    }
    turn.isExact = true;
    return turn;
}

}  // namespace Zan
