// Values and places at whole pixels. Refusals: MixupRefusalsTest.cpp.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "overlay/Overlaying.h"

namespace {

using namespace overlay_test;

// ---- Values -----------------------------------------------------------------------------------------------

TEST(Mixup, BlendsStraightColourOver24Bits) {
    // (127 * 10 + 128 * 200) / 255 = 105.4, (127 * 255 + 0) / 255 = 127, (127 * 1 + 128 * 3) / 255 = 2.004.
    Picture fore(Kind::kRgb32, 2, 1, {200, 0, 3, 128, 1, 2, 3, 255});
    Picture back(Kind::kRgb24, 2, 1, {10, 255, 1, 7, 8, 9});
    Picture out(Kind::kRgb24, 2, 1);
    ASSERT_EQ(Do(fore, back, out), 0);
    EXPECT_EQ(out.bytes, (Bytes{105, 127, 2, 1, 2, 3}));
}

TEST(Mixup, AddsPremultipliedColourWhichWraps) {
    // 127 * 100 / 255 = 49.8; 200 + 127 = 327, less 256.
    Picture fore(Kind::kRgb32, 1, 1, {20, 200, 0, 128}, {}, {kShaped});
    Picture back(Kind::kRgb32, 1, 1, {100, 255, 0, 60});
    Picture out(Kind::kRgb32, 1, 1);
    ASSERT_EQ(Do(fore, back, out), 0);
    // 128 + 127 * 60 / 255 = 157.9.
    EXPECT_EQ(out.bytes, (Bytes{70, 71, 0, 158}));
    EXPECT_EQ(out.Get().GetPixelShaping(), kShaped);
}

TEST(Mixup, UnitesAlphas) {
    // 128 + 64 - 128 * 64 / 255 (32.1) = 160, and 128 * 255 / 160 = 204: (51 * 10 + 204 * 200) / 255 = 162.
    Picture fore(Kind::kRgb32, 2, 1, {200, 0, 0, 128, 9, 9, 9, 0});
    Picture back(Kind::kRgb32, 2, 1, {10, 0, 0, 64, 1, 2, 3, 0});
    Picture out(Kind::kRgb32, 2, 1);
    ASSERT_EQ(Do(fore, back, out), 0);
    EXPECT_EQ(out.bytes, (Bytes{162, 0, 0, 160, 1, 2, 3, 0}));
}

TEST(Mixup, MakesPixelsWithoutAlphaOpaqueInsideAlone) {
    Picture fore(Kind::kRgb24, 1, 1, {1, 2, 3});
    Picture back(Kind::kRgb32, 3, 1, {9, 9, 9, 7, 9, 9, 9, 7, 9, 9, 9, 7});
    Picture out(Kind::kRgb32, 3, 1);
    ASSERT_EQ(Do(fore, back, out), 0);
    EXPECT_EQ(out.bytes, (Bytes{9, 9, 9, 7, 1, 2, 3, 255, 9, 9, 9, 7}));
}

TEST(Mixup, ShiftsNegativeSumsDown) {
    // Chroma, alpha 2: 253 * -1 + 2 * -65 = -383, which is -1 where the nearest were -2; 2 * -64 = -128 is 0
    // where the nearest were -1. Luma 0 under alpha 2: 253 * -16 + 2 * -16 = -4080 = 255 * -16. Alpha 255
    // gives 15 and alpha 0 leaves 3.
    Picture fore(Kind::kPairsAlpha, 2, 2, {63, 0, 64, 15, 1, 2, 3, 9}, {2, 255, 2, 0});
    Picture back(Kind::kPairs, 2, 2, {127, 0, 128, 99, 1, 2, 3, 3});
    Picture out(Kind::kPairs, 2, 2);
    ASSERT_EQ(Do(fore, back, out), 0);
    EXPECT_EQ(out.bytes, (Bytes{127, 0, 128, 15, 1, 2, 3, 3}));
}

TEST(Mixup, TakesPairsOfFullAlphaAndLeavesThoseOfNone) {
    for (const Kind kind : {Kind::kPairs, Kind::kPairsAlpha}) {
        const bool hasAlpha = kind == Kind::kPairsAlpha;
        Picture full(Kind::kPairsAlpha, 128, 64), back(kind, 128, 64), out(kind, 128, 64);
        std::fill(full.alpha.begin(), full.alpha.end(), std::uint8_t{255});
        Picture none(Kind::kPairsAlpha, 128, 64, full.bytes, Bytes(full.alpha.size(), 0));
        ASSERT_EQ(Do(full, back, out), 0);
        EXPECT_EQ(out.bytes, full.bytes);
        EXPECT_EQ(out.alpha, hasAlpha ? full.alpha : Bytes());
        ASSERT_EQ(Do(none, back, out), 0);
        EXPECT_EQ(out.bytes, back.bytes);
        EXPECT_EQ(out.alpha, back.alpha);
        // Multiplied by an alpha of 255 the foreground hides all below it, too.
        full.Get().SetPixelShaping(kShaped);
        ASSERT_EQ(Do(full, back, out), 0);
        EXPECT_EQ(out.bytes, full.bytes);
        EXPECT_EQ(out.alpha, hasAlpha ? full.alpha : Bytes());
    }
}

TEST(Mixup, LeavesBlackOverBlackAsItIs) {
    Bytes black;
    for (int i = 0; i < 512; ++i) {
        black.insert(black.end(), {128, 16});
    }
    Bytes alphas(512);
    for (std::size_t i = 0; i < 512; ++i) {
        alphas[i] = static_cast<std::uint8_t>(i / 2);
    }
    for (const ShapedEnum shaped : {kUnshaped, kShaped}) {
        for (const Kind kind : {Kind::kPairs, Kind::kPairsAlpha}) {
            Picture fore(Kind::kPairsAlpha, 256, 2, black, alphas, {shaped});
            Picture back(kind, 256, 2, black, kind == Kind::kPairsAlpha ? Bytes(512, 90) : Bytes());
            Picture out(kind, 256, 2);
            ASSERT_EQ(Do(fore, back, out), 0);
            EXPECT_EQ(out.bytes, black);
        }
    }
}

// ---- Places -----------------------------------------------------------------------------------------------

TEST(Mixup, RoundsPlacesTowardZeroAndLowersThemToPairs) {
    // 4 in 9: 2. 9 in 4: -2.
    Picture small(Kind::kRgb24, 4, 1, Bytes(12, 200)), wide(Kind::kRgb24, 9, 1, Bytes(27, 0));
    Picture out(Kind::kRgb24, 9, 1);
    ASSERT_EQ(Do(small, wide, out), 0);
    EXPECT_EQ(out.bytes, (Bytes{0,   0,   0,   0,   0, 0, 200, 200, 200, 200, 200, 200, 200, 200,
                                200, 200, 200, 200, 0, 0, 0,   0,   0,   0,   0,   0,   0}));
    // 4 in 10 is 3 in RGB, and 2 in 4:2:2.
    Picture tenRgb(Kind::kRgb24, 10, 1, Bytes(30, 0)), outRgb(Kind::kRgb24, 10, 1);
    ASSERT_EQ(Do(small, tenRgb, outRgb), 0);
    Bytes atThree(30, 0);
    std::fill_n(atThree.begin() + 9, 12, std::uint8_t{200});
    EXPECT_EQ(outRgb.bytes, atThree);
    Picture pairs(Kind::kPairs, 4, 1, Bytes(8, 200)), ten(Kind::kPairs, 10, 1, Bytes(20, 0));
    Picture other(Kind::kPairs, 10, 1);
    ASSERT_EQ(Do(pairs, ten, other), 0);
    EXPECT_EQ(other.bytes,
              (Bytes{0, 0, 0, 0, 200, 200, 200, 200, 200, 200, 200, 200, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(Mixup, CentresWithBlackAround) {
    Picture source(Kind::kPairsAlpha, 2, 2, {1, 2, 3, 4, 11, 12, 13, 14}, {5, 6, 15, 16});
    Picture out(Kind::kPairsAlpha, 6, 3);
    ASSERT_EQ(Center(source, out), 0);
    // The top is 1 / 2, which is 0.
    Bytes wanted = {128, 16, 128, 16, 1, 2, 3, 4, 128, 16, 128, 16};
    wanted.insert(wanted.end(), {128, 16, 128, 16, 11, 12, 13, 14, 128, 16, 128, 16});
    wanted.insert(wanted.end(), {128, 16, 128, 16, 128, 16, 128, 16, 128, 16, 128, 16});
    EXPECT_EQ(out.bytes, wanted);
    EXPECT_EQ(out.alpha, (Bytes{0, 0, 5, 6, 0, 0, 0, 0, 15, 16, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(Mixup, PutsTheForegroundAtAPosition) {
    Picture fore(Kind::kRgb24, 1, 1, {1, 2, 3});
    Picture back(Kind::kRgb24, 3, 3, Bytes(27, 9));
    // Halves go up: 0.5 to 1, -0.5 to 0.
    Picture out(Kind::kRgb24, 3, 3);
    ASSERT_EQ(DoAt(fore, back, out, 0.5, -0.75, false), 0);
    Bytes wanted(27, 9);
    wanted[6] = 1, wanted[7] = 2, wanted[8] = 3;
    EXPECT_EQ(out.bytes, wanted);
    ASSERT_EQ(DoAt(fore, back, out, 1e300, -1e300, false), 0);
    EXPECT_EQ(out.bytes, Bytes(27, 9));
    EXPECT_EQ(DoAt(fore, back, out, NAN, 0, false), static_cast<Long32>(0x80000003U));
}

}  // namespace
