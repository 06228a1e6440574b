#include <TesselU/convert/ColorSpaceConverter.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <string>

#include "ConvertedPicture.h"
#include "foundation/CapabilitySeam.h"
#include "simd/Rows.h"
#include "simd/Targets.h"

namespace {

using namespace Zan;

constexpr unsigned kSeed = 20240531;

// ---- The colour matrices, in 4096ths, and their offsets

struct Matrix {
    std::array<std::array<double, 4>, 4> m;
    std::array<std::array<double, 4>, 2> o;

    double* Entries() { return m[0].data(); }
    double* Offsets() { return o[0].data(); }
};

Matrix Of4096ths(const int (&rows)[3][3], std::array<double, 4> before, std::array<double, 4> after) {
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

const Matrix kToStudioRgb = Of4096ths({{7096, 4096, 0}, {-1378, 4096, -2860}, {0, 4096, 5614}},
                                      {-128, -16, -128, 0}, {16, 16, 16, 0});
const Matrix kFromStudioRgb = Of4096ths({{2095, -1388, -707}, {467, 2404, 1225}, {-341, -1754, 2095}},
                                        {-16, -16, -16, 0}, {128, 16, 128, 0});
const Matrix kFromFullRgb =
    Of4096ths({{1799, -1192, -607}, {401, 2065, 1052}, {-293, -1506, 1799}}, {0, 0, 0, 0}, {128, 16, 128, 0});
const Matrix kToFullRgb =
    Of4096ths({{8263, 4769, 0}, {-1605, 4769, -3330}, {0, 4769, 6537}}, {-128, -16, -128, 0}, {0, 0, 0, 0});

// ---- The arithmetic, one sample at a time

using Pixel = std::array<int, 4>;

int Limited(std::int64_t value) {
    return static_cast<int>(std::clamp<std::int64_t>(value, 0, 255));
}

int In8192ths(double entry) {
    return static_cast<int>(entry * 8192 + (entry < 0 ? -0.5 : 0.5));
}

int Wrapped16(std::int64_t value) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(value));
}

// The formula in doubles, not limited: what a sample would be without any rounding.
double Exact(const Matrix& c, std::size_t i, const std::array<double, 4>& in) {
    double sum = c.o[1][i];
    for (std::size_t j = 0; j < 4; ++j) {
        sum += c.m[i][j] * (in[j] + c.o[0][j]);
    }
    return sum;
}

std::array<double, 4> AsDoubles(const Pixel& in) {
    return {double(in[0]), double(in[1]), double(in[2]), double(in[3])};
}

// The columns at the end of a row: limited, then truncated.
int TailSample(const Matrix& c, std::size_t i, const std::array<double, 4>& in) {
    return static_cast<int>(std::clamp(Exact(c, i, in), 0.0, 255.0));
}
int TailSample(const Matrix& c, std::size_t i, const Pixel& in) {
    return TailSample(c, i, AsDoubles(in));
}

// Input at seven fraction bits; sums of products of 16 bits; four fraction bits for the second offset.
int SevenBitSample(const Matrix& c, std::size_t i, const Pixel& in) {
    std::int64_t sum = 0;
    for (std::size_t j = 0; j < 4; ++j) {
        const int input = Wrapped16(128 * in[j] + static_cast<int>(c.o[0][j] * 128));
        sum += std::int64_t{In8192ths(c.m[i][j])} * input;
    }
    return Limited(((sum >> 16) + static_cast<int>(c.o[1][i] * 16)) >> 4);
}

// Input as it is; luma after 13 bits.
int EightBitLuma(const Matrix& c, const Pixel& in) {
    std::int64_t sum = 0;
    for (std::size_t j = 0; j < 4; ++j) {
        sum += std::int64_t{In8192ths(c.m[1][j])} * (in[j] + static_cast<int>(c.o[0][j]));
    }
    return Limited((sum >> 13) + static_cast<int>(c.o[1][1]));
}

// Chroma of two pixels: added, without input offsets, after 14 bits.
int EightBitChroma(const Matrix& c, std::size_t i, const Pixel& first, const Pixel& second) {
    std::int64_t sum = 0;
    for (std::size_t j = 0; j < 4; ++j) {
        sum += std::int64_t{In8192ths(c.m[i][j])} * (first[j] + second[j]);
    }
    return Limited((sum >> 14) + static_cast<int>(c.o[1][i]));
}

// Fixed zero points, every product cut to its high half by itself.
int PlanarSample(const Matrix& c, std::size_t i, const Pixel& in) {
    const auto product = [&](std::size_t j, int zero) {
        return (std::int64_t{In8192ths(c.m[i][j])} * (128 * (in[j] - zero))) >> 16;
    };
    const std::int64_t chroma = product(0, 128) + product(2, 128) + static_cast<int>(c.o[1][i] * 16);
    return Limited((chroma + product(1, 16)) >> 4);
}

// ---- Every way of running one conversion

struct PathAndTarget {
    CPUinstructionSetEnum set;
    bool mmxOnly;
    simd::Target target;
    int streaming;
};

void ForEveryRun(const std::function<void(const PathAndTarget&)>& body) {
    for (int t = simd::kPortable; t < static_cast<int>(simd::kTargetCount); ++t) {
        const auto target = static_cast<simd::Target>(t);
        if (!simd::IsTargetAvailable(target)) {
            continue;
        }
        const simd::ScopedTarget limited(target);
        for (CPUinstructionSetEnum set : {kMMX, kSSE_MMX, kSSE2}) {
            const ScopedInstructionSet believed(set);
            for (int streaming : {0, 1}) {
                simd::ForceStreaming(streaming);
                SCOPED_TRACE(testing::Message() << simd::TargetName(target) << ", instruction set " << set
                                                << ", streaming " << streaming << ", seed " << kSeed);
                body({set, set == kSSE_MMX, target, streaming});
                if (testing::Test::HasFatalFailure()) {
                    simd::ForceStreaming(-1);
                    return;
                }
            }
        }
    }
    simd::ForceStreaming(-1);
}

constexpr Placement kPlacements[] = {
    {0, 0, false}, {3, 0, false}, {5, 1, true}, {4, 7, false}, {0, 4, true},
};

constexpr unsigned kWidths[] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  15, 16,  17,  18, 30,
                                31, 32, 33, 47, 48, 49, 63, 64, 65, 71, 100, 130, 193};

struct Conversion {
    ConverterFormat source, destination;
};

// Converts once and compares the whole memory of the destination. `expect` adds what it wants to see, from
// the source.
void ExpectConversion(const Conversion& pair, unsigned width, unsigned height, const Placement& placement,
                      const PathAndTarget& run, Matrix* given, bool withMatrix, bool withOffsets,
                      std::uint8_t fill,
                      const std::function<void(ConvertedPicture&, ExpectedPicture&)>& expect) {
    std::mt19937 random(kSeed + width * 64 + height);
    ConvertedPicture source(pair.source, width, height, random, placement);
    ConvertedPicture destination(pair.destination, width, height, random,
                                 {placement.padding + 1, placement.misalignment, !placement.bottomUp});
    // The images may be a column wider than the picture.
    const Rectangle region(0, 0, static_cast<Long32>(width), static_cast<Long32>(height));
    ImageView from(&source.GetImage(), region, kFrame), to(&destination.GetImage(), region, kFrame);
    ExpectedPicture untouched(source), expected(destination);
    expect(source, expected);

    ColorSpaceConverter converter;
    converter.SetMMXonlyStyle(run.mmxOnly);
    converter.SetAlphaChannel(fill);
    ASSERT_EQ(converter.Do(from, to, kInt_MMXorSIMD, withMatrix ? given->Entries() : nullptr,
                           withOffsets ? given->Offsets() : nullptr),
              0);
    ASSERT_EQ(expected.FirstDifference(), "")
        << pair.source << " to " << pair.destination << ", " << width << 'x' << height << ", padding "
        << placement.padding << ", misalignment " << placement.misalignment << ", bottom up "
        << placement.bottomUp;
    ASSERT_EQ(untouched.FirstDifference(), "") << "source was written";
}

void ForEverySize(
    const std::function<void(unsigned, unsigned, const Placement&, const PathAndTarget&)>& body) {
    ForEveryRun([&](const PathAndTarget& run) {
        std::size_t next = 0;
        for (unsigned width : kWidths) {
            for (unsigned height : {1U, 2U, 3U, 5U}) {
                const Placement& placement = kPlacements[next++ % std::size(kPlacements)];
                body(width, height, placement, run);
                if (testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        }
    });
}

// ---- 4:2:2 to 32-bit RGB

Pixel PairedPixel(ConvertedPicture& p, unsigned x, unsigned y) {
    const std::size_t pair = std::size_t{4} * (x / 2);
    return {p.At(0, pair, y), p.At(0, pair + 1 + 2 * (x % 2), y), p.At(0, pair + 2, y), 0};
}

void ExpectPairsToRgb32(const Conversion& pair, const Matrix& inUse, Matrix* given, bool withMatrix,
                        bool withOffsets, std::uint8_t fill) {
    ForEverySize([&](unsigned width, unsigned height, const Placement& placement, const PathAndTarget& run) {
        ExpectConversion(pair, width, height, placement, run, given, withMatrix, withOffsets, fill,
                         [&](ConvertedPicture& source, ExpectedPicture& expected) {
                             const unsigned whole = width / 16 * 16;
                             for (unsigned y = 0; y < height; ++y) {
                                 for (unsigned x = 0; x < width; ++x) {
                                     const Pixel in = PairedPixel(source, x, y);
                                     for (std::size_t i = 0; i < 3; ++i) {
                                         const int inner = SevenBitSample(inUse, i, in);
                                         const int tail = TailSample(inUse, i, in);
                                         if (x < whole) {
                                             expected.Set(0, 4 * x + i, y, inner);
                                         } else if (run.set == kSSE2) {
                                             expected.Set(0, 4 * x + i, y, tail);
                                         } else {
                                             // The group of the plain kernel is its own affair.
                                             expected.SetRange(0, 4 * x + i, y, std::min(inner, tail),
                                                               std::max(inner, tail));
                                         }
                                     }
                                     expected.Set(0, 4 * x + 3, y, fill);
                                 }
                             }
                         });
    });
}

TEST(ConverterKernels, PairsToRgb32WithDefaults) {
    ExpectPairsToRgb32({kFmtCbYCrY, kFmtRGB32}, kToFullRgb, nullptr, false, false, 255);
    ExpectPairsToRgb32({kFmtCbYCrY, kFmtRGB32StudioOpen}, kToStudioRgb, nullptr, false, false, 0);
    ExpectPairsToRgb32({kFmtCbYCrY, kFmtRGB32Shaped}, kToFullRgb, nullptr, false, false, 93);
}

// Saturated colours and a matrix whose rows share no entry.
Matrix OwnMatrix() {
    Matrix own{};
    own.m = {{{1.75, 1.125, -0.375, 0}, {-0.5, 0.875, -1.25, 0}, {0.0625, 1.5, 2.03125, 0}, {0, 0, 0, 1}}};
    own.o = {{{-120, -10, -131, 0}, {3, -7, 12, 0}}};
    return own;
}

TEST(ConverterKernels, PairsToRgb32WithOwnMatrixAndOffsets) {
    Matrix own = OwnMatrix();
    ExpectPairsToRgb32({kFmtCbYCrY, kFmtRGB32}, own, &own, true, true, 17);
    ExpectPairsToRgb32({kFmtCbYCrY, kFmtRGB32StudioOpen}, own, &own, true, true, 17);
}

TEST(ConverterKernels, MatrixAndOffsetsAreGivenEachByItself) {
    Matrix own = OwnMatrix();
    Matrix ownMatrix = kToFullRgb, ownOffsets = kToFullRgb;
    ownMatrix.m = own.m;
    ownOffsets.o = own.o;
    ExpectPairsToRgb32({kFmtCbYCrY, kFmtRGB32}, ownMatrix, &own, true, false, 255);
    ExpectPairsToRgb32({kFmtCbYCrY, kFmtRGB32}, ownOffsets, &own, false, true, 255);
}

TEST(ConverterKernels, PairsToRgb32WithOffsetsThatWrap) {
    // 128 * x + 128 * 200 leaves 16 bits from x = 56 on; the columns at the end of a row do not wrap, so only
    // whole groups.
    Matrix own{};
    own.m = {{{0.5, 0.25, 0, 0}, {0, 0.5, -0.25, 0}, {0.125, 0, 0.5, 0}, {0, 0, 0, 1}}};
    own.o = {{{200, 150, -200, 0}, {100, 90, 110, 0}}};
    ForEveryRun([&](const PathAndTarget& run) {
        for (unsigned width : {16U, 64U, 160U}) {
            ExpectConversion({kFmtCbYCrY, kFmtRGB32}, width, 3, {}, run, &own, true, true, 255,
                             [&](ConvertedPicture& source, ExpectedPicture& expected) {
                                 for (unsigned y = 0; y < 3; ++y) {
                                     for (unsigned x = 0; x < width; ++x) {
                                         for (std::size_t i = 0; i < 3; ++i) {
                                             expected.Set(0, 4 * x + i, y,
                                                          SevenBitSample(own, i, PairedPixel(source, x, y)));
                                         }
                                         expected.Set(0, 4 * x + 3, y, 255);
                                     }
                                 }
                             });
        }
    });
}

TEST(ConverterKernels, PairsToRgb32WithTheLargestCoefficients) {
    // Two products of nearly 2^30 each; their sum, and the result with its offset, still fit.
    for (double sign : {1.0, -1.0}) {
        Matrix own{};
        const double most = 32767 / 8192.0;
        own.m = {{{sign * most, most, 0, 0},
                  {-most, 0, sign * most, 0},
                  {0, sign * -most, -most, 0},
                  {0, 0, 0, 1}}};
        own.o = {{{-128, -128, -128, 0}, {16, 100, -100, 0}}};
        ForEveryRun([&](const PathAndTarget& run) {
            ExpectConversion({kFmtCbYCrY, kFmtRGB32}, 160, 5, {}, run, &own, true, true, 1,
                             [&](ConvertedPicture& source, ExpectedPicture& expected) {
                                 for (unsigned y = 0; y < 5; ++y) {
                                     for (unsigned x = 0; x < 160; ++x) {
                                         for (std::size_t i = 0; i < 3; ++i) {
                                             expected.Set(0, 4 * x + i, y,
                                                          SevenBitSample(own, i, PairedPixel(source, x, y)));
                                         }
                                         expected.Set(0, 4 * x + 3, y, 1);
                                     }
                                 }
                             });
        });
    }
}

TEST(ConverterKernels, PairsToRgb32WorkedByHand) {
    // Cb 90, Y 41 and 235, Cr 240. Seven fraction bits: -4864, 3200, 14336 for the first pixel. In 8192ths
    // the rows are 16526, 9538, 0; -3210, 9538, -6660; 0, 9538, 13074. B: -80382464 + 30521600 = -49860864,
    // >> 16 = -761, >> 4 below 0. G: 15613440 + 30521600 - 95477760 = -49342720, below 0. R: 30521600 +
    // 187428864 = 217950464, >> 16 = 3325, >> 4 = 207. Second pixel, luma 28032: B 186986752 >> 16 = 2853, >>
    // 4 = 178. G 187504896 >> 16 = 2861, >> 4 = 178. R 454798080 >> 16 = 6939, >> 4 = 433, limited.
    std::mt19937 random(kSeed);
    ConvertedPicture source(kFmtCbYCrY, 16, 1, random), destination(kFmtRGB32, 16, 1, random);
    for (std::size_t pair = 0; pair < 8; ++pair) {
        source.At(0, 4 * pair, 0) = 90;
        source.At(0, 4 * pair + 1, 0) = 41;
        source.At(0, 4 * pair + 2, 0) = 240;
        source.At(0, 4 * pair + 3, 0) = 235;
    }
    ImageView from(&source.GetImage()), to(&destination.GetImage());
    ColorSpaceConverter converter;
    ASSERT_EQ(converter.Do(from, to, kInt_MMXorSIMD, nullptr, nullptr), 0);
    const int pixels[8] = {0, 0, 207, 255, 178, 178, 255, 255};
    for (std::size_t i = 0; i < 64; ++i) {
        EXPECT_EQ(destination.At(0, i, 0), pixels[i % 8]) << i;
    }
}

// ---- 32-bit RGB to 4:2:2

Pixel WholePixel(ConvertedPicture& p, unsigned x, unsigned y) {
    const std::size_t at = std::size_t{4} * x;
    return {p.At(0, at, y), p.At(0, at + 1, y), p.At(0, at + 2, y), p.At(0, at + 3, y)};
}

void ExpectRgb32ToPairs(const Conversion& pair, const Matrix& inUse, Matrix* given) {
    ForEverySize([&](unsigned width, unsigned height, const Placement& placement, const PathAndTarget& run) {
        ExpectConversion(
            pair, width, height, placement, run, given, given != nullptr, given != nullptr, 255,
            [&](ConvertedPicture& source, ExpectedPicture& expected) {
                const unsigned whole = width / 4 * 4;
                for (unsigned y = 0; y < height; ++y) {
                    for (unsigned x = 0; x < width; ++x) {
                        const Pixel in = WholePixel(source, x, y);
                        expected.Set(0, 2 * x + 1, y,
                                     x < whole ? EightBitLuma(inUse, in) : TailSample(inUse, 1, in));
                        if (x % 2 != 0) {
                            continue;
                        }
                        // The second of a pair that has none does not count.
                        const Pixel second = x + 1 < width ? WholePixel(source, x + 1, y) : in;
                        for (std::size_t i : {0U, 2U}) {
                            if (x < whole) {
                                expected.Set(0, 2 * x + i, y, EightBitChroma(inUse, i, in, second));
                            } else {
                                std::array<double, 4> mean{};
                                for (std::size_t j = 0; j < 4; ++j) {
                                    mean[j] = (in[j] + second[j]) / 2.0;
                                }
                                expected.Set(0, 2 * x + i, y, TailSample(inUse, i, mean));
                            }
                        }
                    }
                }
            });
    });
}

TEST(ConverterKernels, Rgb32ToPairsWithDefaults) {
    ExpectRgb32ToPairs({kFmtRGB32, kFmtCbYCrY}, kFromFullRgb, nullptr);
    ExpectRgb32ToPairs({kFmtRGB32StudioOpen, kFmtCbYCrY}, kFromStudioRgb, nullptr);
}

TEST(ConverterKernels, Rgb32ToPairsWithOwnMatrix) {
    Matrix own{};
    own.m = {{{0.75, -0.5, -0.25, 0}, {0.25, 0.625, 0.125, 0}, {-0.125, -0.375, 0.5, 0}, {0, 0, 0, 1}}};
    // Fractions of offsets go in the kernel's word tables, not at the end of a row; so whole ones here.
    own.o = {{{-3, 5, -11, 0}, {120, 20, 131, 0}}};
    // Chroma rows that add up to 0 feel no common offset; here they feel none in the groups and all at the
    // end of a row, so the input offsets are alike.
    own.o[0] = {-3, -3, -3, 0};
    ExpectRgb32ToPairs({kFmtRGB32, kFmtCbYCrY}, own, &own);
}

TEST(ConverterKernels, Rgb32ToPairsTruncatesItsOffsets) {
    // In whole groups: -2.75 counts as -2 for luma, 9.75 as 9; chroma looks at no input offset, whatever its
    // rows add up to.
    Matrix own{};
    own.m = {{{0.5, 0.25, 0.125, 0}, {0.125, 0.5, 0.25, 0}, {0.25, 0.125, 0.375, 0}, {0, 0, 0, 1}}};
    own.o = {{{-2.75, 3.5, 9.75, 0}, {1.75, -4.75, -6.5, 0}}};
    ForEveryRun([&](const PathAndTarget& run) {
        for (unsigned width : {4U, 20U, 64U, 132U}) {
            ExpectConversion({kFmtRGB32, kFmtCbYCrY}, width, 2, {}, run, &own, true, true, 255,
                             [&](ConvertedPicture& source, ExpectedPicture& expected) {
                                 for (unsigned y = 0; y < 2; ++y) {
                                     for (unsigned x = 0; x < width; x += 2) {
                                         const Pixel a = WholePixel(source, x, y),
                                                     b = WholePixel(source, x + 1, y);
                                         expected.Set(0, 2 * x, y, EightBitChroma(own, 0, a, b));
                                         expected.Set(0, 2 * x + 1, y, EightBitLuma(own, a));
                                         expected.Set(0, 2 * x + 2, y, EightBitChroma(own, 2, a, b));
                                         expected.Set(0, 2 * x + 3, y, EightBitLuma(own, b));
                                     }
                                 }
                             });
        }
    });
}

void ExpectRgb32ToWholePairs(Matrix own) {
    ForEveryRun([&](const PathAndTarget& run) {
        ExpectConversion({kFmtRGB32, kFmtCbYCrY}, 132, 4, {}, run, &own, true, true, 255,
                         [&](ConvertedPicture& source, ExpectedPicture& expected) {
                             for (unsigned y = 0; y < 4; ++y) {
                                 for (unsigned x = 0; x < 132; x += 2) {
                                     const Pixel a = WholePixel(source, x, y),
                                                 b = WholePixel(source, x + 1, y);
                                     expected.Set(0, 2 * x, y, EightBitChroma(own, 0, a, b));
                                     expected.Set(0, 2 * x + 1, y, EightBitLuma(own, a));
                                     expected.Set(0, 2 * x + 2, y, EightBitChroma(own, 2, a, b));
                                     expected.Set(0, 2 * x + 3, y, EightBitLuma(own, b));
                                 }
                             }
                         });
    });
}

TEST(ConverterKernels, Rgb32ToPairsWithTheLargestCoefficients) {
    const double most = 32767 / 8192.0;
    Matrix own{};
    own.m = {{{most, -most, most, 0}, {-most, most, 0.25, 0}, {most, most, -most, 0}, {0, 0, 0, 1}}};
    own.o = {{{100, -100, 50, 0}, {-300, 200, -100, 0}}};
    ExpectRgb32ToWholePairs(own);
}

TEST(ConverterKernels, Rgb32ToPairsWithLargeProductsThatCancel) {
    // What the offsets bring to luma is 65536 in the end, but 2^31 after two of its four products.
    const double most = 32767 / 8192.0;
    Matrix own{};
    own.m = {{{0.5, -0.25, -0.25, 0}, {-4, -4, most, most}, {-0.25, -0.25, 0.5, 0}, {0, 0, 0, 1}}};
    own.o = {{{-32768, -32768, -32768, -32768}, {128, 100, 128, 0}}};
    ExpectRgb32ToWholePairs(own);
}

TEST(ConverterKernels, Rgb32ToPairsWorkedByHand) {
    // Blue 255 beside red 255, in 8192ths: Cb row 3598, -2384, -1214, luma row 802, 4130, 2104, Cr row -586,
    // -3012, 3598. Luma: 204510 >> 13 = 24, + 16 = 40; 536520 >> 13 = 65, + 16 = 81. Cb: (917490 - 309570) >>
    // 14 = 37, + 128 = 165. Cr: (-149430 + 917490) >> 14 = 46, + 128 = 174.
    std::mt19937 random(kSeed);
    ConvertedPicture source(kFmtRGB32, 4, 1, random), destination(kFmtCbYCrY, 4, 1, random);
    for (std::size_t x = 0; x < 4; ++x) {
        source.At(0, 4 * x, 0) = x % 2 == 0 ? 255 : 0;
        source.At(0, 4 * x + 1, 0) = 0;
        source.At(0, 4 * x + 2, 0) = x % 2 == 0 ? 0 : 255;
    }
    ImageView from(&source.GetImage()), to(&destination.GetImage());
    ColorSpaceConverter converter;
    ASSERT_EQ(converter.Do(from, to, kInt_MMXorSIMD, nullptr, nullptr), 0);
    const int pair[4] = {165, 40, 174, 81};
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(destination.At(0, i, 0), pair[i % 4]) << i;
    }
}

// ---- Planar 4:2:0 to 32-bit RGB

Pixel PlanarPixel(ConvertedPicture& p, unsigned x, unsigned y) {
    return {p.At(1, x / 2, y / 2), p.At(0, x, y), p.At(2, x / 2, y / 2), 0};
}

void ExpectPlanarToRgb32(const Conversion& pair, const Matrix& inUse, Matrix* given, bool tailsToo) {
    ForEverySize([&](unsigned width, unsigned height, const Placement& placement, const PathAndTarget& run) {
        if (!tailsToo && width % 16 != 0) {
            return;
        }
        ExpectConversion(
            pair, width, height, placement, run, given, given != nullptr, given != nullptr, 201,
            [&](ConvertedPicture& source, ExpectedPicture& expected) {
                const unsigned whole = width / 16 * 16;
                for (unsigned y = 0; y < height; ++y) {
                    for (unsigned x = 0; x < width; ++x) {
                        const Pixel in = PlanarPixel(source, x, y);
                        for (std::size_t i = 0; i < 3; ++i) {
                            expected.Set(0, 4 * x + i, y,
                                         x < whole ? PlanarSample(inUse, i, in) : TailSample(inUse, i, in));
                        }
                        expected.Set(0, 4 * x + 3, y, Limited(static_cast<int>(inUse.o[1][3])));
                    }
                }
            });
    });
}

TEST(ConverterKernels, Planar420ToRgb32WithDefaults) {
    // Alpha 0: the fill does not count here.
    ExpectPlanarToRgb32({kFmtPlanar420, kFmtRGB32}, kToFullRgb, nullptr, true);
    ExpectPlanarToRgb32({kFmtPlanar420, kFmtRGB32StudioOpen}, kToStudioRgb, nullptr, true);
}

TEST(ConverterKernels, Planar420ToRgb32WithOwnMatrix) {
    Matrix own = OwnMatrix();
    own.o[0] = {-128, -16, -128, 0};
    own.o[1] = {3, -7, 12, 77};
    ExpectPlanarToRgb32({kFmtPlanar420, kFmtRGB32}, own, &own, true);
}

TEST(ConverterKernels, Planar420ToRgb32IgnoresInputOffsets) {
    Matrix own = OwnMatrix();
    own.o[0] = {55, -90, 7, 0};
    ExpectPlanarToRgb32({kFmtPlanar420, kFmtRGB32}, own, &own, false);
}

TEST(ConverterKernels, Planar420ToRgb32WorkedByHand) {
    // Cb 90, Y 235, Cr 240: inputs -4864, 28032, 14336. B: (-4864 * 16526) >> 16 = -1227, (28032 * 9538) >>
    // 16 = 4079; 2852 >> 4 = 178. G: (-4864 * -3210) >> 16 = 238, (14336 * -6660) >> 16 = -1457, with luma
    // 2860 >> 4 = 178. R: (14336 * 13074) >> 16 = 2859, with luma 6938 >> 4 = 433, limited.
    std::mt19937 random(kSeed);
    ConvertedPicture source(kFmtPlanar420, 16, 2, random), destination(kFmtRGB32, 16, 2, random);
    for (std::size_t x = 0; x < 16; ++x) {
        source.At(0, x, 0) = source.At(0, x, 1) = 235;
        source.At(1, x / 2, 0) = 90;
        source.At(2, x / 2, 0) = 240;
    }
    ImageView from(&source.GetImage()), to(&destination.GetImage());
    ColorSpaceConverter converter;
    converter.SetAlphaChannel(200);
    ASSERT_EQ(converter.Do(from, to, kInt_MMXorSIMD, nullptr, nullptr), 0);
    const int pixel[4] = {178, 178, 255, 0};
    for (std::size_t y = 0; y < 2; ++y) {
        for (std::size_t i = 0; i < 64; ++i) {
            EXPECT_EQ(destination.At(0, i, y), pixel[i % 4]) << i << ", " << y;
        }
    }
}

// ---- The swap of luma and chroma bytes

TEST(ConverterKernels, SwapOfLumaAndChroma) {
    for (const Conversion& pair : {Conversion{kFmtCbYCrY, kFmtYCbYCr}, Conversion{kFmtYCbYCr, kFmtCbYCrY}}) {
        // Bytes of the luma that an odd width has not got.
        const std::size_t missing = pair.destination == kFmtCbYCrY ? 3 : 2;
        ForEverySize(
            [&](unsigned width, unsigned height, const Placement& placement, const PathAndTarget& run) {
                ExpectConversion(pair, width, height, placement, run, nullptr, false, false, 255,
                                 [&](ConvertedPicture& source, ExpectedPicture& expected) {
                                     for (unsigned y = 0; y < height; ++y) {
                                         for (std::size_t i = 0; i < 4 * ((width + 1U) / 2); ++i) {
                                             if (width % 2 == 1 && i == 2 * (width - 1U) + missing) {
                                                 continue;
                                             }
                                             expected.Set(0, i, y, source.At(0, i ^ 1U, y));
                                         }
                                     }
                                 });
            });
    }
}

TEST(ConverterKernels, SwapInPlaceTwiceIsNothing) {
    ForEveryRun([](const PathAndTarget&) {
        for (unsigned width : {2U, 30U, 64U, 66U, 130U}) {
            std::mt19937 random(kSeed + width);
            ConvertedPicture picture(kFmtCbYCrY, width, 3, random, {2, 1, false});
            const ImageDescriptor other(width, 3, kYCrCb, k422, kYCbYCr, kPacked, kProgressive, kNoFields,
                                        kTopLeft, 1.0F, kUnshaped);
            Image sameMemory(&picture.At(0, 0, 0), picture.GetImage().GetPitch(0), other, 1, 1);
            ExpectedPicture before(picture), swapped(picture);
            for (unsigned y = 0; y < 3; ++y) {
                for (std::size_t i = 0; i < 2U * width; ++i) {
                    swapped.Set(0, i, y, picture.At(0, i ^ 1U, y));
                }
            }
            ImageView as2(&picture.GetImage()), as11(&sameMemory);
            ColorSpaceConverter converter;
            ASSERT_EQ(converter.Do(as2, as11, kInt_MMXorSIMD, nullptr, nullptr), 0);
            ASSERT_EQ(swapped.FirstDifference(), "") << width;
            ASSERT_EQ(converter.Do(as11, as2, kInt_MMXorSIMD, nullptr, nullptr), 0);
            ASSERT_EQ(before.FirstDifference(), "") << width;
        }
    });
}

// ---- Copies

TEST(ConverterKernels, CopiesOfWholePixels) {
    for (ConverterFormat format :
         {kFmtRGB32, kFmtCbYCrA, kFmtRGB32NarrowClamp, kFmtRGB32Studio, kFmtRGB32StudioOpen, kFmtYCbCrA,
          kFmtRGB32Shaped, kFmtCbYCrAShaped, kFmtRGB24, kFmtAlpha8}) {
        const std::size_t bytes = format == kFmtAlpha8 ? 1 : format == kFmtRGB24 ? 3 : 4;
        ForEverySize(
            [&](unsigned width, unsigned height, const Placement& placement, const PathAndTarget& run) {
                ExpectConversion({format, format}, width, height, placement, run, nullptr, false, false, 255,
                                 [&](ConvertedPicture& source, ExpectedPicture& expected) {
                                     for (unsigned y = 0; y < height; ++y) {
                                         for (std::size_t i = 0; i < bytes * width; ++i) {
                                             expected.Set(0, i, y, source.At(0, i, y));
                                         }
                                     }
                                 });
            });
    }
}

TEST(ConverterKernels, CopiesOfPairsLeaveAnOddLastColumn) {
    for (ConverterFormat format : {kFmtCbYCrY, kFmtCbYCrY4, kFmtCbYCrY4Shaped}) {
        ForEverySize(
            [&](unsigned width, unsigned height, const Placement& placement, const PathAndTarget& run) {
                ExpectConversion({format, format}, width, height, placement, run, nullptr, false, false, 255,
                                 [&](ConvertedPicture& source, ExpectedPicture& expected) {
                                     for (unsigned y = 0; y < height; ++y) {
                                         for (std::size_t i = 0; i < 4 * (std::size_t{width} / 2); ++i) {
                                             expected.Set(0, i, y, source.At(0, i, y));
                                         }
                                         for (std::size_t i = 0; format != kFmtCbYCrY && i < width; ++i) {
                                             expected.Set(1, i, y, source.At(1, i, y));
                                         }
                                     }
                                 });
            });
    }
}

TEST(ConverterKernels, CopiesLookAtNoMatrix) {
    Matrix own = OwnMatrix();
    ExpectConversion({kFmtRGB32, kFmtRGB32}, 33, 2, {}, {kSSE2, false, simd::CurrentTarget(), 0}, &own, true,
                     true, 9, [](ConvertedPicture& source, ExpectedPicture& expected) {
                         for (unsigned y = 0; y < 2; ++y) {
                             for (std::size_t i = 0; i < 4 * 33; ++i) {
                                 expected.Set(0, i, y, source.At(0, i, y));
                             }
                         }
                     });
}

TEST(ConverterKernels, CopyOntoItselfChangesNothing) {
    for (ConverterFormat format : {kFmtRGB32, kFmtCbYCrY, kFmtCbYCrY4, kFmtRGB24, kFmtAlpha8}) {
        std::mt19937 random(kSeed);
        ConvertedPicture picture(format, 50, 4, random, {1, 3, false});
        ExpectedPicture before(picture);
        ImageView view(&picture.GetImage());
        ColorSpaceConverter converter;
        EXPECT_EQ(converter.Do(view, view, kInt_MMXorSIMD, nullptr, nullptr), 0);
        EXPECT_EQ(before.FirstDifference(), "") << format;
    }
}

TEST(ConverterKernels, CopiesOf32BitWordsStepByWholeWords) {
    // Rows 43 and 46 bytes apart are walked 40 and 44 apart, since pitches count in words; backwards too.
    for (bool bottomUp : {false, true}) {
        std::mt19937 random(kSeed);
        std::vector<std::uint8_t> from(43 * 3), to(46 * 3);
        for (std::uint8_t& byte : from) {
            byte = static_cast<std::uint8_t>(random());
        }
        std::vector<std::uint8_t> expected = to;
        const ImageDescriptor format(10, 3, kRGB, k4444, kBGRA, kPacked, kProgressive, kNoFields, kTopLeft,
                                     1.0F, kUnshaped);
        Image source(from.data(), 43, format, 1, 1), destination(to.data(), 46, format, 1, 1);
        if (bottomUp) {
            source.SetOrigin(kBottomLeft);
            destination.SetOrigin(kBottomLeft);
        }
        for (std::size_t y = 0; y < 3; ++y) {
            for (std::size_t i = 0; i < 40; ++i) {
                const std::size_t at = bottomUp ? 46 * 2 - 44 * y : 44 * y;
                expected[at + i] = from[(bottomUp ? 43 * 2 - 40 * y : 40 * y) + i];
            }
        }
        ImageView fromView(&source), toView(&destination);
        ColorSpaceConverter converter;
        ASSERT_EQ(converter.Do(fromView, toView, kInt_MMXorSIMD, nullptr, nullptr), 0);
        EXPECT_EQ(to, expected) << bottomUp;
    }
}

// ---- Fields and strips

TEST(ConverterKernels, FieldOf422IsConvertedAlone) {
    ForEveryRun([](const PathAndTarget&) {
        std::mt19937 random(kSeed);
        ConvertedPicture source(kFmtCbYCrY, 48, 6, random), destination(kFmtRGB32, 48, 6, random);
        ImageView from(&source.GetImage()), to(&destination.GetImage());
        from.SetFieldOfInterest(kLowerField);
        to.SetFieldOfInterest(kUpperField);
        ExpectedPicture expected(destination);
        for (unsigned line = 0; line < 3; ++line) {
            for (unsigned x = 0; x < 48; ++x) {
                for (std::size_t i = 0; i < 3; ++i) {
                    expected.Set(0, 4 * x + i, 2 * line,
                                 SevenBitSample(kToFullRgb, i, PairedPixel(source, x, 2 * line + 1)));
                }
                expected.Set(0, 4 * x + 3, 2 * line, 255);
            }
        }
        ColorSpaceConverter converter;
        ASSERT_EQ(converter.Do(from, to, kInt_MMXorSIMD, nullptr, nullptr), 0);
        ASSERT_EQ(expected.FirstDifference(), "");
    });
}

TEST(ConverterKernels, NothingToConvertIsDone) {
    for (const Conversion& pair : {Conversion{kFmtCbYCrY, kFmtRGB32}, Conversion{kFmtRGB32, kFmtCbYCrY},
                                   Conversion{kFmtPlanar420, kFmtRGB32}, Conversion{kFmtCbYCrY, kFmtYCbYCr},
                                   Conversion{kFmtRGB32, kFmtRGB32}}) {
        std::mt19937 random(kSeed);
        ConvertedPicture source(pair.source, 16, 4, random), destination(pair.destination, 16, 4, random);
        ExpectedPicture before(destination);
        for (const Rectangle& region :
             {Rectangle(0, 0, 0, 4), Rectangle(0, 0, 16, 0), Rectangle(0, 4, 16, 4)}) {
            ImageView from(&source.GetImage(), region, kFrame), to(&destination.GetImage());
            ColorSpaceConverter converter;
            EXPECT_EQ(converter.Do(from, to, kInt_MMXorSIMD, nullptr, nullptr), 0);
            EXPECT_EQ(before.FirstDifference(), "");
        }
    }
}

}  // namespace
