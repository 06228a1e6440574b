// What no call shows: the codes that it works with, the names of kernels, the coefficients that they get.

#include <TesselU/convert/ConversionMatrix.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <string>
#include <utility>

#include "convert/ConversionPlan.h"
#include "convert/Formats.h"
#include "convert/PackedPicture.h"
#include "convert/PairsOfPaths.h"

namespace {

using namespace Zan;
using namespace convert_test;

void ExpectFormats(const Image& from, const Image& to, ConverterFormat source, ConverterFormat destination) {
    const FormatPair pair = ClassifyPair(from, to);
    EXPECT_EQ(pair.source, source);
    EXPECT_EQ(pair.destination, destination);
}

const char* KernelName(ConverterFormat source, ConverterFormat destination, bool sse2) {
    const IntegerKernel& kernel = FindPair(source, destination)->integer;
    return sse2 ? kernel.nameWithSse2 : kernel.nameWithoutSse2;
}

// The block that the kernel of a pair gets; null pointers ask for defaults, as in a call.
FixedPointCoefficients CoefficientsOf(ULong32 source, ULong32 destination, const double* matrix,
                                      const double* offset) {
    const PairRecord& pair =
        *FindPair(static_cast<ConverterFormat>(source), static_cast<ConverterFormat>(destination));
    const FixedPointCoefficients& defaults = DefaultCoefficients(pair.kind, pair.form);
    if (matrix == nullptr && offset == nullptr) {
        return defaults;
    }
    PreparedCoefficients block;
    MakeCoefficients(matrix != nullptr ? matrix : &defaults.matrix[0][0],
                     offset != nullptr ? offset : &defaults.offset[0][0], pair.form, true, block);
    return block;
}

// ---- Classification and simplification in a call ---------------------------------------------------------

TEST(ConverterInternals, OpaqueSourcesAreNotUnshaped) {
    Image from(ImageDescriptor(4, 4, kYCrCb, k4224, kCbYCrA, kPacked, kProgressive, kNoFields, kTopLeft, 1.0F,
                               kShaped),
               64U);
    Packed to = Rgb32(4, 4);
    ExpectFormats(from, to.Get(), kFmtCbYCrY4Shaped, kFmtRGB32);
    from.SetAlphaChannelDescription(kAlphaOpaque);
    ExpectFormats(from, to.Get(), kFmtCbYCrY4, kFmtRGB32);
}

TEST(ConverterInternals, TheAlphaOfTheDestinationCountsForNothing) {
    ColorSpaceConverter converter;
    Packed from = Rgb32(4, 4), to = Rgb32(4, 4);
    to.Get().SetPixelShaping(kShaped);
    to.Get().SetAlphaChannelDescription(kAlphaOpaque);
    ExpectFormats(from.Get(), to.Get(), kFmtRGB32, kFmtRGB32Shaped);
    // The other way round both are unshaped, and a copy is left.
    from.Get().SetAlphaChannelDescription(kAlphaOpaque);
    EXPECT_EQ(Convert(converter, from.View(), to.View()), 0);
    ExpectFormats(from.Get(), to.Get(), kFmtRGB32, kFmtRGB32);
    EXPECT_EQ(to.bytes, from.bytes);
}

TEST(ConverterInternals, InterlacedPlanesAreAnotherFormat) {
    Packed to = Rgb32(4, 4);
    for (const ScanStyleEnum scan : {kProgressive, kUpperFieldFirst, kLowerFieldFirst}) {
        Image from(ImageDescriptor(4, 4, kYCrCb, k420, kYCbCrPlanes, kPlanar, scan, kInterleavedFields,
                                   kTopLeft, 1.0F, kUnshaped),
                   64U);
        ExpectFormats(from, to.Get(), scan == kProgressive ? kFmtPlanar420 : kFmtPlanar420Interlaced,
                      kFmtRGB32);
    }
    EXPECT_STRNE(KernelName(kFmtPlanar420, kFmtRGB32, true),
                 KernelName(kFmtPlanar420Interlaced, kFmtRGB32, true));
}

TEST(ConverterInternals, KernelNamesFollowTheProcessor) {
    EXPECT_STREQ(KernelName(kFmtCbYCrY, kFmtRGB32, false), "ConvertCbYCrYToRGB32_MMX");
    EXPECT_STREQ(KernelName(kFmtCbYCrY, kFmtRGB32, true), "ConvertCbYCrYToRGB32_SSE");
    EXPECT_STREQ(KernelName(kFmtPlanar420, kFmtRGB32StudioOpen, false), "ConvertPlanar420ToRGB32_MMX");
    EXPECT_STREQ(KernelName(kFmtPlanar420, kFmtRGB32StudioOpen, true), "ConvertPlanar420ToRGB32_SSE");
    EXPECT_STREQ(KernelName(kFmtRGB32, kFmtRGB32, false), "CopyLines_MMX");
    EXPECT_STREQ(KernelName(kFmtRGB32, kFmtRGB32, true), "CopyLines_SSE2");
    // One kernel for every processor.
    for (const bool sse2 : {false, true}) {
        EXPECT_STREQ(KernelName(kFmtRGB32, kFmtCbYCrY, sse2), "ConvertRGB32ToCbYCrY");
        EXPECT_STREQ(KernelName(kFmtCbYCrY, kFmtYCbYCr, sse2), "SwapCbYCrYWithYCbYCr");
        EXPECT_STREQ(KernelName(kFmtYCbYCr, kFmtCbYCrY, sse2), "SwapCbYCrYWithYCbYCr");
        EXPECT_STREQ(KernelName(kFmtCbYCrYMono, kFmtCbYCrYMono, sse2), "MakeMonochromeLines");
        EXPECT_STREQ(KernelName(kFmtCbYCrY4Mono, kFmtCbYCrY4Mono, sse2), "MakeMonochromeLines");
    }
}

// No view is that wide; plain memory will be.
TEST(ConverterInternals, NegativeWidthsAreRefusedAfterPitchesAndBeforePairs) {
    unsigned char memory[64] = {};
    const auto status = [&](ProcessingStyleEnum style, bool planes, Long32 pitch, Long32 width) {
        ConversionRequest request;
        request.style = style;
        request.width = width;
        ConversionPlan plan;
        plan.job.planes.source[0] = plan.job.planes.destination[0] = {planes ? memory : nullptr, pitch};
        return Prepare(request, CPUcapabilities(), plan);
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
        Matrix16 matrix{};
        Offsets8 offsets{};
        DefaultMatrixForFormats(matrix.data(), offsets.data(), pair.first, pair.second);
        ExpectBlock(CoefficientsOf(pair.first, pair.second, nullptr, nullptr), pair, matrix, offsets, true);
    }
}

TEST(ConverterInternals, BlockOfGivenValuesEachByItself) {
    for (const Pair& pair : MatrixPairs()) {
        SCOPED_TRACE(std::to_string(pair.first) + " to " + std::to_string(pair.second));
        Matrix16 matrix{};
        Offsets8 offsets{};
        DefaultMatrixForFormats(matrix.data(), offsets.data(), pair.first, pair.second);
        const auto block = [&](const double* m, const double* o) {
            return CoefficientsOf(pair.first, pair.second, m, o);
        };
        ExpectBlock(block(kOwnMatrix.data(), kOwnOffsets.data()), pair, kOwnMatrix, kOwnOffsets, false);
        ExpectBlock(block(kOwnMatrix.data(), nullptr), pair, kOwnMatrix, offsets, false);
        ExpectBlock(block(nullptr, kOwnOffsets.data()), pair, matrix, kOwnOffsets, true);
        ExpectBlock(block(nullptr, nullptr), pair, matrix, offsets, true);
    }
}

TEST(ConverterInternals, BlockOfHandPickedPairs) {
    // 4:2:2 to full RGB: entries are twice the 4096ths, offsets times 128.
    const FixedPointCoefficients toRgb = CoefficientsOf(2, 0, nullptr, nullptr);
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
        const FixedPointCoefficients block = CoefficientsOf(0, destination, nullptr, nullptr);
        EXPECT_TRUE(std::equal(after, after + 4, block.offsetFixed[1])) << destination;
    }
    const FixedPointCoefficients studio = CoefficientsOf(5, 17, nullptr, nullptr);
    EXPECT_TRUE(std::equal(sixteenths, sixteenths + 4, studio.offsetFixed[1]));
    // Planes: rows are what one sample brings to B, G and R.
    const FixedPointCoefficients planes = CoefficientsOf(6, 5, nullptr, nullptr);
    const std::int16_t cb[4] = {14192, -2756, 0, 0}, y[4] = {8192, 8192, 8192, 0},
                       cr[4] = {0, -5720, 11228, 0}, sixteen[4] = {256, 256, 256, 0};
    EXPECT_TRUE(std::equal(cb, cb + 4, planes.matrixFixed[0]));
    EXPECT_TRUE(std::equal(y, y + 4, planes.matrixFixed[1]));
    EXPECT_TRUE(std::equal(cr, cr + 4, planes.matrixFixed[2]));
    EXPECT_TRUE(std::equal(sixteen, sixteen + 4, planes.offsetFixed[1]));
}

TEST(ConverterInternals, BlockRoundsEntriesAndTruncatesOffsets) {
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
    const FixedPointCoefficients block = CoefficientsOf(2, 0, matrix.data(), offsets.data());
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
