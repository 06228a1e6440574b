// Overlays between pixels.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <numbers>
#include <string>

#include "overlay/Overlaying.h"

namespace {

using namespace overlay_test;

constexpr Kind kKinds[] = {Kind::kRgb32, Kind::kRgb24, Kind::kPairs, Kind::kPairsAlpha};

bool HaveSameSpace(Kind a, Kind b) {
    return IsRgb(a) == IsRgb(b);
}

// ---- Values -----------------------------------------------------------------------------------------------

TEST(OverlayBetweenPixels, InterpolatesPremultipliedColour) {
    // A quarter to the right: 3/4 of the pixel in hand, 1/4 of the one to the left, over black.
    Picture fore(Kind::kRgb32, 2, 1, {100, 40, 0, 200, 0, 80, 255, 100}, {}, {kShaped});
    Picture back(Kind::kRgb32, 4, 1, Bytes(16, 0));
    Picture out(Kind::kRgb32, 4, 1);
    ASSERT_EQ(DoAt(fore, back, out, 0.25, 0, true), 0);
    // 75, 30, 0, 150; 25, 70, 191.25, 125; 0, 20, 63.75, 25.
    EXPECT_EQ(out.bytes, (Bytes{0, 0, 0, 0, 75, 30, 0, 150, 25, 70, 191, 125, 0, 20, 64, 25}));
}

TEST(OverlayBetweenPixels, DividesStraightColourByItsAlpha) {
    Picture fore(Kind::kRgb32, 2, 1, {100, 40, 9, 200, 0, 80, 9, 100});
    Picture back(Kind::kRgb32, 4, 1, Bytes(16, 0));
    Picture out(Kind::kRgb32, 4, 1);
    ASSERT_EQ(DoAt(fore, back, out, 0.5, 0, true), 0);
    // Alphas 100, 150, 50; the colour in the middle (200 * 100 + 0) / 300 = 66.7, (8000 + 8000) / 300 = 53.3.
    EXPECT_EQ(out.bytes, (Bytes{0, 0, 0, 0, 100, 40, 9, 100, 67, 53, 9, 150, 0, 80, 9, 50}));
}

TEST(OverlayBetweenPixels, TakesPixelsWithoutAlphaForOpaque) {
    Picture fore(Kind::kRgb24, 2, 1, {100, 40, 9, 0, 80, 9});
    Picture back(Kind::kRgb32, 4, 1, Bytes(16, 0));
    Picture out(Kind::kRgb32, 4, 1);
    ASSERT_EQ(DoAt(fore, back, out, -0.75, 0, true), 0);
    // A quarter to the right of one pixel to the left: alphas 191.25, 255, 63.75.
    EXPECT_EQ(out.bytes, (Bytes{100, 40, 9, 191, 25, 70, 9, 255, 0, 80, 9, 64, 0, 0, 0, 0}));
}

TEST(OverlayBetweenPixels, MovesChromaByHalfInPairs) {
    // One pixel: luma exactly, chroma half way between pairs, transparent black outside.
    Picture fore(Kind::kPairsAlpha, 4, 2,
                 {100, 50, 156, 60, 120, 70, 130, 80, 100, 50, 156, 60, 120, 70, 130, 80}, Bytes(8, 255));
    Picture back(Kind::kPairs, 8, 2, Bytes(32, 128));
    Picture out(Kind::kPairs, 8, 2);
    ASSERT_EQ(DoAt(fore, back, out, 1, 0, true), 0);
    // The first pair has half of the foreground's chroma alpha, 127.5 to 128: (127 * 0 + 128 * -28) / 255 =
    // -14.05, + 128. The last one: 128 * -8 / 255 = -4.02 and 128 * 2 / 255.
    const Bytes line = {128, 128, 128, 128, 114, 128, 142, 50, 110, 60, 143, 70, 124, 80, 129, 128};
    Bytes wanted = line;
    wanted.insert(wanted.end(), line.begin(), line.end());
    EXPECT_EQ(out.bytes, wanted);
}

TEST(OverlayBetweenPixels, KeepsLinesInTheirField) {
    // Lines 0 and 2 are black and white, 1 and 3 are 100: half a line down is a quarter in either field.
    const auto picture = [](FieldPackingEnum fields) {
        return Picture(Kind::kRgb24, 1, 4, {0, 0, 0, 100, 100, 100, 200, 200, 200, 100, 100, 100}, {},
                       {kUnshaped, kUpperFieldFirst, fields});
    };
    Picture fore = picture(kInterleavedFields), progressive = picture(kNoFields);
    Picture back(Kind::kRgb24, 1, 4, Bytes(12, 0)), out(Kind::kRgb24, 1, 4);
    ASSERT_EQ(DoAt(fore, back, out, 0, 0.5, true), 0);
    // Line 1 is opaque by 3/4 (191.25): 191 * 100 / 255 = 74.9. Line 2: 3/4 * 200.
    EXPECT_EQ(out.bytes, (Bytes{0, 0, 0, 75, 75, 75, 150, 150, 150, 100, 100, 100}));
    ASSERT_EQ(DoAt(progressive, back, out, 0, 0.5, true), 0);
    EXPECT_EQ(out.bytes, (Bytes{0, 0, 0, 50, 50, 50, 150, 150, 150, 150, 150, 150}));
}

// ---- Properties -------------------------------------------------------------------------------------------

TEST(OverlayBetweenPixels, GivesTheWholePixelFormWithoutAFraction) {
    for (const Kind back : kKinds) {
        for (const Kind fore : kKinds) {
            if (!HaveSameSpace(back, fore)) {
                continue;
            }
            for (const ShapedEnum shaped : {kUnshaped, kShaped}) {
                Picture f(fore, 22, 13, Picture::Setup{shaped}), b(back, 40, 30), whole(back, 40, 30),
                    between(back, 40, 30);
                for (const double x : {0.0, 2.0, -4.0, 12.0, -14.0}) {
                    for (const double y : {0.0, 1.0, -3.0, 14.0, 100.0}) {
                        ASSERT_EQ(DoAt(f, b, whole, x, y, false), 0);
                        ASSERT_EQ(DoAt(f, b, between, x, y, true), 0);
                        ASSERT_EQ(whole.bytes, between.bytes) << x << ", " << y;
                        ASSERT_EQ(whole.alpha, between.alpha) << x << ", " << y;
                    }
                }
            }
        }
    }
}

TEST(OverlayBetweenPixels, DoesNotShowTheColourOfTransparentPixels) {
    for (const Kind kind : {Kind::kRgb32, Kind::kPairsAlpha}) {
        Picture fore(kind, 24, 12);
        const std::size_t bytes = PixelBytes(kind);
        for (std::size_t i = 0; i < std::size_t{24} * 12; ++i) {
            // Chroma goes with the even pixel, and is not shown where that is transparent.
            if (i / 4 % 2 == 0) {
                (kind == Kind::kRgb32 ? fore.bytes[4 * i + 3] : fore.alpha[i]) = 0;
            }
        }
        Picture other(kind, 24, 12, fore.bytes, fore.alpha);
        for (std::size_t i = 0; i < std::size_t{24} * 12; ++i) {
            if (i / 4 % 2 == 0) {
                for (std::size_t k = 0; k < (kind == Kind::kRgb32 ? 3 : bytes); ++k) {
                    other.bytes[bytes * i + k] = static_cast<std::uint8_t>(~other.bytes[bytes * i + k]);
                }
            }
        }
        Picture back(kind, 40, 20), one(kind, 40, 20), two(kind, 40, 20);
        for (int i = 0; i < 40; ++i) {
            const double x = i * 0.3125 - 5, y = i * 0.4375 - 8;
            ASSERT_EQ(DoAt(fore, back, one, x, y, true), 0);
            ASSERT_EQ(DoAt(other, back, two, x, y, true), 0);
            ASSERT_EQ(one.bytes, two.bytes) << x << ", " << y;
            ASSERT_EQ(one.alpha, two.alpha) << x << ", " << y;
        }
    }
}

/// A soft dot, a raised cosine.
double Dot(double x, double y) {
    const double r = std::hypot(x, y);
    return r < 30.5 ? (1 + std::cos(std::numbers::pi * r / 30.5)) / 2 : 0;
}
std::uint8_t Code(double value) {
    return static_cast<std::uint8_t>(std::lround(value));
}

struct Centroid {
    double x = 0, y = 0, sum = 0;

    void Add(double value, double atX, double atY) {
        x += value * atX;
        y += value * atY;
        sum += value;
    }
};

void ExpectAt(const Centroid& c, const Centroid& start, double x, double y, const char* what) {
    const double errorX = c.x / c.sum - start.x / start.sum - x,
                 errorY = c.y / c.sum - start.y / start.sum - y;
    EXPECT_LE(std::abs(errorX), 0.01) << what << " at " << x << ", " << y;
    EXPECT_LE(std::abs(errorY), 0.01) << what << " at " << x << ", " << y;
}

TEST(OverlayBetweenPixels, MovesTheCentreOfASoftDotEvenly) {
    constexpr unsigned kSize = 64, kWidth = 112, kHeight = 112;
    Bytes pixels, pairs, alphas;
    for (unsigned y = 0; y < kSize; ++y) {
        for (unsigned x = 0; x < kSize; ++x) {
            const double level = Dot(x - 31.5, y - 31.5);
            pixels.insert(pixels.end(), 4, Code(255 * level));
            pairs.insert(pairs.end(), 2, 255);
            alphas.push_back(Code(255 * level));
        }
    }
    Picture dot(Kind::kRgb32, kSize, kSize, pixels, {}, {kShaped});
    Picture pairDot(Kind::kPairsAlpha, kSize, kSize, pairs, alphas);
    Picture back(Kind::kRgb32, kWidth, kHeight, Bytes(4 * kWidth * kHeight, 0));
    Bytes black;
    for (unsigned i = 0; i < kWidth * kHeight; ++i) {
        black.insert(black.end(), {128, 16});
    }
    Picture pairBack(Kind::kPairs, kWidth, kHeight, black);
    Picture out(Kind::kRgb32, kWidth, kHeight), pairOut(Kind::kPairs, kWidth, kHeight);
    Centroid startRgb, startLuma, startChroma;
    for (int step = 0; step <= 400; ++step) {
        // Between lines: on whole ones all samples are whole numbers, and a slope of less than a half in a
        // thirty-second of a pair is rounded away.
        const double x = step / 16.0 - 12.5, y = step / 16.0 - 12.3;
        ASSERT_EQ(DoAt(dot, back, out, x, y, true), 0);
        ASSERT_EQ(DoAt(pairDot, pairBack, pairOut, x, y, true), 0);
        Centroid rgb, luma, chroma;
        for (unsigned row = 0; row < kHeight; ++row) {
            for (unsigned column = 0; column < kWidth; ++column) {
                rgb.Add(out.Pixel(column, row)[1], column, row);
                luma.Add(pairOut.Pixel(column, row)[1] - 16, column, row);
                if (column % 2 == 0) {
                    chroma.Add(pairOut.Pixel(column, row)[0] - 128, column, row);
                }
            }
        }
        if (step == 0) {
            startRgb = rgb, startLuma = luma, startChroma = chroma;
        }
        ExpectAt(rgb, startRgb, step / 16.0, step / 16.0, "RGB");
        ExpectAt(luma, startLuma, step / 16.0, step / 16.0, "luma");
        ExpectAt(chroma, startChroma, step / 16.0, step / 16.0, "chroma");
    }
}

}  // namespace
