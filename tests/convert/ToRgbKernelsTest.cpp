// 4:2:2 pairs and 4:2:0 planes to 32-bit RGB.

#include "convert/KernelRuns.h"

namespace {

using namespace Zan;
using namespace convert_test;

// Saturated colours and a matrix whose rows share no entry.
Matrix OwnMatrix() {
    Matrix own{};
    own.m = {{{1.75, 1.125, -0.375, 0}, {-0.5, 0.875, -1.25, 0}, {0.0625, 1.5, 2.03125, 0}, {0, 0, 0, 1}}};
    own.o = {{{-120, -10, -131, 0}, {3, -7, 12, 0}}};
    return own;
}

// ---- 4:2:2 to 32-bit RGB ---------------------------------------------------------------------------------

constexpr Conversion kPairsToRgb32 = {kFmtCbYCrY, kFmtRGB32};

Pixel PairedPixel(ConvertedPicture& p, unsigned x, unsigned y) {
    const std::size_t pair = std::size_t{4} * (x / 2);
    return {p.At(0, pair, y), p.At(0, pair + 1 + 2 * (x % 2), y), p.At(0, pair + 2, y), 0};
}

// Groups of 16 columns, then the tail.
Expectation PairsInRgb32(const Matrix& inUse, const Size& size, const RunsAs& run, std::uint8_t fill) {
    return [&inUse, size, run, fill](ConvertedPicture& source, ExpectedPicture& expected) {
        const unsigned whole = size.width / 16 * 16;
        for (unsigned y = 0; y < size.height; ++y) {
            for (unsigned x = 0; x < size.width; ++x) {
                const Pixel in = PairedPixel(source, x, y);
                for (std::size_t i = 0; i < 3; ++i) {
                    const int inner = SevenBitSample(inUse, i, in);
                    if (x < whole) {
                        expected.Set(0, 4 * x + i, y, inner);
                        continue;
                    }
                    const int tail = TailSample(inUse, i, in, 3);
                    if (run.set == kSSE2) {
                        expected.Set(0, 4 * x + i, y, tail);
                    } else {
                        // The group of the plain kernel is its own affair.
                        expected.SetRange(0, 4 * x + i, y, std::min(inner, tail), std::max(inner, tail));
                    }
                }
                expected.Set(0, 4 * x + 3, y, fill);
            }
        }
    };
}

void ExpectPairsToRgb32(const Conversion& pair, const Matrix& inUse, const Given& given) {
    ForEverySize([&](const Size& size, const Placement& placement, const RunsAs& run) {
        ExpectConversion(pair, size, placement, run, given, PairsInRgb32(inUse, size, run, given.fill));
    });
}

TEST(ConverterKernels, PairsToRgb32WithDefaults) {
    ExpectPairsToRgb32(kPairsToRgb32, kToFullRgb, {});
    ExpectPairsToRgb32({kFmtCbYCrY, kFmtRGB32StudioOpen}, kToStudioRgb, {nullptr, nullptr, 0});
    ExpectPairsToRgb32({kFmtCbYCrY, kFmtRGB32Shaped}, kToFullRgb, {nullptr, nullptr, 93});
}

TEST(ConverterKernels, PairsToRgb32WithOwnMatrixAndOffsets) {
    const Matrix own = OwnMatrix();
    ExpectPairsToRgb32(kPairsToRgb32, own, Given::Both(own, 17));
    ExpectPairsToRgb32({kFmtCbYCrY, kFmtRGB32StudioOpen}, own, Given::Both(own, 17));
}

TEST(ConverterKernels, MatrixAndOffsetsAreGivenEachByItself) {
    const Matrix own = OwnMatrix();
    Matrix ownMatrix = kToFullRgb, ownOffsets = kToFullRgb;
    ownMatrix.m = own.m;
    ownOffsets.o = own.o;
    ExpectPairsToRgb32(kPairsToRgb32, ownMatrix, {&own, nullptr, 255});
    ExpectPairsToRgb32(kPairsToRgb32, ownOffsets, {nullptr, &own, 255});
}

TEST(ConverterKernels, PairsToRgb32StreamedToAnyAddress) {
    ForEveryStreamedAddress([](const Size& size, const Placement& placement, const RunsAs& run) {
        ExpectConversion(kPairsToRgb32, size, placement, run, {}, PairsInRgb32(kToFullRgb, size, run, 255));
    });
}

// Widths of whole groups, where nothing but the fixed-point arithmetic counts.
void ExpectWholeGroupsToRgb32(const Matrix& own, const Size& size, const RunsAs& run) {
    ExpectConversion(kPairsToRgb32, size, {}, run, Given::Both(own), PairsInRgb32(own, size, run, 255));
}

TEST(ConverterKernels, PairsToRgb32WithOffsetsThatWrap) {
    // 128 * x + 128 * 200 leaves 16 bits from x = 56 on.
    Matrix own{};
    own.m = {{{0.5, 0.25, 0, 0}, {0, 0.5, -0.25, 0}, {0.125, 0, 0.5, 0}, {0, 0, 0, 1}}};
    own.o = {{{200, 150, -200, 0}, {100, 90, 110, 0}}};
    ForEveryRun([&](const RunsAs& run) {
        for (const unsigned width : {16U, 64U, 160U}) {
            ExpectWholeGroupsToRgb32(own, {width, 3}, run);
        }
    });
}

// An input offset of one code value is where white begins to wrap: 128 * 255 + 128 is -32768 in 16 bits.
TEST(ConverterKernels, PairsToRgb32WithOffsetsThatWrapWhiteAlone) {
    Matrix own{};
    own.m = {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
    const struct {
        double offset;
        std::uint8_t white;  ///< what becomes of 255
        std::uint8_t below;  ///< of 254
        std::uint8_t black;  ///< of 0
    } cases[] = {
        // 8192 * (32640 + 127) >> 16 is 4095, a 16th below 256.
        {127.0 / 128, 255, 254, 0},
        // 8192 * -32768 >> 16 is -4096: below 0.
        {1.0, 0, 255, 1},
        {1.5, 0, 255, 1},
        // 254 * 128 + 254 is 32766.
        {1.99, 0, 255, 1},
        // Now 254 wraps as well.
        {2.0, 0, 0, 2},
    };
    ForEveryRun([&](const RunsAs&) {
        for (const auto& [offset, white, below, black] : cases) {
            for (std::size_t wrapping = 0; wrapping < 3; ++wrapping) {
                own.o = {};
                own.o[0][wrapping] = offset;
                ConvertedPicture source(kFmtCbYCrY, 160, 1), destination(kFmtRGB32, 160, 1);
                ExpectedPicture expected(destination);
                for (std::size_t x = 0; x < 160; ++x) {
                    const std::uint8_t samples[3] = {255, 254, 0}, wrapped[3] = {white, below, black};
                    const std::size_t kind = x / 2 % 3;
                    source.At(0, 2 * x, 0) = source.At(0, 2 * x + 1, 0) = samples[kind];
                    for (std::size_t i = 0; i < 3; ++i) {
                        expected.Set(0, 4 * x + i, 0, i == wrapping ? wrapped[kind] : samples[kind]);
                    }
                    expected.Set(0, 4 * x + 3, 0, 255);
                }
                ImageView from(source), to(destination);
                ColorSpaceConverter converter;
                ASSERT_EQ(converter.Do(from, to, kInt_MMXorSIMD, own.Entries(), own.Offsets()), 0);
                ASSERT_EQ(expected.FirstDifference(), "") << offset << " before sample " << wrapping;
            }
        }
    });
}

TEST(ConverterKernels, PairsToRgb32WithTheLargestCoefficients) {
    // Two products of nearly 2^30 each; their sum, and the result with its offset, still fit.
    for (const double sign : {1.0, -1.0}) {
        Matrix own{};
        const double most = 32767 / 8192.0;
        own.m = {{{sign * most, most, 0, 0},
                  {-most, 0, sign * most, 0},
                  {0, sign * -most, -most, 0},
                  {0, 0, 0, 1}}};
        own.o = {{{-128, -128, -128, 0}, {16, 100, -100, 0}}};
        ForEveryRun([&](const RunsAs& run) { ExpectWholeGroupsToRgb32(own, {160, 5}, run); });
    }
}

TEST(ConverterKernels, PairsToRgb32WithAnyCoefficients) {
    ForEveryRun([](const RunsAs& run) {
        for (unsigned number = 0; number < 64; ++number) {
            ExpectWholeGroupsToRgb32(AnyMatrix(number, 128, 16), {16 + number % 5 * 48, 2}, run);
            if (testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

// Tails in doubles, by matrices that doubles hold exactly.
TEST(ConverterKernels, PairsToRgb32WithAnyMatrixInTheTail) {
    ForEveryRun([](const RunsAs& run) {
        for (unsigned number = 0; number < 40; ++number) {
            const Matrix own = RandomMatrix(1 << number % 16, 2047);
            const Size size = {1 + number % 31, 2};
            ExpectConversion(kPairsToRgb32, size, PlacementOf(number), run, Given::Both(own),
                             PairsInRgb32(own, size, run, 255));
            if (testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

TEST(ConverterKernels, PairsToRgb32WorkedByHand) {
    // Cb 90, Y 41 and 235, Cr 240. Seven fraction bits: -4864, 3200, 14336 for the first pixel. In 8192ths
    // the rows are 16526, 9538, 0; -3210, 9538, -6660; 0, 9538, 13074. B: -80382464 + 30521600 = -49860864,
    // >> 16 = -761, >> 4 below 0. G: 15613440 + 30521600 - 95477760 = -49342720, below 0. R: 30521600 +
    // 187428864 = 217950464, >> 16 = 3325, >> 4 = 207. Second pixel, luma 28032: B 186986752 >> 16 = 2853, >>
    // 4 = 178. G 187504896 >> 16 = 2861, >> 4 = 178. R 454798080 >> 16 = 6939, >> 4 = 433, limited.
    EXPECT_EQ(OneLine(kPairsToRgb32, 16, Repeated({90, 41, 240, 235}, 8)),
              Repeated({0, 0, 207, 255, 178, 178, 255, 255}, 8));
}

TEST(ConverterKernels, GroupAndTailDifferByOne) {
    // Cb 240, Y 235, Cr 128 to full RGB. Blue of the group: 16526 * 112 * 128 + 9538 * 219 * 128 =
    // 504285952; >> 16 is 7694; >> 4 is 480, limited to 255. Green: -3210 * 14336 + 9538 * 28032 =
    // 221350656; >> 16 is 3377; >> 4 is 211. In doubles: (-1605 * 112 + 4769 * 219) / 4096 = 211.09.
    const Bytes both = OneLine(kPairsToRgb32, 18, Repeated({240, 235, 128, 235}, 9));
    EXPECT_EQ(both, Repeated({255, 211, 254, 255}, 18));

    // A matrix entry of 1.00006 is 1 in 8192ths, yet makes 100.006 of 100. Group: 8192 * 100 * 128 >> 16 is
    // 1600; + trunc(15.92) is 1615; >> 4 is 100. Tail: 100.006 + 0.995 is 101.001.
    Matrix fine{};
    fine.m[0][1] = 1.00006;
    fine.o[1][0] = 1 - 0.005;
    const Bytes out = OneLine(kPairsToRgb32, 18, Bytes(36, 100), Given::Both(fine));
    for (std::size_t x = 0; x < 18; ++x) {
        EXPECT_EQ(out[4 * x], x < 16 ? 100 : 101) << x;
    }
}

// ---- Planar 4:2:0 to 32-bit RGB --------------------------------------------------------------------------

constexpr Conversion kPlanesToRgb32 = {kFmtPlanar420, kFmtRGB32};

Pixel PlanarPixel(ConvertedPicture& p, unsigned x, unsigned y) {
    return {p.At(1, x / 2, y / 2), p.At(0, x, y), p.At(2, x / 2, y / 2), 0};
}

Expectation PlanesInRgb32(const Matrix& inUse, const Size& size) {
    return [&inUse, size](ConvertedPicture& source, ExpectedPicture& expected) {
        const unsigned whole = size.width / 16 * 16;
        for (unsigned y = 0; y < size.height; ++y) {
            for (unsigned x = 0; x < size.width; ++x) {
                const Pixel in = PlanarPixel(source, x, y);
                for (std::size_t i = 0; i < 3; ++i) {
                    expected.Set(0, 4 * x + i, y,
                                 x < whole ? PlanarSample(inUse, i, in) : TailSample(inUse, i, in, 3));
                }
                expected.Set(
                    0, 4 * x + 3, y,
                    x < whole ? PlanarAlpha(inUse) : static_cast<int>(std::clamp(inUse.o[1][3], 0.0, 255.0)));
            }
        }
    };
}

void ExpectPlanesToRgb32(const Conversion& pair, const Matrix& inUse, const Given& given, bool tailsToo) {
    ForEverySize([&](const Size& size, const Placement& placement, const RunsAs& run) {
        if (tailsToo || size.width % 16 == 0) {
            ExpectConversion(pair, size, placement, run, given, PlanesInRgb32(inUse, size));
        }
    });
}

TEST(ConverterKernels, Planar420ToRgb32WithDefaults) {
    // Alpha 0: the fill does not count here.
    const Given fill = {nullptr, nullptr, 201};
    ExpectPlanesToRgb32(kPlanesToRgb32, kToFullRgb, fill, true);
    ExpectPlanesToRgb32({kFmtPlanar420, kFmtRGB32StudioOpen}, kToStudioRgb, fill, true);
}

TEST(ConverterKernels, Planar420ToRgb32StreamedToAnyAddress) {
    ForEveryStreamedAddress([](const Size& size, const Placement& placement, const RunsAs& run) {
        ExpectConversion(kPlanesToRgb32, size, placement, run, {}, PlanesInRgb32(kToFullRgb, size));
    });
}

TEST(ConverterKernels, Planar420ToRgb32WithOwnMatrix) {
    Matrix own = OwnMatrix();
    own.o[0] = {-128, -16, -128, 0};
    own.o[1] = {3, -7, 12, 77};
    ExpectPlanesToRgb32(kPlanesToRgb32, own, Given::Both(own, 201), true);
}

TEST(ConverterKernels, Planar420ToRgb32IgnoresInputOffsets) {
    Matrix own = OwnMatrix();
    own.o[0] = {55, -90, 7, 0};
    ExpectPlanesToRgb32(kPlanesToRgb32, own, Given::Both(own, 201), false);
}

TEST(ConverterKernels, Planar420ToRgb32WithAnyCoefficients) {
    ForEveryRun([](const RunsAs& run) {
        for (unsigned number = 0; number < 64; ++number) {
            const Matrix own = AnyMatrix(number, 16, 16);
            const Size size = {16 + number % 6 * 48, 1 + number % 4};
            ExpectConversion(kPlanesToRgb32, size, PlacementOf(number), run, Given::Both(own),
                             PlanesInRgb32(own, size));
            if (testing::Test::HasFatalFailure()) {
                return;
            }
        }
    });
}

TEST(ConverterKernels, Planar420ToRgb32WorkedByHand) {
    // Cb 90, Y 235, Cr 240: inputs -4864, 28032, 14336. B: (-4864 * 16526) >> 16 = -1227, (28032 * 9538) >>
    // 16 = 4079; 2852 >> 4 = 178. G: (-4864 * -3210) >> 16 = 238, (14336 * -6660) >> 16 = -1457, with luma
    // 2860 >> 4 = 178. R: (14336 * 13074) >> 16 = 2859, with luma 6938 >> 4 = 433, limited.
    ConvertedPicture source(kFmtPlanar420, 16, 2), destination(kFmtRGB32, 16, 2);
    ExpectedPicture expected(destination);
    for (std::size_t x = 0; x < 16; ++x) {
        source.At(0, x, 0) = source.At(0, x, 1) = 235;
        source.At(1, x / 2, 0) = 90;
        source.At(2, x / 2, 0) = 240;
    }
    const int pixel[4] = {178, 178, 255, 0};
    for (std::size_t i = 0; i < 64; ++i) {
        expected.Set(0, i, 0, pixel[i % 4]);
        expected.Set(0, i, 1, pixel[i % 4]);
    }
    ImageView from(source), to(destination);
    ColorSpaceConverter converter;
    converter.SetAlphaChannel(200);
    ASSERT_EQ(converter.Do(from, to, kInt_MMXorSIMD, nullptr, nullptr), 0);
    EXPECT_EQ(expected.FirstDifference(), "");
}

TEST(ConverterKernels, Planar420SharesChromaOverTwoLinesAndColumns) {
    // Luma: 9538 * 110 * 128 >> 16 = 2049. Chroma 240: blue 16526 * 112 * 128 >> 16 = 3615, green
    // -3210 * 112 * 128 >> 16 = -703. Sixteenths; alpha is its offset alone.
    ConvertedPicture source(kFmtPlanar420, 16, 3), destination(kFmtRGB32, 16, 3);
    for (std::size_t plane = 0; plane < 3; ++plane) {
        FencedMemory& memory = source.PlaneMemory(plane);
        std::fill_n(memory.Data(), memory.Length(), static_cast<std::uint8_t>(plane == 0 ? 126 : 128));
    }
    source.At(1, 1, 0) = 240;
    ExpectedPicture expected(destination);
    for (std::size_t line = 0; line < 3; ++line) {
        for (std::size_t x = 0; x < 16; ++x) {
            const bool blue = line < 2 && (x == 2 || x == 3);
            const int pixel[4] = {blue ? 255 : 128, blue ? 84 : 128, 128, 0};
            for (std::size_t i = 0; i < 4; ++i) {
                expected.Set(0, 4 * x + i, line, pixel[i]);
            }
        }
    }
    ImageView from = source.View(16, 3), to(destination);
    ColorSpaceConverter converter;
    ASSERT_EQ(converter.Do(from, to, kInt_MMXorSIMD, nullptr, nullptr), 0);
    EXPECT_EQ(expected.FirstDifference(), "");
}

}  // namespace
