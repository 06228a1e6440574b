#ifndef TESSELU_SRC_COMPOSITE_KERNELS_BLENDFORMULAS_H
#define TESSELU_SRC_COMPOSITE_KERNELS_BLENDFORMULAS_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

// The arithmetic of the blends on one sample, which every vector body must equal.

namespace Zan {

/// t / 255 rounded to the nearest, for t from 0 to 65025 (255 is odd: there are no halves to decide).
constexpr unsigned Div255Round(unsigned t) noexcept {
    return ((2 * t) / 255 + 1) >> 1;
}

/// `b` over `a` by `alpha` of 255.
constexpr std::uint8_t BlendByAlpha(unsigned a, unsigned b, unsigned alpha) noexcept {
    return static_cast<std::uint8_t>(Div255Round((255 - alpha) * a + alpha * b));
}

/// Weights of 256; `weight` is that of `a`.
constexpr std::uint8_t DissolveOf256(unsigned a, unsigned b, unsigned weight) noexcept {
    return static_cast<std::uint8_t>((weight * a + (256 - weight) * b + 128) >> 8);
}

/// Weights of 255, divided by 255.
constexpr std::uint8_t DissolveOf255(unsigned a, unsigned b, unsigned weight) noexcept {
    const unsigned t = weight * a + (255 - weight) * b + 128;
    return static_cast<std::uint8_t>((t + (t >> 8)) >> 8);
}

/// Weights of 255, but divided by 256: the columns beyond the last block come out up to one lower.
constexpr std::uint8_t DissolveOf255Tail(unsigned a, unsigned b, unsigned weight) noexcept {
    return static_cast<std::uint8_t>((weight * a + (255 - weight) * b + 128) >> 8);
}

/// (x * factor + 16384) >> 15: a product whose rounding processors do in one instruction.
constexpr int RoundedProduct(int x, int factor) noexcept {
    return (x * factor + 16384) >> 15;
}

/// `DissolveOf256` with `weight` up to 127 is b + RoundedProduct(a - b, weight * 128).
constexpr std::int16_t FactorOf256(unsigned weight) noexcept {
    return static_cast<std::int16_t>(weight * 128);
}

/// `DissolveOf255` with `weight` up to 127 is b + RoundedProduct(a - b, FactorOf255(weight)): one of the two
/// integers around weight * 32768 / 255 is exact for all differences.
constexpr std::int16_t FactorOf255(unsigned weight) noexcept {
    constexpr auto kFactors = [] {
        std::array<std::int16_t, 128> factors{};
        for (int w = 0; w < 128; ++w) {
            int factor = w * 32768 / 255;
            for (int d = -255; d <= 255; ++d) {
                // w * d / 255, rounded to the nearest.
                const int wanted = (2 * (w * d + 255 * 255) + 255) / 510 - 255;
                factor += d > 0 && RoundedProduct(d, factor) < wanted ? 1 : 0;
                factor += d < 0 && RoundedProduct(d, factor) > wanted ? 1 : 0;
            }
            factors[static_cast<std::size_t>(w)] = static_cast<std::int16_t>(factor);
        }
        return factors;
    }();
    return kFactors[weight];
}

/// Truncates toward zero and limits to what 32 bits hold.
constexpr std::int32_t TruncateTo32(double value) noexcept {
    if (!(value > -2147483648.0)) {
        return value == value ? INT32_MIN : 0;
    }
    return value < 2147483647.0 ? static_cast<std::int32_t>(value) : INT32_MAX;
}

/// The low 16 bits of a truncated value, as a signed number.
constexpr std::int16_t TruncateTo16(double value) noexcept {
    return static_cast<std::int16_t>(
        static_cast<std::uint16_t>(static_cast<std::uint32_t>(TruncateTo32(value))));
}

/// The wipe's mapping of a key value to alpha with a unit of 32640 (255 * 128), all in 16-bit lanes.
struct KeyMap16 {
    std::int16_t threshold;
    std::int16_t gain;

    static constexpr KeyMap16 From(double threshold, double gain) noexcept {
        return {TruncateTo16(threshold * 32640), TruncateTo16(gain * 32640)};
    }

    constexpr std::uint8_t operator()(unsigned key) const noexcept {
        const int x = std::clamp(static_cast<int>(key << 7) - threshold, 0, 32640);
        return static_cast<std::uint8_t>(std::clamp((x * gain) >> 14, 0, 255));
    }
};

/// The wipe's mapping in double precision.
struct KeyMapFloat {
    double threshold;
    double gain;

    static constexpr KeyMapFloat From(double threshold, double gain) noexcept {
        return {threshold * 255, gain * 255};
    }

    constexpr std::uint8_t operator()(unsigned key) const noexcept {
        double d = static_cast<double>(key) - threshold;
        if (!(d > 0)) {
            d = 0;
        }
        d = d * gain;
        if (d > 255) {
            d = 255;
        }
        d = d + 0.5;
        return d > 0 ? static_cast<std::uint8_t>(d) : 0;
    }
};

/// The wipe's mapping of the 4:2:2 paths, with a unit of 65280 (255 * 256) and a product of 32 bits.
struct KeyMap32 {
    std::int32_t threshold;
    std::uint32_t gain;

    static constexpr KeyMap32 From(double threshold, double gain) noexcept {
        return {TruncateTo32(threshold * 65280), static_cast<std::uint32_t>(TruncateTo32(gain * 65280))};
    }

    constexpr std::uint8_t operator()(unsigned key) const noexcept {
        const std::int64_t d = static_cast<std::int64_t>(key << 8) - threshold;
        const auto x = static_cast<std::uint32_t>(std::max<std::int64_t>(d, 0));
        return static_cast<std::uint8_t>(std::min<std::uint32_t>((x * gain + 32768U) >> 16, 255U));
    }
};

/// min(255, sum of the absolute differences of bytes 0, 1 and 2).
constexpr std::uint8_t SumOfDifferences(const std::uint8_t* a, const std::uint8_t* b) noexcept {
    int sum = 0;
    for (int i = 0; i < 3; ++i) {
        sum += a[i] < b[i] ? b[i] - a[i] : a[i] - b[i];
    }
    return static_cast<std::uint8_t>(std::min(sum, 255));
}

/// One sample between two pixels; `weight` is that of the current one, out of 256.
constexpr std::uint8_t SubPixel(unsigned current, unsigned next, unsigned weight) noexcept {
    return static_cast<std::uint8_t>((((next * (512 - 2 * weight) + current * 2 * weight) >> 8) + 1) >> 1);
}

}  // namespace Zan

#endif  // TESSELU_SRC_COMPOSITE_KERNELS_BLENDFORMULAS_H
