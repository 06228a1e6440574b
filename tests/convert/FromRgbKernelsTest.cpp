// 32-bit RGB to 4:2:2 pairs.

#include "convert/KernelRuns.h"

namespace {

using namespace Zan;
using namespace convert_test;

constexpr Conversion kRgb32ToPairs = {kFmtRGB32, kFmtCbYCrY};

Pixel WholePixel(ConvertedPicture& p, unsigned x, unsigned y) {
    const std::size_t at = std::size_t{4} * x;
    return {p.At(0, at, y), p.At(0, at + 1, y), p.At(0, at + 2, y), p.At(0, at + 3, y)};
}

// Groups of four columns, then the tail. A last pixel that has no neighbour counts as its own; there is no
// luma behind it.
Expectation Rgb32InPairs(const Matrix& inUse, const Size& size) {
    return [&inUse, size](ConvertedPicture& source, ExpectedPicture& expected) {
        const unsigned whole = size.width / 4 * 4;
        for (unsigned y = 0; y < size.height; ++y) {
            for (unsigned x = 0; x < size.width; ++x) {
                const Pixel in = WholePixel(source, x, y);
                expected.Set(0, 2 * x + 1, y,
                             x < whole ? EightBitLuma(inUse, in) : TailSample(inUse, 1, in, 4));
                if (x % 2 != 0) {
                    continue;
                }
                const Pixel second = x + 1 < size.width ? WholePixel(source, x + 1, y) : in;
                for (const std::size_t i : {0U, 2U}) {
                    if (x < whole) {
                        expected.Set(0, 2 * x + i, y, EightBitChroma(inUse, i, in, second));
                        continue;
                    }
                    const int sum = TailSample(inUse, i, in, 4) + TailSample(inUse, i, second, 4);
                    expected.Set(0, 2 * x + i, y, sum / 2);
                }
            }
        }
    };
}

void ExpectRgb32ToPairs(const Conversion& pair, const Matrix& inUse, const Given& given) {
    ForEverySize([&](const Size& size, const Placement& placement, const RunsAs& run) {
        ExpectConversion(pair, size, placement, run, given, Rgb32InPairs(inUse, size));
    });
}

TEST(ConverterKernels, Rgb32ToPairsWithDefaults) {
    ExpectRgb32ToPairs(kRgb32ToPairs, kFromFullRgb, {});
    ExpectRgb32ToPairs({kFmtRGB32StudioOpen, kFmtCbYCrY}, kFromStudioRgb, {});
}

TEST(ConverterKernels, Rgb32ToPairsStreamedToAnyAddress) {
    ForEveryStreamedAddress([](const Size& size, const Placement& placement, const RunsAs& run) {
        ExpectConversion(kRgb32ToPairs, size, placement, run, {}, Rgb32InPairs(kFromFullRgb, size));
    });
}

TEST(ConverterKernels, Rgb32ToPairsWithOwnMatrix) {
    Matrix own{};
    own.m = {{{0.75, -0.5, -0.25, 0}, {0.25, 0.625, 0.125, 0}, {-0.125, -0.375, 0.5, 0}, {0, 0, 0, 1}}};
    // Chroma rows that add up to 0 feel no common offset. With others the end of a row, which adds it, would
    // be far from the groups, which do not.
    own.o = {{{-3, -3, -3, 0}, {120, 20, 131, 0}}};
    ExpectRgb32ToPairs(kRgb32ToPairs, own, Given::Both(own));
}

// Widths of whole groups, where nothing but the fixed-point arithmetic counts.
void ExpectWholeGroupsToPairs(const Matrix& own, const Size& size, const RunsAs& run) {
    ExpectConversion(kRgb32ToPairs, size, {}, run, Given::Both(own), Rgb32InPairs(own, size));
}

TEST(ConverterKernels, Rgb32ToPairsTruncatesItsOffsets) {
    // -2.75 counts as -2 for luma, 9.75 as 9; chroma looks at no input offset, whatever its rows add up to.
    Matrix own{};
    own.m = {{{0.5, 0.25, 0.125, 0}, {0.125, 0.5, 0.25, 0}, {0.25, 0.125, 0.375, 0}, {0, 0, 0, 1}}};
    own.o = {{{-2.75, 3.5, 9.75, 0}, {1.75, -4.75, -6.5, 0}}};
    ForEveryRun([&](const RunsAs& run) {
        for (const unsigned width : {4U, 20U, 64U, 132U}) {
            ExpectWholeGroupsToPairs(own, {width, 2}, run);
        }
    });
}

TEST(ConverterKernels, Rgb32ToPairsWithTheLargestCoefficients) {
    const double most = 32767 / 8192.0;
    Matrix own{};
    own.m = {{{most, -most, most, 0}, {-most, most, 0.25, 0}, {most, most, -most, 0}, {0, 0, 0, 1}}};
    own.o = {{{100, -100, 50, 0}, {-300, 200, -100, 0}}};
    ForEveryRun([&](const RunsAs& run) { ExpectWholeGroupsToPairs(own, {132, 4}, run); });
}

TEST(ConverterKernels, Rgb32ToPairsWithLargeProductsThatCancel) {
    // What the offsets bring to luma is 65536 in the end, but 2^31 after two of its four products.
    const double most = 32767 / 8192.0;
    Matrix own{};
    own.m = {{{0.5, -0.25, -0.25, 0}, {-4, -4, most, most}, {-0.25, -0.25, 0.5, 0}, {0, 0, 0, 1}}};
    own.o = {{{-32768, -32768, -32768, -32768}, {128, 100, 128, 0}}};
    ForEveryRun([&](const RunsAs& run) { ExpectWholeGroupsToPairs(own, {132, 4}, run); });
}

TEST(ConverterKernels, Rgb32ToPairsWithAnyCoefficients) {
    ForEveryRun([](const RunsAs& run) {
        for (unsigned number = 0; number < 96; ++number) {
            ExpectWholeGroupsToPairs(AnyMatrix(number, 1, 1), {4 + number % 9 * 28, 2}, run);
            if (testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

// Tails in doubles, by matrices that doubles hold exactly.
TEST(ConverterKernels, Rgb32ToPairsWithAnyMatrixInTheTail) {
    ForEveryRun([](const RunsAs& run) {
        for (unsigned number = 0; number < 40; ++number) {
            const Matrix own = RandomMatrix(1 << number % 16, 2047);
            const Size size = {1 + number % 7, 2};
            ExpectConversion(kRgb32ToPairs, size, PlacementOf(number), run, Given::Both(own),
                             Rgb32InPairs(own, size));
            if (testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

TEST(ConverterKernels, Rgb32ToPairsWorkedByHand) {
    // Blue 255 beside red 255, in 8192ths: Cb row 3598, -2384, -1214, luma row 802, 4130, 2104, Cr row -586,
    // -3012, 3598. Luma: 204510 >> 13 = 24, + 16 = 40; 536520 >> 13 = 65, + 16 = 81. Cb: (917490 - 309570) >>
    // 14 = 37, + 128 = 165. Cr: (-149430 + 917490) >> 14 = 46, + 128 = 174.
    EXPECT_EQ(OneLine(kRgb32ToPairs, 4, Repeated({255, 0, 0, 9, 0, 0, 255, 7}, 2)),
              Repeated({165, 40, 174, 81}, 2));
}

TEST(ConverterKernels, PrimariesToPairsWorkedByHand) {
    // Blue, full RGB: luma 802 * 255 >> 13 = 24, + 16; Cb 3598 * 510 >> 14 = 111.99, + 128; Cr
    // -586 * 510 >> 14 = -18.24 down to -19, + 128.
    const Bytes blue = {255, 0, 0, 9}, black = {0, 0, 0, 0};
    EXPECT_EQ(OneLine(kRgb32ToPairs, 4, Repeated(blue, 4)), Repeated({239, 40, 109, 40}, 2));
    // A single pixel is a tail: 1799 * 255 / 4096 + 128 = 239.99, 401 * 255 / 4096 + 16 = 40.96,
    // 128 - 293 * 255 / 4096 = 109.76. The place of the second luma stays.
    EXPECT_EQ(OneLine(kRgb32ToPairs, 1, blue), (Bytes{239, 40, 109, 0xEE}));
    // Neighbours share the chroma of their mean.
    Bytes line;
    for (const Bytes& pixel : {blue, black, black, blue}) {
        line.insert(line.end(), pixel.begin(), pixel.end());
    }
    EXPECT_EQ(OneLine(kRgb32ToPairs, 4, line), (Bytes{183, 40, 118, 16, 183, 16, 118, 40}));
}

}  // namespace
