#ifndef TESSELU_TESTS_CONVERT_KERNELFORMULAS_H
#define TESSELU_TESTS_CONVERT_KERNELFORMULAS_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

// The arithmetic of the integer kernels, one sample at a time, out of the doubles that a caller gives.

namespace convert_test {

struct Matrix {
    std::array<std::array<double, 4>, 4> m;
    std::array<std::array<double, 4>, 2> o;

    double* Entries() { return m[0].data(); }
    double* Offsets() { return o[0].data(); }
};

inline Matrix Of4096ths(const int (&rows)[3][3], std::array<double, 4> before, std::array<double, 4> after) {
    Matrix made{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            made.m[i][j] = rows[i][j] / 4096.0;
        }
    }
    made.m[3][3] = 1;
    made.o = {before, after};
    return made;
}

inline const Matrix kToStudioRgb = Of4096ths({{7096, 4096, 0}, {-1378, 4096, -2860}, {0, 4096, 5614}},
                                             {-128, -16, -128, 0}, {16, 16, 16, 0});
inline const Matrix kFromStudioRgb = Of4096ths({{2095, -1388, -707}, {467, 2404, 1225}, {-341, -1754, 2095}},
                                               {-16, -16, -16, 0}, {128, 16, 128, 0});
inline const Matrix kFromFullRgb =
    Of4096ths({{1799, -1192, -607}, {401, 2065, 1052}, {-293, -1506, 1799}}, {0, 0, 0, 0}, {128, 16, 128, 0});
inline const Matrix kToFullRgb =
    Of4096ths({{8263, 4769, 0}, {-1605, 4769, -3330}, {0, 4769, 6537}}, {-128, -16, -128, 0}, {0, 0, 0, 0});

/// Samples in memory order.
using Pixel = std::array<int, 4>;

inline int Limited(std::int64_t value) {
    return static_cast<int>(std::clamp<std::int64_t>(value, 0, 255));
}

/// What a lane of 16 bits keeps of a sum.
inline int Wrapped(std::int64_t value) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(value));
}

/// A double in a lane of 16 bits: truncated toward zero, at most what 32 bits hold, and of that the low half.
/// What is not a number is 0.
inline int Word(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    constexpr double kLowest = std::numeric_limits<std::int32_t>::min();
    constexpr double kHighest = std::numeric_limits<std::int32_t>::max();
    return Wrapped(static_cast<std::int64_t>(std::clamp(value, kLowest, kHighest)));
}

/// A matrix entry in 8192ths, rounded half away from zero.
inline int Fixed(double entry) {
    return Word(entry * 8192 + (entry < 0 ? -0.5 : 0.5));
}

/// The formula in doubles, neither limited nor rounded. Alpha takes part where there is some.
inline double Exact(const Matrix& c, std::size_t i, const std::array<double, 4>& in, std::size_t samples) {
    double sum = c.o[1][i];
    for (std::size_t j = 0; j < samples; ++j) {
        sum += c.m[i][j] * (in[j] + c.o[0][j]);
    }
    return sum;
}

/// The columns at the end of a row: limited, then truncated.
inline int TailSample(const Matrix& c, std::size_t i, const Pixel& in, std::size_t samples) {
    const std::array<double, 4> exact = {double(in[0]), double(in[1]), double(in[2]), double(in[3])};
    return static_cast<int>(std::clamp(Exact(c, i, exact, samples), 0.0, 255.0));
}

/// Seven-bit input of three samples: as 128ths, the sum of products to 16ths in 16 bits, the second offset in
/// 16ths.
inline int SevenBitSample(const Matrix& c, std::size_t i, const Pixel& in) {
    std::int64_t sum = 0;
    for (std::size_t j = 0; j < 3; ++j) {
        sum += std::int64_t{Fixed(c.m[i][j])} * Wrapped(128 * in[j] + Word(c.o[0][j] * 128));
    }
    const std::int64_t packed = std::clamp<std::int64_t>(sum >> 16, -32768, 32767);
    return Limited(Wrapped(packed + Word(c.o[1][i] * 16)) >> 4);
}

/// Eight-bit input: samples as they are, whole offsets, luma after 13 bits.
inline int EightBitLuma(const Matrix& c, const Pixel& in) {
    std::int64_t sum = 0;
    for (std::size_t j = 0; j < 4; ++j) {
        sum += std::int64_t{Fixed(c.m[1][j])} * Wrapped(in[j] + Word(c.o[0][j]));
    }
    return Limited((sum >> 13) + Word(c.o[1][1]));
}

/// Chroma of two pixels: added, without input offsets, after 14 bits.
inline int EightBitChroma(const Matrix& c, std::size_t i, const Pixel& first, const Pixel& second) {
    std::int64_t sum = 0;
    for (std::size_t j = 0; j < 4; ++j) {
        sum += std::int64_t{Fixed(c.m[i][j])} * (first[j] + second[j]);
    }
    return Limited((sum >> 14) + Word(c.o[1][i]));
}

/// Planes: fixed zero points, every product cut to its high half by itself, sums in 16 bits.
inline int PlanarSample(const Matrix& c, std::size_t i, const Pixel& in) {
    const auto product = [&](std::size_t j, int zero) {
        return (std::int64_t{Fixed(c.m[i][j])} * (128 * (in[j] - zero))) >> 16;
    };
    const std::int64_t sum = product(0, 128) + product(1, 16) + product(2, 128) + Word(c.o[1][i] * 16);
    return Limited(Wrapped(sum) >> 4);
}

/// The alpha that planes without one get: the second offset alone.
inline int PlanarAlpha(const Matrix& c) {
    return Limited(Word(c.o[1][3] * 16) >> 4);
}

}  // namespace convert_test

#endif  // TESSELU_TESTS_CONVERT_KERNELFORMULAS_H
