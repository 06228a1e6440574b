#ifndef TESSELU_SRC_CONVERT_KERNELS_CONVERSIONFORMULAS_H
#define TESSELU_SRC_CONVERT_KERNELS_CONVERSIONFORMULAS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "convert/Coefficients.h"

// The arithmetic of the integer kernels on single pixels. Whatever coefficients a caller hands in, every
// formula is defined: words wrap and saturate where the name says so, sums of products are exact.

namespace Zan {

/// Two neighbours of 4:2:2: one chroma sample of each kind for both.
struct ChromaPair {
    std::uint8_t cb;
    std::uint8_t cr;
    std::uint8_t y[2];
};

/// Two neighbours with all their samples, in memory order.
struct PixelPair {
    std::uint8_t pixel[2][4];
};

constexpr std::int16_t WrapToWord(std::int64_t value) noexcept {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(value & 0xFFFF));
}

constexpr std::int16_t SaturateToWord(std::int64_t value) noexcept {
    return static_cast<std::int16_t>(std::clamp<std::int64_t>(value, -32768, 32767));
}

constexpr std::uint8_t SaturateToByte(std::int64_t value) noexcept {
    return static_cast<std::uint8_t>(std::clamp<std::int64_t>(value, 0, 255));
}

/// Limits to 0...255, then truncates. What is not a number becomes 0.
constexpr std::uint8_t TruncateToByte(double value) noexcept {
    if (!(value > 0)) {
        return 0;
    }
    return value < 255 ? static_cast<std::uint8_t>(value) : std::uint8_t{255};
}

/// Truncates toward zero as far as 32 bits reach and keeps the low half: what a lane of 16 bits sees of an
/// offset.
constexpr std::int16_t TruncateToWord(double value) noexcept {
    if (!(value > -2147483648.0)) {
        return 0;
    }
    return WrapToWord(value < 2147483647.0 ? static_cast<std::int32_t>(value) : INT32_MAX);
}

/// Row `i` of matrix and offsets in double precision: the columns beyond the last whole group.
inline std::uint8_t InDoubles(const FixedPointCoefficients& c, std::size_t i,
                              const double (&in)[4]) noexcept {
    double sum = c.matrix[i][0] * (in[0] + c.offset[0][0]);
    sum += c.matrix[i][1] * (in[1] + c.offset[0][1]);
    sum += c.matrix[i][2] * (in[2] + c.offset[0][2]);
    sum += c.matrix[i][3] * (in[3] + c.offset[0][3]);
    return TruncateToByte(sum + c.offset[1][i]);
}

// ---- Seven-bit input: offsets in 128ths before and in 16ths after the matrix ------------------------------

/// A sample as it meets the matrix.
constexpr std::int16_t SevenBitSample(unsigned sample, std::int16_t offset) noexcept {
    return WrapToWord(static_cast<std::int64_t>(sample) * 128 + offset);
}

/// Row `i` of the result.
constexpr std::uint8_t SevenBitRow(const FixedPointCoefficients& c, std::size_t i,
                                   const std::int16_t (&in)[4]) noexcept {
    std::int64_t sum = 0;
    for (std::size_t j = 0; j < 4; ++j) {
        sum += std::int32_t{c.matrixFixed[i][j]} * in[j];
    }
    return SaturateToByte(WrapToWord(SaturateToWord(sum >> 16) + c.offsetFixed[1][i]) >> 4);
}

/// True when no sample can wrap and no row can leave 32 bits: then offsets may join the sum of products.
constexpr bool SevenBitSumsFit(const FixedPointCoefficients& c) noexcept {
    for (const std::int16_t offset : c.offsetFixed[0]) {
        if (offset > 127) {
            return false;
        }
    }
    for (std::size_t i = 0; i < 3; ++i) {
        std::int64_t low = 0;
        std::int64_t high = 0;
        for (std::size_t j = 0; j < 4; ++j) {
            const std::int64_t atZero = std::int64_t{c.matrixFixed[i][j]} * c.offsetFixed[0][j];
            const std::int64_t atFull = atZero + std::int64_t{c.matrixFixed[i][j]} * (255 * 128);
            low += std::min(atZero, atFull);
            high += std::max(atZero, atFull);
        }
        const std::int64_t offset = std::int64_t{c.offsetFixed[1][i]} * 65536;
        if (std::min(low, low + offset) < INT32_MIN || std::max(high, high + offset) > INT32_MAX) {
            return false;
        }
    }
    return true;
}

// ---- Eight-bit input: whole offsets, of which chroma takes only those after the matrix --------------------

/// The offsets as the kernels take them, out of the doubles.
struct EightBitOffsets {
    std::int16_t before[4];
    std::int16_t after[4];

    explicit constexpr EightBitOffsets(const FixedPointCoefficients& c) noexcept : before{}, after{} {
        for (std::size_t i = 0; i < 4; ++i) {
            before[i] = TruncateToWord(c.offset[0][i]);
            after[i] = TruncateToWord(c.offset[1][i]);
        }
    }
};

/// Luma of a pixel.
constexpr std::uint8_t EightBitLuma(const FixedPointCoefficients& c, const EightBitOffsets& offsets,
                                    const std::uint8_t (&pixel)[4]) noexcept {
    std::int64_t sum = 0;
    for (std::size_t j = 0; j < 4; ++j) {
        sum += std::int32_t{c.matrixFixed[1][j]} * WrapToWord(pixel[j] + offsets.before[j]);
    }
    return SaturateToByte((sum >> 13) + offsets.after[1]);
}

/// Chroma of row `i` out of the sums of `1 << shift` pixels.
constexpr std::uint8_t EightBitChroma(const FixedPointCoefficients& c, const EightBitOffsets& offsets,
                                      std::size_t i, const int (&sums)[4], int shift) noexcept {
    std::int64_t sum = 0;
    for (std::size_t j = 0; j < 4; ++j) {
        sum += std::int32_t{c.matrixFixed[i][j]} * sums[j];
    }
    return SaturateToByte((sum >> (13 + shift)) + offsets.after[i]);
}

/// True when no sample can wrap, every result fits 16 bits and chroma rows leave two bits to scale by.
constexpr bool EightBitSumsFit(const FixedPointCoefficients& c, const EightBitOffsets& offsets) noexcept {
    for (const std::int16_t offset : offsets.before) {
        if (offset > 32767 - 255) {
            return false;
        }
    }
    constexpr std::int64_t kLimit = std::int64_t{1} << 28;
    for (std::size_t i = 0; i < 3; ++i) {
        std::int64_t low = std::int64_t{offsets.after[i]} * 8192;
        std::int64_t high = low;
        for (std::size_t j = 0; j < 4; ++j) {
            const std::int64_t entry = c.matrixFixed[i][j];
            const std::int64_t atZero = i == 1 ? entry * offsets.before[j] : 0;
            low += std::min(atZero, atZero + entry * 255);
            high += std::max(atZero, atZero + entry * 255);
            if (i != 1 && (entry < -8192 || entry > 8191)) {
                return false;
            }
        }
        if (low < -kLimit || high >= kLimit) {
            return false;
        }
    }
    return true;
}

/// True when alpha weighs nothing, grey has no chroma, and luma leaves three bits to scale by: as in every
/// matrix that leads from RGB to YCrCb. On top of `EightBitSumsFit`.
constexpr bool EightBitGreyIsNeutral(const FixedPointCoefficients& c) noexcept {
    for (std::size_t i = 0; i < 3; ++i) {
        const auto& row = c.matrixFixed[i];
        if (row[3] != 0 || (i != 1 && row[0] + row[1] + row[2] != 0)) {
            return false;
        }
    }
    const auto fits = [](int entry, int limit) { return entry >= -limit && entry < limit; };
    const auto& luma = c.matrixFixed[1];
    return fits(luma[0], 4096) && fits(luma[1], 8192) && fits(luma[2], 4096);
}

// ---- Planar sources: every product truncated by itself ----------------------------------------------------

/// The samples around their zero points, as they meet the (transposed) matrix.
constexpr std::int16_t CentredChroma(unsigned sample) noexcept {
    return static_cast<std::int16_t>(static_cast<int>(sample) * 128 - 128 * 128);
}
constexpr std::int16_t CentredLuma(unsigned sample) noexcept {
    return static_cast<std::int16_t>(static_cast<int>(sample) * 128 - 16 * 128);
}

constexpr std::int16_t HighProduct(std::int16_t a, std::int16_t b) noexcept {
    return static_cast<std::int16_t>((std::int32_t{a} * b) >> 16);
}

/// What a chroma sample pair and the offset bring to component `i` of all pixels that share it, in 16ths.
constexpr std::int16_t ColumnwiseChroma(const FixedPointCoefficients& c, std::size_t i, unsigned cb,
                                        unsigned cr) noexcept {
    return WrapToWord(HighProduct(c.matrixFixed[0][i], CentredChroma(cb)) +
                      HighProduct(c.matrixFixed[2][i], CentredChroma(cr)) + c.offsetFixed[1][i]);
}

constexpr std::uint8_t ColumnwiseSum(const FixedPointCoefficients& c, std::size_t i, std::int16_t chroma,
                                     unsigned y) noexcept {
    return SaturateToByte(WrapToWord(chroma + HighProduct(c.matrixFixed[1][i], CentredLuma(y))) >> 4);
}

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_KERNELS_CONVERSIONFORMULAS_H
