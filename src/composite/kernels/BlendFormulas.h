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

/// The converting wipe's mapping, of which all but whole code values is dropped: a gain of 1 is 127.
struct KeyMap8 {
    std::uint16_t threshold;  ///< in 256ths of a code value
    std::uint16_t gain;

    static constexpr KeyMap8 From(double threshold, double gain) noexcept {
        return {static_cast<std::uint16_t>(TruncateTo16(threshold * 65280)),
                static_cast<std::uint16_t>(static_cast<std::uint16_t>(TruncateTo16(gain * 32767)) >> 8)};
    }

    constexpr std::uint8_t operator()(unsigned key) const noexcept {
        const unsigned above = key << 8;
        const unsigned x = above > threshold ? (above - threshold) >> 8 : 0;
        return static_cast<std::uint8_t>(std::min(x * gain, 255U));
    }
};

/// `a` over `b` by `alpha` of 255 with `zero` taken off both, as the low byte of a signed number. Halves of
/// what is positive go up; what is negative is truncated.
constexpr std::uint8_t OverWithoutOffset(unsigned a, unsigned b, unsigned alpha, int zero) noexcept {
    const int weight = static_cast<int>(alpha);
    const int x = (255 - weight) * (static_cast<int>(b) - zero) + weight * (static_cast<int>(a) - zero);
    return static_cast<std::uint8_t>((2 * x / 255 + 1) >> 1);
}

/// What `OverWithoutOffset` takes off luma and chroma.
inline constexpr int kLumaZero = 16, kChromaZero = 128;

/// Alpha times `weight` out of 256.
constexpr std::uint8_t FadedAlpha(unsigned alpha, unsigned weight) noexcept {
    return static_cast<std::uint8_t>((alpha * weight + 128) >> 8);
}

/// A table of bytes by a byte, with what vectors need to look it up sixteen keys at a time: for keys from
/// `first` on, rows of sixteen entries, of which each is the difference (exclusive or) to the row before, so
/// that a key gathers all rows up to its own. The second eight of sixteen rows start anew.
struct KeyTable {
    static constexpr std::size_t kMostRows = 16;

    std::array<std::uint8_t, 256> entry;
    alignas(64) std::uint8_t row[kMostRows][16];
    std::uint8_t first;  ///< all keys below it are as this one
    unsigned rows;       ///< 4, 8 or 16; keys beyond them are as the last one

    /// Makes the rows of what `entry` holds.
    constexpr void Arrange() noexcept {
        std::size_t last = 255, start = 0;
        for (; last > 0 && entry[last - 1] == entry[255]; --last) {
        }
        for (; start < last && entry[start + 1] == entry[0]; ++start) {
        }
        first = static_cast<std::uint8_t>(start);
        const std::size_t needed = (last - start) / 16 + 1;
        rows = needed <= 4 ? 4 : needed <= 8 ? 8 : 16;
        for (std::size_t i = 0; i < rows; ++i) {
            for (std::size_t k = 0; k < 16; ++k) {
                const auto at = [&](std::size_t r) {
                    return entry[std::min<std::size_t>(start + 16 * r + k, 255)];
                };
                row[i][k] = static_cast<std::uint8_t>(at(i) ^ (i % 8 != 0 ? at(i - 1) : 0));
            }
        }
    }
};

// ---- The border of a wipe ---------------------------------------------------------------------------------

/// The border's bytes in the order of a word.
struct BorderColour {
    std::uint8_t byte[4];
};

/// Where a key value lies across the edge, from source A over the border to source B, and the share of the
/// border, out of 256.
struct BorderShare {
    bool isB;
    unsigned weight;
};

/// `source` under a share of the border.
constexpr std::uint8_t UnderBorder(unsigned source, unsigned border, unsigned weight) noexcept {
    return DissolveOf256(border, source, weight);
}

/// The zones along the key, in double precision.
struct BorderRamp {
    double threshold;  ///< in units of the key
    double factor;     ///< of the key's units, to those of one byte
    double total;      ///< of all widths
    double end1;       ///< of the edge on A's side, with `total` scaled to 255
    double end2;       ///< of the border

    /// Widths are in code values of a key of one byte; `threshold` is a fraction of the key's range `top`.
    static constexpr BorderRamp From(double threshold, double softnessA, double width, double softnessB,
                                     double top, double factor) noexcept {
        const double s1 = softnessA > 0 ? softnessA : 1.0 / 255;
        const double s2 = softnessB > 0 ? softnessB : 1.0 / 255;
        const double total = s1 + width + s2;
        // Without any width the ramp is so steep that all keys lie before it.
        return total > 0
                   ? BorderRamp{top * threshold, factor, total, 255 * s1 / total, 255 * (s1 + width) / total}
                   : BorderRamp{0, 0, 1, 255, 255};
    }

    /// The share of the border `part` of the way through an edge of `whole`.
    static constexpr unsigned Weight(double part, double whole) noexcept {
        const double m = 255 * part / whole + 0.5;
        return m > 0 ? (m < 255 ? static_cast<unsigned>(m) : 255U) : 0U;
    }

    constexpr BorderShare operator()(double key) const noexcept {
        double d = (key - threshold) * factor * 255 / total;
        d = d > 0 ? (d < 255 ? d : 255) : 0;
        if (d <= end1) {
            return {false, Weight(d, end1)};
        }
        if (d < end2) {
            return {false, 256};
        }
        return {true, Weight(255 - d, 255 - end2)};
    }
};

/// The same for each key of one byte. Zones follow each other as the key rises.
struct BorderMap {
    KeyTable weight;   ///< of the border, outside of its own zone
    unsigned border;   ///< first key of the border
    unsigned sourceB;  ///< first key beyond it
    BorderColour colour;

    static constexpr BorderMap From(const BorderRamp& ramp, const BorderColour& colour) noexcept {
        BorderMap map{{}, 0, 0, colour};
        for (unsigned key = 0; key < 256; ++key) {
            const BorderShare share = ramp(key);
            map.weight.entry[key] = static_cast<std::uint8_t>(share.weight);
            map.border += !share.isB && share.weight < 256 ? 1 : 0;
            map.sourceB += share.isB ? 0 : 1;
        }
        map.weight.Arrange();
        return map;
    }

    constexpr BorderShare operator()(unsigned key) const noexcept {
        return {key >= sourceB, key >= border && key < sourceB ? 256U : weight.entry[key]};
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
