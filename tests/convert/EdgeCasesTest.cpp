// Corners of the converter, each worked by hand: which path serves a pair, what becomes of alpha, of the last
// columns, of what a path cannot read.

#include <algorithm>
#include <cstdlib>
#include <string>

#include "convert/ModelRuns.h"

namespace {

using namespace Zan;
using namespace convert_test;

// Fills the plane of a picture with a pixel or a pair.
void Fill(ConvertedPicture& picture, const Bytes& unit) {
    FencedMemory& memory = picture.PlaneMemory(0);
    for (std::size_t i = 0; i < memory.Length(); ++i) {
        memory.Data()[i] = unit[i % unit.size()];
    }
}

Long32 Convert(ColorSpaceConverter& converter, ConvertedPicture& from, ConvertedPicture& to,
               ProcessingStyleEnum style) {
    ImageView fromView(from), toView(to);
    return converter.Do(fromView, toView, style, nullptr, nullptr);
}

void ExpectFilled(ConvertedPicture& picture, const Bytes& unit) {
    FencedMemory& memory = picture.PlaneMemory(0);
    for (std::size_t i = 0; i < memory.Length(); ++i) {
        ASSERT_EQ(memory.Data()[i], unit[i % unit.size()]) << i;
    }
}

// ---- Paths -----------------------------------------------------------------------------------------------

TEST(EdgeCases, UnknownPlusFunctionWritesNothingAndConcernsNoOtherPair) {
    ConvertedPicture studio(kFmtRGB32Studio, 20, 2), full(kFmtRGB32, 20, 2), to(kFmtCbYCrA, 20, 2);
    const Copy before(to);
    ColorSpaceConverter converter;
    converter.SetPlusFunction(7);
    EXPECT_EQ(Convert(converter, studio, to, kInt_MMXorSIMD), 5);
    EXPECT_EQ(before.FirstDifference(0, nullptr), "");
    // White, in the group and in the tail: (401 + 2065 + 1052) * 255 / 4096 + 16 = 235.02.
    Fill(full, {255, 255, 255, 7});
    EXPECT_EQ(Convert(converter, full, to, kInt_MMXorSIMD), 0);
    ExpectFilled(to, {128, 235, 128, 7});
}

// The coefficients come first: a call that is refused for its function leaves those of one that is not, and
// no offsets on the integer path.
TEST(EdgeCases, UnknownPlusFunctionLeavesTheCoefficients) {
    for (const ConverterFormat source : {kFmtRGB32NarrowClamp, kFmtRGB32Studio}) {
        for (const ProcessingStyleEnum style : {kFlp, kInt_MMXorSIMD, kBestAvailable}) {
            ConvertedPicture from(source, 20, 2), to(kFmtCbYCrA, 20, 2);
            ColorSpaceConverter known, unknown;
            unknown.SetPlusFunction(7);
            ASSERT_EQ(Convert(known, from, to, style), 0);
            ASSERT_EQ(Convert(unknown, from, to, style), 5);
            double matrix[2][16], offset[2][8];
            known.GetMatrixCoef(matrix[0]);
            unknown.GetMatrixCoef(matrix[1]);
            known.GetOffset(offset[0]);
            unknown.GetOffset(offset[1]);
            EXPECT_NE(matrix[1][1], 0) << "the identity of a new converter";
            EXPECT_TRUE(std::equal(matrix[0], matrix[0] + 16, matrix[1])) << source << ' ' << style;
            EXPECT_TRUE(std::equal(offset[0], offset[0] + 8, offset[1])) << source << ' ' << style;
            EXPECT_EQ(offset[1][5] != 0, style == kFlp) << source << ' ' << style;
        }
    }
}

TEST(EdgeCases, OpaquePairsAreNotDivided) {
    // The alpha of the plane, 128, says otherwise, and is copied.
    ConvertedPicture from(kFmtCbYCrY4Shaped, 20, 2), to(kFmtRGB32, 20, 2);
    Fill(from, {128, 116, 128, 116});
    std::fill_n(from.PlaneMemory(1).Data(), 40, Byte{128});
    ColorSpaceConverter converter;
    from.GetImage().SetAlphaChannelDescription(kAlphaOpaque);
    EXPECT_EQ(Convert(converter, from, to, kInt_MMXorSIMD), 0);
    // 4769 * 100 / 4096 = 116.4.
    ExpectFilled(to, {116, 116, 116, 128});
    // Divided, luma is (100 * 522240 >> 18) + 16 = 215; 4769 * 199 / 4096 = 231.7, give or take one.
    from.GetImage().SetAlphaChannelDescription(kAlphaVarying);
    EXPECT_EQ(Convert(converter, from, to, kInt_MMXorSIMD), 0);
    EXPECT_NEAR(to.At(0, 0, 0), 231, 1);
    EXPECT_NEAR(to.At(0, 4 * 19, 1), 231, 1);
}

TEST(EdgeCases, TheBestPathTakesWhatItFinds) {
    ColorSpaceConverter converter;
    converter.SetAlphaChannel(9);
    // The integer path lacks it, the path in doubles has it, with the alpha that was set.
    ConvertedPicture pairs(kFmtCbYCrY, 20, 2), lumaFirst(kFmtYCbCrA, 20, 2);
    Fill(pairs, {1, 2, 3, 4});
    EXPECT_EQ(Convert(converter, pairs, lumaFirst, kInt_MMXorSIMD), 4);
    EXPECT_EQ(Convert(converter, pairs, lumaFirst, kBestAvailable), 0);
    ExpectFilled(lumaFirst, {2, 1, 3, 9, 4, 1, 3, 9});
    // Neither has it. Nothing changes between two kinds of RGB.
    ConvertedPicture full(kFmtRGB32, 20, 2), narrow(kFmtRGB32NarrowClamp, 20, 2);
    Fill(full, {11, 12, 13, 14});
    EXPECT_EQ(Convert(converter, full, narrow, kInt_MMXorSIMD), 4);
    EXPECT_EQ(Convert(converter, full, narrow, kFlp), 4);
    EXPECT_EQ(Convert(converter, full, narrow, kBestAvailable), 0);
    ExpectFilled(narrow, {11, 12, 13, 14});
    // What nothing can write is left alone, which is no error.
    ConvertedPicture grey(kFmtCbYCrY4Mono, 20, 2);
    const Copy before(grey);
    EXPECT_EQ(Convert(converter, full, grey, kBestAvailable), 0);
    EXPECT_EQ(before.FirstDifference(0, nullptr), "");
}

TEST(EdgeCases, InterlacedChromaLinesServeTheirField) {
    // Chroma 200 in the second line of planes with four: lines 1 and 3 of an interlaced picture, 2 and 3 of
    // another.
    for (const ProcessingStyleEnum style : {kInt_MMXorSIMD, kFlp}) {
        for (const ConverterFormat format : {kFmtPlanar420, kFmtPlanar420Interlaced}) {
            ConvertedPicture from(format, 20, 8), to(kFmtRGB32, 20, 8);
            for (std::size_t plane = 0; plane < 3; ++plane) {
                FencedMemory& memory = from.PlaneMemory(plane);
                std::fill_n(memory.Data(), memory.Length(), Byte{128});
            }
            for (std::size_t x = 0; x < 10; ++x) {
                from.At(1, x, 1) = 200;
            }
            ColorSpaceConverter converter;
            EXPECT_EQ(Convert(converter, from, to, style), 0);
            for (std::size_t y = 0; y < 8; ++y) {
                const bool blue = format == kFmtPlanar420 ? y == 2 || y == 3 : y == 1 || y == 3;
                for (std::size_t x = 0; x < 20; ++x) {
                    // 4769 * 112 / 4096 = 130.4, and 8263 * 72 / 4096 = 145.2 more.
                    ASSERT_EQ(to.At(0, 4 * x, y), blue ? 255 : 130) << format << ", line " << y;
                }
            }
        }
    }
}

// ---- Doubles, fixed point, single precision --------------------------------------------------------------

TEST(EdgeCases, PathsAgreeWithinACodeValue) {
    ConvertedPicture from(kFmtRGB32, 259, 64), integers(kFmtCbYCrA, 259, 64), doubles(kFmtCbYCrA, 259, 64),
        singles(kFmtCbYCrA, 259, 64);
    ColorSpaceConverter converter;
    EXPECT_EQ(Convert(converter, from, integers, kInt_MMXorSIMD), 0);
    EXPECT_EQ(Convert(converter, from, doubles, kFlp), 0);
    EXPECT_EQ(Convert(converter, from, singles, kFlp_SIMD), 0);
    int roundedUp = 0;
    for (std::size_t y = 0; y < 64; ++y) {
        for (std::size_t i = 0; i < std::size_t{4} * 259; ++i) {
            ASSERT_NEAR(integers.At(0, i, y), doubles.At(0, i, y), 1);
            ASSERT_NEAR(singles.At(0, i, y), doubles.At(0, i, y), 1);
            ASSERT_NEAR(singles.At(0, i, y), integers.At(0, i, y), 1);
            roundedUp += singles.At(0, i, y) > doubles.At(0, i, y) ? 1 : 0;
        }
    }
    // Rounds where the others truncate: every second sample of colour.
    EXPECT_NEAR(roundedUp, 3 * 259 * 64 / 2, 259 * 64 / 4);
}

TEST(EdgeCases, FixedPointKeepsGreysNeutral) {
    // 6416 + 33040 + 16832 = 56288; 28784 - 19072 - 9712 and 28784 - 24104 - 4680 are 0.
    ConvertedPicture from(kFmtRGB32, 256, 1), to(kFmtCbYCrA, 256, 1);
    for (std::size_t x = 0; x < 256; ++x) {
        for (std::size_t i = 0; i < 4; ++i) {
            from.At(0, 4 * x + i, 0) = static_cast<Byte>(i == 3 ? 255 - x : x);
        }
    }
    ColorSpaceConverter converter;
    ASSERT_EQ(Convert(converter, from, to, kFP), 0);
    for (std::size_t x = 0; x < 256; ++x) {
        const auto luma = static_cast<Byte>((56288 * x + 0x100000) >> 16);
        EXPECT_EQ(Bytes(&to.At(0, 4 * x, 0), &to.At(0, 4 * x, 0) + 4),
                  (Bytes{128, luma, 128, static_cast<Byte>(255 - x)}));
    }
    EXPECT_EQ(to.At(0, 4 * 255 + 1, 0), 235);
    EXPECT_EQ(to.At(0, 1, 0), 16);
}

// ---- The general path ------------------------------------------------------------------------------------

TEST(EdgeCases, WhatTheGeneralPathCannotReadIsBlackAndOpaque) {
    ColorSpaceConverter converter;
    converter.SetAlphaChannel(9);
    for (const ConverterFormat format : {kFmtPlanar420Interlaced, kFmtCbYCrY4, kFmtCbYCrY4Shaped,
                                         kFmtCbYCrY4Mono, kFmtCbYCrY4MonoShaped, kFmtAlpha8}) {
        ConvertedPicture from(format, 20, 4), rgb(kFmtRGB32, 20, 4), pixels(kFmtCbYCrA, 20, 4);
        EXPECT_EQ(Convert(converter, from, rgb, kGeneralFormat), 0);
        ExpectFilled(rgb, {0, 0, 0, 255});
        EXPECT_EQ(Convert(converter, from, pixels, kGeneralFormat), 0);
        ExpectFilled(pixels, {128, 16, 128, 255});
        // Nor can it write them.
        const Copy before(from);
        EXPECT_EQ(Convert(converter, rgb, from, kGeneralFormat), 0);
        EXPECT_EQ(before.FirstDifference(0, nullptr), "");
    }
}

TEST(EdgeCases, TheGeneralPathLooksAtNoMatrix) {
    ConvertedPicture from(kFmtRGB32, 5, 1), to(kFmtCbYCrA, 5, 1);
    Fill(from, {255, 255, 255, 3});
    ImageView fromView(from), toView(to);
    double matrix[16] = {}, offset[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    ColorSpaceConverter converter;
    EXPECT_EQ(converter.Do(fromView, toView, kGeneralFormat, matrix, offset), 0);
    ExpectFilled(to, {128, 235, 128, 3});
}

// ---- Odd columns -----------------------------------------------------------------------------------------

TEST(EdgeCases, ASinglePixelOfPairsIsConverted) {
    // 4769 * 100 / 4096 = 116.4.
    for (const ProcessingStyleEnum style : {kInt_MMXorSIMD, kFlp, kGeneralFormat}) {
        ConvertedPicture from(kFmtCbYCrY, 2, 1), to(kFmtRGB32, 2, 1);
        Fill(from, {128, 116, 128, 235});
        Fill(to, {1, 1, 1, 1});
        ImageView fromView = from.View(1, 1), toView = to.View(1, 1);
        ColorSpaceConverter converter;
        EXPECT_EQ(converter.Do(fromView, toView, style, nullptr, nullptr), 0);
        ExpectFilled(to, {116, 116, 116, 255, 1, 1, 1, 1});
    }
}

TEST(EdgeCases, ASinglePixelToPairsLeavesTheSecondLuma) {
    for (const ProcessingStyleEnum style : {kInt_MMXorSIMD, kFlp, kGeneralFormat}) {
        ConvertedPicture from(kFmtRGB32, 1, 1), to(kFmtCbYCrY, 2, 1);
        Fill(from, {255, 255, 255, 255});
        Fill(to, {1, 1, 1, 1});
        ImageView fromView = from.View(1, 1), toView = to.View(1, 1);
        ColorSpaceConverter converter;
        EXPECT_EQ(converter.Do(fromView, toView, style, nullptr, nullptr), 0);
        ExpectFilled(to, {128, 235, 128, 1});
    }
}

// Groups truncate sums, the columns beyond them what doubles give: nowhere more than a code value apart.
TEST(EdgeCases, GroupsAndColumnsBeyondThemAreClose) {
    for (const auto& [source, destination] : convert_model::PairsOf(Path::kInteger)) {
        const std::string name = std::string("Integer_") + NameOf(source) + "_to_" + NameOf(destination);
        if (!convert_model::NeedsMatrix(source, destination)) {
            continue;
        }
        // Sixteen equal columns, and four: three more of them beyond the group of every kernel but two.
        ConvertedPicture from(static_cast<ConverterFormat>(source), 16, 64),
            to(static_cast<ConverterFormat>(destination), 16, 64),
            tail(static_cast<ConverterFormat>(destination), 16, 64);
        ImageView fromView(from), toView(to), few = from.View(3, 64), fewTo = tail.View(3, 64);
        const Side in = SideOf(from, fromView);
        for (int y = 0; y < 64; y += 4) {
            const convert_model::Pixel first = convert_model::Load(in, 0, y, 255);
            for (int line = y; line < y + 4; ++line) {
                for (int x = 0; x < 16; ++x) {
                    for (std::size_t i = 0; i < 3; ++i) {
                        convert_model::Store(in, i, x, line, first[i]);
                    }
                    if (convert_model::HasAlpha(source)) {
                        convert_model::Store(in, convert_model::kAlpha, x, line, 255);
                    }
                }
            }
        }
        ColorSpaceConverter converter;
        ASSERT_EQ(converter.Do(fromView, toView, kInt_MMXorSIMD, nullptr, nullptr), 0) << name;
        ASSERT_EQ(converter.Do(few, fewTo, kInt_MMXorSIMD, nullptr, nullptr), 0) << name;
        const Side whole = SideOf(to, toView), beyond = SideOf(tail, fewTo);
        for (int y = 0; y < 64; ++y) {
            const convert_model::Pixel a = convert_model::Load(whole, 1, y, 0),
                                       b = convert_model::Load(beyond, 1, y, 0);
            for (std::size_t i = 0; i < 4; ++i) {
                ASSERT_NEAR(a[i], b[i], 1) << name << ", line " << y << ", sample " << i;
            }
        }
    }
}

}  // namespace
