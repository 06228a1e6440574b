// What no call shows: the codes that it works with, the names of kernels, the coefficients that they get.

#include <TesselU/convert/ConversionMatrix.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <string>
#include <utility>

#include "convert/ConverterSeam.h"
#include "convert/KernelTable.h"
#include "convert/PackedPicture.h"
#include "convert/PairsOfPaths.h"

namespace {

using namespace Zan;
using namespace convert_test;

// ---- Classification and simplification in a call ---------------------------------------------------------

TEST(ConverterInternals, OpaqueSourcesAreNotUnshaped) {
    ColorSpaceConverter converter;
    Image from(ImageDescriptor(4, 4, kYCrCb, k4224, kCbYCrA, kPacked, kProgressive, kNoFields, kTopLeft, 1.0F,
                               kShaped),
               64U);
    Packed to = Rgb32(4, 4);
    Convert(converter, ImageView(&from), to.View());
    EXPECT_EQ(ConverterSeam::SourceFormat(converter), 16U);
    EXPECT_EQ(ConverterSeam::DestinationFormat(converter), 0U);
    from.SetAlphaChannelDescription(kAlphaOpaque);
    Convert(converter, ImageView(&from), to.View());
    EXPECT_EQ(ConverterSeam::SourceFormat(converter), 17U);
    EXPECT_EQ(ConverterSeam::DestinationFormat(converter), 0U);
}

TEST(ConverterInternals, TheAlphaOfTheDestinationCountsForNothing) {
    ColorSpaceConverter converter;
    Packed from = Rgb32(4, 4), to = Rgb32(4, 4);
    to.Get().SetPixelShaping(kShaped);
    to.Get().SetAlphaChannelDescription(kAlphaOpaque);
    Convert(converter, from.View(), to.View());
    EXPECT_EQ(ConverterSeam::DestinationFormat(converter), 14U);
    // The other way round both are unshaped, and a copy is left.
    from.Get().SetAlphaChannelDescription(kAlphaOpaque);
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    EXPECT_EQ(ConverterSeam::DestinationFormat(converter), 0U);
    EXPECT_EQ(to.bytes, from.bytes);
}

TEST(ConverterInternals, InterlacedPlanesAreAnotherFormat) {
    ColorSpaceConverter converter;
    Packed to = Rgb32(4, 4);
    for (const ScanStyleEnum scan : {kProgressive, kUpperFieldFirst, kLowerFieldFirst}) {
        Image from(ImageDescriptor(4, 4, kYCrCb, k420, kYCbCrPlanes, kPlanar, scan, kInterleavedFields,
                                   kTopLeft, 1.0F, kUnshaped),
                   64U);
        Convert(converter, ImageView(&from), to.View());
        EXPECT_EQ(ConverterSeam::SourceFormat(converter), scan == kProgressive ? 6U : 8U);
    }
    EXPECT_STRNE(FindIntegerKernel(6, 0, true).name, FindIntegerKernel(8, 0, true).name);
}

TEST(ConverterInternals, KernelNamesFollowTheProcessor) {
    EXPECT_STREQ(FindIntegerKernel(kFmtCbYCrY, kFmtRGB32, false).name, "ConvertCbYCrYToRGB32_MMX");
    EXPECT_STREQ(FindIntegerKernel(kFmtCbYCrY, kFmtRGB32, true).name, "ConvertCbYCrYToRGB32_SSE");
    EXPECT_STREQ(FindIntegerKernel(kFmtPlanar420, kFmtRGB32StudioOpen, false).name,
                 "ConvertPlanar420ToRGB32_MMX");
    EXPECT_STREQ(FindIntegerKernel(kFmtPlanar420, kFmtRGB32StudioOpen, true).name,
                 "ConvertPlanar420ToRGB32_SSE");
    EXPECT_STREQ(FindIntegerKernel(kFmtRGB32, kFmtRGB32, false).name, "CopyLines_MMX");
    EXPECT_STREQ(FindIntegerKernel(kFmtRGB32, kFmtRGB32, true).name, "CopyLines_SSE2");
    // One kernel for every processor.
    for (const bool sse2 : {false, true}) {
        EXPECT_STREQ(FindIntegerKernel(kFmtRGB32, kFmtCbYCrY, sse2).name, "ConvertRGB32ToCbYCrY");
        EXPECT_STREQ(FindIntegerKernel(kFmtCbYCrY, kFmtYCbYCr, sse2).name, "SwapCbYCrYWithYCbYCr");
        EXPECT_STREQ(FindIntegerKernel(kFmtYCbYCr, kFmtCbYCrY, sse2).name, "SwapCbYCrYWithYCbYCr");
        EXPECT_STREQ(FindIntegerKernel(kFmtCbYCrYMono, kFmtCbYCrYMono, sse2).name, "MakeMonochromeLines");
        EXPECT_STREQ(FindIntegerKernel(kFmtCbYCrY4Mono, kFmtCbYCrY4Mono, sse2).name, "MakeMonochromeLines");
    }
}

// No view is that wide; plain memory will be.
TEST(ConverterInternals, NegativeWidthsAreRefusedAfterPitchesAndBeforePairs) {
    unsigned char memory[64] = {};
    ColorSpaceConverter converter;
    const auto status = [&](ProcessingStyleEnum style, bool planes, Long32 pitch, Long32 width) {
        ConverterSeam::Call call;
        call.style = style;
        call.source = call.destination = kFmtUnknown;
        call.sourcePlane = call.destinationPlane = planes ? memory : nullptr;
        call.sourcePitch = call.destinationPitch = pitch;
        call.width = width;
        return ConverterSeam::Route(converter, call);
    };
    for (const Long32 width : {Long32{-1}, std::numeric_limits<Long32>::min()}) {
        for (const ProcessingStyleEnum style :
             {kInt_MMXorSIMD, kFlp, kStyle4, kBestAvailable, kGeneralFormat}) {
            EXPECT_EQ(status(style, false, 2, width), 1) << style;
            EXPECT_EQ(status(style, true, 2, width), 3) << style;
        }
        for (const ProcessingStyleEnum style : {kFP, kFlp_SIMD}) {
            EXPECT_EQ(status(style, false, 2, width), 1) << style;
            EXPECT_EQ(status(style, true, 2, width), 2) << style;
            EXPECT_EQ(status(style, true, 4, width), 3) << style;
        }
    }
    for (const ProcessingStyleEnum style : {kInt_MMXorSIMD, kFlp, kStyle4}) {
        EXPECT_EQ(status(style, true, 2, 0), 4) << style;
    }
}

// ---- The coefficient block -------------------------------------------------------------------------------

using Pair = std::pair<ULong32, ULong32>;

// Every pair of the path that is no copy.
std::vector<Pair> MatrixPairs() {
    std::vector<Pair> pairs;
    for (ULong32 source = 0; source < 26; ++source) {
        for (ULong32 destination = 0; destination < 26; ++destination) {
            if (source != destination &&
                Lists(kIntegerPath, static_cast<int>(source), static_cast<int>(destination))) {
                pairs.emplace_back(source, destination);
            }
        }
    }
    return pairs;
}

bool IsColumnWise(Pair pair) {
    return (pair.first == 6 || pair.first == 8 || pair.first == 9) && (pair.second == 0 || pair.second == 5);
}

std::pair<double, double> ScalesOf(Pair pair) {
    static const std::set<Pair> whole = {{0, 2},  {0, 12}, {0, 16},  {0, 17}, {5, 2},   {5, 12},
                                         {5, 16}, {10, 2}, {10, 11}, {14, 2}, {14, 16}, {14, 17}};
    if (IsColumnWise(pair)) {
        return {16, 16};
    }
    return {128, whole.count(pair) != 0 ? 1 : 16};
}

int Rounded(double value) {
    return static_cast<int>(std::trunc(value < 0 ? value - 0.5 : value + 0.5));
}

// `matrix` and `offset` are those in use.
void ExpectBlock(const FixedPointCoefficients& block, Pair pair, const Matrix16& matrix,
                 const Offsets8& offset, bool paired) {
    const auto scales = ScalesOf(pair);
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j) {
            EXPECT_EQ(block.matrix[i][j], matrix[4 * i + j]) << i << ", " << j;
            const bool transposed = IsColumnWise(pair);
            const std::size_t row = transposed ? j : i, column = transposed ? i : j;
            const int fixed = Rounded(matrix[4 * i + j] * 8192);
            EXPECT_EQ(block.matrixFixed[row][column], fixed) << i << ", " << j;
            if (paired) {
                EXPECT_EQ(block.matrixPaired[row][column], fixed) << i << ", " << j;
                EXPECT_EQ(block.matrixPaired[row][column + 4], fixed) << i << ", " << j;
            }
        }
        for (std::size_t r = 0; r < 2; ++r) {
            EXPECT_EQ(block.offset[r][i], offset[4 * r + i]);
            const int fixed =
                static_cast<int>(std::trunc(offset[4 * r + i] * (r == 0 ? scales.first : scales.second)));
            EXPECT_EQ(block.offsetFixed[r][i], fixed) << r << ", " << i;
            EXPECT_EQ(block.offsetPaired[r][i], fixed) << r << ", " << i;
            EXPECT_EQ(block.offsetPaired[r][i + 4], fixed) << r << ", " << i;
        }
    }
}

const Matrix16 kOwnMatrix = {0.1, -0.2, 0.3,  -0.4, 1.5,  -1.6,  1.7,  -1.8,
                             3.9, -3.9, 2.01, 0,    0.77, -0.66, 0.55, 0.44};
const Offsets8 kOwnOffsets = {-128.7, 16.3, -0.009, 100.99, 200.6, -16.6, 0.07, -0.07};

TEST(ConverterInternals, BlockOfDefaults) {
    const std::vector<Pair> pairs = MatrixPairs();
    EXPECT_GT(pairs.size(), 60U);
    for (const Pair& pair : pairs) {
        SCOPED_TRACE(std::to_string(pair.first) + " to " + std::to_string(pair.second));
        ColorSpaceConverter converter;
        Matrix16 matrix{};
        Offsets8 offsets{};
        DefaultMatrixForFormats(matrix.data(), offsets.data(), pair.first, pair.second);
        ExpectBlock(ConverterSeam::Coefficients(converter, pair.first, pair.second, nullptr, nullptr), pair,
                    matrix, offsets, true);
    }
}

TEST(ConverterInternals, BlockOfGivenValuesEachByItself) {
    for (const Pair& pair : MatrixPairs()) {
        SCOPED_TRACE(std::to_string(pair.first) + " to " + std::to_string(pair.second));
        ColorSpaceConverter converter;
        Matrix16 matrix{};
        Offsets8 offsets{};
        DefaultMatrixForFormats(matrix.data(), offsets.data(), pair.first, pair.second);
        const auto block = [&](const double* m, const double* o) {
            return ConverterSeam::Coefficients(converter, pair.first, pair.second, m, o);
        };
        ExpectBlock(block(kOwnMatrix.data(), kOwnOffsets.data()), pair, kOwnMatrix, kOwnOffsets, false);
        ExpectBlock(block(kOwnMatrix.data(), nullptr), pair, kOwnMatrix, offsets, false);
        ExpectBlock(block(nullptr, kOwnOffsets.data()), pair, matrix, kOwnOffsets, true);
        // What an earlier call gave does not count.
        ExpectBlock(block(nullptr, nullptr), pair, matrix, offsets, true);
        EXPECT_EQ(OffsetsOf(converter), kOwnOffsets);
    }
}

TEST(ConverterInternals, BlockOfHandPickedPairs) {
    ColorSpaceConverter converter;
    // 4:2:2 to full RGB: entries are twice the 4096ths, offsets times 128.
    const FixedPointCoefficients toRgb = ConverterSeam::Coefficients(converter, 2, 0, nullptr, nullptr);
    const std::int16_t rows[3][4] = {{16526, 9538, 0, 0}, {-3210, 9538, -6660, 0}, {0, 9538, 13074, 0}};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 4; ++j) {
            EXPECT_EQ(toRgb.matrixFixed[i][j], rows[i][j]);
        }
    }
    const std::int16_t before[4] = {-16384, -2048, -16384, 0};
    EXPECT_TRUE(std::equal(before, before + 4, toRgb.offsetFixed[0]));
    EXPECT_EQ(toRgb.matrixFixed[3][3], 8192);
    // RGB to 4:2:2 adds whole code values at the end; to 4:1:1 and to 4:4:4 sixteenths.
    const std::int16_t whole[4] = {128, 16, 128, 0}, sixteenths[4] = {2048, 256, 2048, 0};
    for (const auto& [destination, after] : {std::pair{2U, whole},
                                             {12U, whole},
                                             {17U, whole},
                                             {9U, sixteenths},
                                             {1U, sixteenths},
                                             {6U, sixteenths}}) {
        const FixedPointCoefficients block =
            ConverterSeam::Coefficients(converter, 0, destination, nullptr, nullptr);
        EXPECT_TRUE(std::equal(after, after + 4, block.offsetFixed[1])) << destination;
    }
    const FixedPointCoefficients studio = ConverterSeam::Coefficients(converter, 5, 17, nullptr, nullptr);
    EXPECT_TRUE(std::equal(sixteenths, sixteenths + 4, studio.offsetFixed[1]));
    // Planes: rows are what one sample brings to B, G and R.
    const FixedPointCoefficients planes = ConverterSeam::Coefficients(converter, 6, 5, nullptr, nullptr);
    const std::int16_t cb[4] = {14192, -2756, 0, 0}, y[4] = {8192, 8192, 8192, 0},
                       cr[4] = {0, -5720, 11228, 0}, sixteen[4] = {256, 256, 256, 0};
    EXPECT_TRUE(std::equal(cb, cb + 4, planes.matrixFixed[0]));
    EXPECT_TRUE(std::equal(y, y + 4, planes.matrixFixed[1]));
    EXPECT_TRUE(std::equal(cr, cr + 4, planes.matrixFixed[2]));
    EXPECT_TRUE(std::equal(sixteen, sixteen + 4, planes.offsetFixed[1]));
}

TEST(ConverterInternals, BlockRoundsEntriesAndTruncatesOffsets) {
    ColorSpaceConverter converter;
    Matrix16 matrix{};
    matrix[0] = 0.5 / 8192;
    matrix[1] = -0.5 / 8192;
    matrix[2] = 0.49 / 8192;
    matrix[3] = -0.49 / 8192;
    matrix[4] = 1.5 / 8192;
    matrix[5] = -1.5 / 8192;
    matrix[6] = 32767.0 / 8192;
    matrix[7] = -4;
    Offsets8 offsets = {0.99 / 128, -0.99 / 128, 1.99 / 128, -1.99 / 128,
                        0.99 / 16,  -0.99 / 16,  1.99 / 16,  -1.99 / 16};
    const FixedPointCoefficients block =
        ConverterSeam::Coefficients(converter, 2, 0, matrix.data(), offsets.data());
    const std::int16_t rows[2][4] = {{1, -1, 0, 0}, {2, -2, 32767, -32768}};
    EXPECT_TRUE(std::equal(rows[0], rows[0] + 4, block.matrixFixed[0]));
    EXPECT_TRUE(std::equal(rows[1], rows[1] + 4, block.matrixFixed[1]));
    const std::int16_t truncated[4] = {0, 0, 1, -1};
    EXPECT_TRUE(std::equal(truncated, truncated + 4, block.offsetFixed[0]));
    EXPECT_TRUE(std::equal(truncated, truncated + 4, block.offsetFixed[1]));
}

TEST(ConverterInternals, BlockIsLaidOut) {
    EXPECT_EQ(sizeof(FixedPointCoefficients), 336U);
    EXPECT_EQ(offsetof(FixedPointCoefficients, offset), 128U);
    EXPECT_EQ(offsetof(FixedPointCoefficients, matrixFixed), 192U);
    EXPECT_EQ(offsetof(FixedPointCoefficients, offsetFixed), 224U);
    EXPECT_EQ(offsetof(FixedPointCoefficients, matrixPaired), 240U);
    EXPECT_EQ(offsetof(FixedPointCoefficients, offsetPaired), 304U);
}

}  // namespace
