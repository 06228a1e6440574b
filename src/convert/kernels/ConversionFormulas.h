#ifndef TESSELU_SRC_CONVERT_KERNELS_CONVERSIONFORMULAS_H
#define TESSELU_SRC_CONVERT_KERNELS_CONVERSIONFORMULAS_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "convert/Coefficients.h"

// The arithmetic of the integer kernels on single pixels. Whatever coefficients a caller hands in, every
// formula is defined: words wrap and saturate where the name says so, sums of products are exact.

namespace Zan {

/// A pixel as the matrix takes it: B, G, R, A or Cb, Y, Cr, A.
struct Pixel {
    std::uint8_t sample[4];
};

/// Pixels that are made together: up to two lines of up to four columns. Of a block that the edge of the
/// picture cuts only `columns` exist.
struct Block {
    Pixel pixel[2][4];
    std::size_t lines;
    std::size_t columns;
};

template <class Make>
constexpr void ForEachPixel(Block& block, const Make& make) noexcept {
    for (std::size_t line = 0; line < block.lines; ++line) {
        for (std::size_t k = 0; k < block.columns; ++k) {
            make(block.pixel[line][k]);
        }
    }
}

/// Sample `j` of the pixels of a block from column `first` on, `columns` of them: their mean, truncated.
constexpr std::uint8_t MeanOf(const Block& block, std::size_t j, std::size_t first,
                              std::size_t columns) noexcept {
    columns = std::min(columns, block.columns - first);
    unsigned sum = 0;
    for (std::size_t line = 0; line < block.lines; ++line) {
        for (std::size_t k = 0; k < columns; ++k) {
            sum += block.pixel[line][first + k].sample[j];
        }
    }
    return static_cast<std::uint8_t>(sum / (block.lines * columns));
}

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
inline std::uint8_t TruncateToByte(double value) noexcept {
#ifdef __SSE2__
    // Compilers make branches of the other form, which noise mispredicts.
    const __m128d positive = _mm_max_sd(_mm_set_sd(value), _mm_setzero_pd());
    return static_cast<std::uint8_t>(_mm_cvttsd_si32(_mm_min_sd(positive, _mm_set_sd(255))));
#else
    const double positive = value > 0 ? value : 0.0;
    return static_cast<std::uint8_t>(positive < 255 ? positive : 255.0);
#endif
}

/// Truncates toward zero as far as 32 bits reach and keeps the low half: what a lane of 16 bits sees of an
/// offset.
constexpr std::int16_t TruncateToWord(double value) noexcept {
    if (!(value > -2147483648.0)) {
        return 0;
    }
    return WrapToWord(value < 2147483647.0 ? static_cast<std::int32_t>(value) : INT32_MAX);
}

// ---- Double precision: the floating-point path, and the columns of the others beyond the last whole group

/// Row `i` of matrix and offsets, from the last column to the first.
inline std::uint8_t RowInDoubles(const FixedPointCoefficients& c, std::size_t i, const Pixel& in) noexcept {
    const auto term = [&](std::size_t j) { return c.matrix[i][j] * (in.sample[j] + c.offset[0][j]); };
    double sum = term(2);
    sum += term(1);
    sum += term(0);
    if (c.matrix[i][3] != 0) {
        sum += term(3);
    }
    return TruncateToByte(sum + c.offset[1][i]);
}

/// Colour through the matrix, alpha as it is.
inline Pixel ColorInDoubles(const FixedPointCoefficients& c, const Pixel& in) noexcept {
    return {{RowInDoubles(c, 0, in), RowInDoubles(c, 1, in), RowInDoubles(c, 2, in), in.sample[3]}};
}

inline std::uint8_t AlphaInDoubles(const FixedPointCoefficients& c, std::uint8_t alpha) noexcept {
    return TruncateToByte(alpha + c.offset[0][3] + c.offset[1][3]);
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

/// Colour through the matrix, in which alpha takes part where the matrix says so; alpha as it is.
constexpr Pixel SevenBitColor(const FixedPointCoefficients& c, const Pixel& in) noexcept {
    std::int16_t samples[4] = {};
    for (std::size_t j = 0; j < 4; ++j) {
        samples[j] = SevenBitSample(in.sample[j], c.offsetFixed[0][j]);
    }
    return {
        {SevenBitRow(c, 0, samples), SevenBitRow(c, 1, samples), SevenBitRow(c, 2, samples), in.sample[3]}};
}

/// Alpha with both of its offsets.
constexpr std::uint8_t SevenBitAlpha(const FixedPointCoefficients& c, std::uint8_t alpha) noexcept {
    const int shifted = SevenBitSample(alpha, c.offsetFixed[0][3]) >> 3;
    return SaturateToByte(WrapToWord(shifted + c.offsetFixed[1][3]) >> 4);
}

/// The plus functions, on a pixel that has been converted. With t = 255 - alpha: colour times alpha / 255 (2)
/// or t / 255 (3), or less the share of black (4) or white (5) in t; alpha as it is, t (1, 3) or full (6).
constexpr Pixel PlusResult(unsigned function, const Pixel& in) noexcept {
    constexpr int kBlack[3] = {128, 16, 128}, kWhite[3] = {128, 235, 128};
    const int alpha = in.sample[3], rest = 255 - alpha;
    Pixel out = in;
    for (std::size_t j = 0; j < 3; ++j) {
        const int c = in.sample[j];
        switch (function) {
            case 2:
            case 3:
                out.sample[j] = static_cast<std::uint8_t>(c * (function == 2 ? alpha : rest) / 255);
                break;
            case 4:
            case 5:
                out.sample[j] = static_cast<std::uint8_t>(
                    std::max(0, 255 * c - (function == 4 ? kBlack : kWhite)[j] * rest) / 255);
                break;
            default:
                break;
        }
    }
    if (function == 1 || function == 3) {
        out.sample[3] = static_cast<std::uint8_t>(rest);
    } else if (function == 6) {
        out.sample[3] = 255;
    }
    return out;
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

/// The offsets as the kernels take them, truncated.
struct EightBitOffsets {
    std::int16_t before[4];
    std::int16_t after[4];

    explicit constexpr EightBitOffsets(const PreparedCoefficients& c) noexcept : before{}, after{} {
        for (std::size_t i = 0; i < 4; ++i) {
            before[i] = c.wholeOffsets[0][i];
            after[i] = c.wholeOffsets[1][i];
        }
    }
};

/// Luma of a pixel.
constexpr std::uint8_t EightBitLuma(const FixedPointCoefficients& c, const EightBitOffsets& offsets,
                                    const Pixel& pixel) noexcept {
    std::int64_t sum = 0;
    for (std::size_t j = 0; j < 4; ++j) {
        sum += std::int32_t{c.matrixFixed[1][j]} * WrapToWord(pixel.sample[j] + offsets.before[j]);
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

// ---- Shaping: colour times alpha, and back ----------------------------------------------------------------

/// c * alpha / 255, rounded.
constexpr std::uint8_t ShapedRgb(unsigned c, unsigned alpha) noexcept {
    const unsigned t = c * alpha;
    return static_cast<std::uint8_t>((t + (t >> 8) + (t >> 15) + 128) >> 8);
}

/// The same around a zero point: 128 for chroma, 16 for luma.
constexpr std::uint8_t ShapedAround(int zero, unsigned sample, unsigned alpha) noexcept {
    const int difference = static_cast<int>(sample) - zero;
    const int magnitude = (difference < 0 ? -difference : difference) * static_cast<int>(alpha);
    const int rounded = (magnitude + 127) / 255;
    return static_cast<std::uint8_t>(zero + (difference < 0 ? -rounded : rounded));
}

/// 255 * 2^18 / alpha, rounded; 0 for 0.
inline constexpr std::array<std::uint32_t, 256> kReciprocals = [] {
    std::array<std::uint32_t, 256> table{};
    constexpr std::uint32_t kOne = 66846720;
    for (std::uint32_t a = 1; a < 256; ++a) {
        table[a] = (2 * kOne + a) / (2 * a);
    }
    return table;
}();

/// c * 255 / alpha, rounded. A sample above its alpha wraps.
constexpr std::uint8_t UnshapedRgb(unsigned c, unsigned alpha) noexcept {
    return static_cast<std::uint8_t>((std::uint64_t{c} * kReciprocals[alpha] + 0x20000) >> 18);
}

/// The same around a zero point, rounded down, limited to the range of a sample: -128 to 127 for chroma, -16
/// to 239 for luma.
constexpr std::uint8_t UnshapedAround(int zero, unsigned sample, unsigned alpha) noexcept {
    const std::int64_t product = (static_cast<int>(sample) - zero) * std::int64_t{kReciprocals[alpha]};
    return static_cast<std::uint8_t>(std::clamp<std::int64_t>(product >> 18, -zero, 255 - zero) + zero);
}

/// c * 255 / alpha in double precision, rounded and limited; 0 for alpha 0.
inline std::uint8_t UnshapedRgbInDoubles(unsigned c, unsigned alpha) noexcept {
    return alpha == 0 ? std::uint8_t{0} : TruncateToByte(c * 255.0 / alpha + 0.5);
}

/// The same around a zero point, halves away from it; the zero point for alpha 0.
inline std::uint8_t UnshapedAroundInDoubles(int zero, unsigned sample, unsigned alpha) noexcept {
    if (alpha == 0) {
        return static_cast<std::uint8_t>(zero);
    }
    const double value = (static_cast<int>(sample) - zero) * 255.0 / alpha;
    const int rounded = static_cast<int>(value + (value < 0 ? -0.5 : 0.5));
    return static_cast<std::uint8_t>(std::clamp(rounded, -zero, 255 - zero) + zero);
}

// ---- The same on pixels and blocks. Chroma of neighbours that share it goes by the alpha of the even one --

constexpr void ShapeRgbPixel(Pixel& pixel) noexcept {
    for (std::size_t j = 0; j < 3; ++j) {
        pixel.sample[j] = ShapedRgb(pixel.sample[j], pixel.sample[3]);
    }
}
constexpr void UnshapeRgbPixel(Pixel& pixel) noexcept {
    for (std::size_t j = 0; j < 3; ++j) {
        pixel.sample[j] = UnshapedRgb(pixel.sample[j], pixel.sample[3]);
    }
}
inline void UnshapeRgbPixelInDoubles(Pixel& pixel) noexcept {
    for (std::size_t j = 0; j < 3; ++j) {
        pixel.sample[j] = UnshapedRgbInDoubles(pixel.sample[j], pixel.sample[3]);
    }
}

/// `around(zero, sample, alpha)` on all samples of YCrCb.
template <class Around>
constexpr void ForEachSampleOfPairs(Block& block, const Around& around) noexcept {
    for (std::size_t k = 0; k < block.columns; ++k) {
        Pixel& pixel = block.pixel[0][k];
        const std::uint8_t chromaAlpha = block.pixel[0][k / 2 * 2].sample[3];
        pixel.sample[0] = around(128, pixel.sample[0], chromaAlpha);
        pixel.sample[1] = around(16, pixel.sample[1], pixel.sample[3]);
        pixel.sample[2] = around(128, pixel.sample[2], chromaAlpha);
    }
}
constexpr void ShapePairs(Block& block) noexcept {
    ForEachSampleOfPairs(block, ShapedAround);
}
constexpr void UnshapePairs(Block& block) noexcept {
    ForEachSampleOfPairs(block, UnshapedAround);
}
inline void UnshapePairsInDoubles(Block& block) noexcept {
    ForEachSampleOfPairs(block, UnshapedAroundInDoubles);
}

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_KERNELS_CONVERSIONFORMULAS_H
