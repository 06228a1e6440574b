#ifndef TESSELU_TESTS_CONVERT_MODEL_ARITHMETIC_H
#define TESSELU_TESTS_CONVERT_MODEL_ARITHMETIC_H

#include <cmath>

#include "convert/model/Layout.h"

// The arithmetic of the converter, a sample at a time.

namespace convert_model {

/// Row i makes output sample i. The first row of offsets is added before the matrix, the second after it.
struct Coefficients {
    double m[4][4];
    double o[2][4];
};

inline int Limit(std::int64_t value) {
    return static_cast<int>(std::clamp<std::int64_t>(value, 0, 255));
}
/// What is not above 0, and what is no number, is 0.
inline int LimitAndTruncate(double value) {
    return !(value > 0) ? 0 : value > 255 ? 255 : static_cast<int>(value);
}
/// A sum in a lane of 16 bits.
inline int Wrap(std::int64_t value) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(value));
}
/// Toward zero, into a lane of 16 bits.
inline int Word(double value) {
    return Wrap(static_cast<std::int64_t>(value));
}
/// A matrix entry in 8192ths, rounded half away from zero.
inline int Fixed(double entry) {
    return Word(entry * 8192 + (entry < 0 ? -0.5 : 0.5));
}

// ---- Doubles ---------------------------------------------------------------------------------------------

/// `columns` is 4 where alpha takes part in the colours.
inline int InDoubles(const Coefficients& c, std::size_t i, const Pixel& in, std::size_t columns) {
    double sum =
        c.m[i][2] * (in[2] + c.o[0][2]) + c.m[i][1] * (in[1] + c.o[0][1]) + c.m[i][0] * (in[0] + c.o[0][0]);
    if (columns == 4) {
        sum += c.m[i][3] * (in[3] + c.o[0][3]);
    }
    return LimitAndTruncate(sum + c.o[1][i]);
}
inline int AlphaInDoubles(const Coefficients& c, int alpha) {
    return LimitAndTruncate(alpha + c.o[0][3] + c.o[1][3]);
}

// ---- Class A: seven-bit input, sixteenths ----------------------------------------------------------------

inline int SevenBitLane(const Coefficients& c, std::size_t j, int sample) {
    return Wrap(128 * sample + Word(c.o[0][j] * 128));
}
inline int FromSixteenths(const Coefficients& c, std::size_t i, std::int64_t packed) {
    return Limit(Wrap(packed + Word(c.o[1][i] * 16)) >> 4);
}
inline int ClassA(const Coefficients& c, std::size_t i, const Pixel& in, std::size_t columns) {
    std::int64_t sum = 0;
    for (std::size_t j = 0; j < columns; ++j) {
        sum += std::int64_t{Fixed(c.m[i][j])} * SevenBitLane(c, j, in[j]);
    }
    return FromSixteenths(c, i, std::clamp<std::int64_t>(sum >> 16, -32768, 32767));
}
inline int AlphaInClassA(const Coefficients& c, int alpha) {
    return FromSixteenths(c, kAlpha, SevenBitLane(c, kAlpha, alpha) >> 3);
}

// ---- Class B: eight-bit input, whole code values ---------------------------------------------------------

inline int LumaInClassB(const Coefficients& c, const Pixel& in) {
    std::int64_t sum = 0;
    for (std::size_t j = 0; j < 4; ++j) {
        sum += std::int64_t{Fixed(c.m[1][j])} * Wrap(in[j] + Word(c.o[0][j]));
    }
    return Limit((sum >> 13) + Word(c.o[1][1]));
}
/// Of pixels that are added first: two (one more bit to shift) or four (two more). No input offsets.
inline int ChromaInClassB(const Coefficients& c, std::size_t i, const Pixel& added, std::size_t count) {
    std::int64_t sum = 0;
    for (std::size_t j = 0; j < 4; ++j) {
        sum += std::int64_t{Fixed(c.m[i][j])} * added[j];
    }
    return Limit((sum >> (count == 4 ? 15 : count == 2 ? 14 : 13)) + Word(c.o[1][i]));
}

// ---- Class C: planes, every product cut to its high half -------------------------------------------------

inline int ClassC(const Coefficients& c, std::size_t i, const Pixel& in) {
    const auto product = [&](std::size_t j, int zero) {
        return (std::int64_t{Fixed(c.m[i][j])} * (128 * (in[j] - zero))) >> 16;
    };
    return FromSixteenths(c, i, product(0, 128) + product(1, 16) + product(2, 128));
}

// ---- Shaping ---------------------------------------------------------------------------------------------

inline int Shaped(int c, int alpha) {
    const int t = c * alpha;
    return (t + (t >> 8) + (t >> 15) + 128) >> 8;
}
/// `zero` is 16 for luma, 128 for chroma.
inline int ShapedAround(int zero, int sample, int alpha) {
    const double product = (sample - zero) * alpha * 0.00392156862745098;
    return static_cast<int>(product < 0 ? product - 0.5 : product + 0.5) + zero;
}

inline std::int64_t Reciprocal(int alpha) {
    return alpha == 0 ? 0 : static_cast<std::int64_t>(66846720.0 / alpha + 0.5);
}
/// A sample above its alpha wraps.
inline int Unshaped(int c, int alpha) {
    return static_cast<int>((c * Reciprocal(alpha) + 0x20000) >> 18) & 255;
}
inline int LimitAround(int zero, std::int64_t difference) {
    return static_cast<int>(zero == 16 ? std::clamp<std::int64_t>(difference, -16, 239)
                                       : std::clamp<std::int64_t>(difference, -128, 127)) +
           zero;
}
inline int UnshapedAround(int zero, int sample, int alpha) {
    return LimitAround(zero, ((sample - zero) * Reciprocal(alpha)) >> 18);
}

inline int UnshapedInDoubles(int c, int alpha) {
    return alpha == 0 ? 0 : std::min(static_cast<int>(c * 255.0 / alpha + 0.5), 255);
}
inline int UnshapedAroundInDoubles(int zero, int sample, int alpha) {
    if (alpha == 0) {
        return zero;
    }
    const double quotient = (sample - zero) * 255.0 / alpha;
    const double rounded = quotient < 0 ? quotient - 0.5 : quotient + 0.5;
    return LimitAround(zero, std::clamp<std::int64_t>(static_cast<std::int64_t>(rounded), -255, 255));
}

// ---- Plus functions --------------------------------------------------------------------------------------

/// Of studio RGB, before anything else.
inline Pixel LimitedToStudio(const Pixel& in) {
    return {std::clamp(in[0], 16, 235), std::clamp(in[1], 16, 235), std::clamp(in[2], 16, 235), in[3]};
}
/// After the conversion, on the samples that it gave: Cb, Y, Cr, A.
inline Pixel Plus(unsigned function, const Pixel& c) {
    const int a = c[3], transparent = 255 - a;
    const auto times = [&](int factor, int alpha) {
        Pixel out = {0, 0, 0, alpha};
        for (std::size_t i = 0; i < 3; ++i) {
            out[i] = LimitAndTruncate(c[i] * factor * 0.00392156862745098);
        }
        return out;
    };
    const auto less = [&](int chroma, int luma) {
        const auto lessShare = [&](int sample, int of) {
            return LimitAndTruncate(sample - of * transparent * 0.00392156862745098);
        };
        return Pixel{lessShare(c[0], chroma), lessShare(c[1], luma), lessShare(c[2], chroma), a};
    };
    switch (function) {
        case 1:
            return {c[0], c[1], c[2], transparent};
        case 2:
            return times(a, a);
        case 3:
            return times(transparent, transparent);
        case 4:
            return less(128, 16);
        case 5:
            return less(128, 235);
        case 6:
            return {c[0], c[1], c[2], 255};
        default:
            return c;
    }
}

// ---- Fixed point and single precision: full RGB to Cb, Y, Cr ---------------------------------------------

inline Pixel InFixedPoint(const Pixel& in) {
    const auto middle = [](int sum) { return static_cast<int>(static_cast<unsigned>(sum) >> 16 & 255U); };
    return {middle(28784 * in[0] - 19072 * in[1] - 9712 * in[2] - 0x800000),
            middle(6416 * in[0] + 33040 * in[1] + 16832 * in[2] + 0x100000),
            middle(28784 * in[2] - 24104 * in[1] - 4680 * in[0] - 0x800000), in[3]};
}

/// Rounds to the nearest.
inline int InSingle(const Coefficients& c, std::size_t i, const Pixel& in) {
    float sum = static_cast<float>(c.o[1][i]);
    for (std::size_t j = 0; j < 4; ++j) {
        const float sample = static_cast<float>(in[j]) + static_cast<float>(c.o[0][j]);
        sum += static_cast<float>(c.m[i][j]) * sample;
    }
    return Limit(std::lrint(sum));
}

}  // namespace convert_model

#endif  // TESSELU_TESTS_CONVERT_MODEL_ARITHMETIC_H
