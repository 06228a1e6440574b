#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "GradientCanvas.h"

namespace {

using GradientGenerator::WgrGenerateMask;
using GradientGenerator::WgrMaskData;

constexpr unsigned kHalfPlane = 1, kRectangle = 2, kEllipse = 3;
constexpr unsigned kBefore = 0xA5;

/// A canvas with a mask's record on it.
class MaskCanvas : public GradientCanvas {
public:
    WgrMaskData mask{};

    explicit MaskCanvas(unsigned width = 64, unsigned height = 48, unsigned bits = 8, unsigned peak = 255,
                        bool upsideDown = false)
        : GradientCanvas(width, height, bits, peak, 5, upsideDown) {
        mask.structSize = sizeof mask;
        mask.width = record.width;
        mask.height = record.height;
        mask.pitch = record.pitch;
        mask.bitsPerSample = record.bitsPerSample;
        mask.significantBits = record.significantBits;
        mask.peakValue = record.peakValue;
        mask.pixels = record.pixels;
        mask.aspectRatio = 1.0F;
        Place(10, 8, 50, 40);
    }

    MaskCanvas& Place(float x0, float y0, float x1, float y1) {
        mask.x0 = x0;
        mask.y0 = y0;
        mask.x1 = x1;
        mask.y1 = y1;
        return *this;
    }
    MaskCanvas& Soft(float x, float y) {
        mask.softnessX = x;
        mask.softnessY = y;
        return *this;
    }
    int DrawMask(Zan::ULong32 type) { return WgrGenerateMask(&mask, type); }
};

TEST(Masks, RecordHasTheLayoutThatHostsFill) {
    EXPECT_EQ(offsetof(WgrMaskData, structSize), 0U);
    EXPECT_EQ(offsetof(WgrMaskData, peakValue), 24U);
    const std::size_t behindPointer = sizeof(void*) == 4 ? 32 : 40;
    EXPECT_EQ(offsetof(WgrMaskData, aspectRatio), behindPointer);
    EXPECT_EQ(offsetof(WgrMaskData, flags), behindPointer + 4);
    EXPECT_EQ(offsetof(WgrMaskData, x0), behindPointer + 8);
    EXPECT_EQ(offsetof(WgrMaskData, softnessY), behindPointer + 28);
    EXPECT_EQ(sizeof(WgrMaskData), behindPointer + 32);
}

TEST(Masks, StatusesInTheirOrder) {
    EXPECT_EQ(WgrGenerateMask(nullptr, 1), 1);
    MaskCanvas canvas;
    canvas.mask.structSize = 63;
    canvas.mask.bitsPerSample = 12;
    canvas.mask.significantBits = 13;
    canvas.mask.width = 7;
    EXPECT_EQ(canvas.DrawMask(4), 2);
    canvas.mask.structSize = 44;
    EXPECT_EQ(canvas.DrawMask(4), 2);
    canvas.mask.structSize = 64;
    EXPECT_EQ(canvas.DrawMask(4), 3);
    canvas.mask.bitsPerSample = 8;
    EXPECT_EQ(canvas.DrawMask(4), 4);
    canvas.mask.significantBits = 8;
    canvas.mask.peakValue = 256;
    EXPECT_EQ(canvas.DrawMask(4), 4);
    canvas.mask.peakValue = 255;
    EXPECT_EQ(canvas.DrawMask(4), 5);
    canvas.mask.width = 64;
    canvas.mask.height = 7;
    EXPECT_EQ(canvas.DrawMask(4), 5);
    canvas.mask.height = 48;
    canvas.mask.pitch = -63;
    EXPECT_EQ(canvas.DrawMask(4), 5);
    canvas.mask.pitch = 69;
    for (const Zan::ULong32 type : {0U, 4U, 5U, 0xFFFFFFFFU}) {
        EXPECT_EQ(canvas.DrawMask(type), 9);
    }
    EXPECT_TRUE(canvas.IsUntouched());
    EXPECT_EQ(canvas.DrawMask(1), 0);
    EXPECT_FALSE(canvas.IsUntouched());
    EXPECT_EQ(canvas.TouchedGuards(), 0U);
}

TEST(Masks, RecordIsReadOnly) {
    for (const unsigned type : {kHalfPlane, kRectangle, kEllipse}) {
        MaskCanvas canvas;
        canvas.Place(50, 40, 10, 8).Soft(2, -1);
        unsigned char before[sizeof canvas.mask];
        std::memcpy(before, &canvas.mask, sizeof before);
        ASSERT_EQ(canvas.DrawMask(type), 0);
        EXPECT_EQ(std::memcmp(before, &canvas.mask, sizeof before), 0);
    }
}

TEST(Masks, SoftnessIsLimited) {
    for (const unsigned type : {kHalfPlane, kRectangle, kEllipse}) {
        MaskCanvas above, most, below, least;
        above.Soft(2, 2).DrawMask(type);
        most.Soft(1, 1).DrawMask(type);
        below.Soft(-1, -1).DrawMask(type);
        least.Soft(0, 0).DrawMask(type);
        EXPECT_EQ(above.Samples(), most.Samples());
        EXPECT_EQ(below.Samples(), least.Samples());
        EXPECT_NE(least.Samples(), most.Samples());
    }
}

// ---- Half plane

TEST(Masks, UprightLineHasItsHighSideOnTheRight) {
    MaskCanvas canvas;
    ASSERT_EQ(canvas.Place(20, 0, 20, 48).DrawMask(kHalfPlane), 0);
    for (unsigned y = 0; y < 48; ++y) {
        for (unsigned x = 0; x < 64; ++x) {
            ASSERT_EQ(canvas.Sample(x, y), x < 20 ? 0U : 255U);
        }
    }
}

TEST(Masks, LyingLineHasItsHighSideAbove) {
    MaskCanvas canvas;
    ASSERT_EQ(canvas.Place(0, 20, 64, 20).DrawMask(kHalfPlane), 0);
    for (unsigned y = 0; y < 48; ++y) {
        for (unsigned x = 0; x < 64; ++x) {
            ASSERT_EQ(canvas.Sample(x, y), y < 20 ? 255U : 0U);
        }
    }
}

TEST(Masks, ExchangedPointsExchangeTheSides) {
    for (const float x1 : {20.0F, 35.0F, 3.0F}) {
        for (const float y1 : {0.0F, 10.0F, 47.0F}) {
            for (const float softness : {0.0F, 0.3F, 1.0F}) {
                MaskCanvas there(64, 48, 16, 65534), back(64, 48, 16, 65534);
                ASSERT_EQ(there.Place(20.25F, 20.25F, x1, y1).Soft(softness, 0).DrawMask(kHalfPlane), 0);
                ASSERT_EQ(back.Place(x1, y1, 20.25F, 20.25F).Soft(softness, 0).DrawMask(kHalfPlane), 0);
                for (unsigned y = 0; y < 48; ++y) {
                    for (unsigned x = 0; x < 64; ++x) {
                        ASSERT_NEAR(there.Sample(x, y), 65534.0 - back.Sample(x, y), 1.0);
                    }
                }
            }
        }
    }
}

TEST(Masks, SoftEdgeIsAsWideAsTheLargerSideSays) {
    // 0.25 * 64 = 16 pixels about 32: the centre of column 24 + i is i + 1/2 pixels into the edge.
    MaskCanvas canvas(64, 48, 16, 32000);
    ASSERT_EQ(canvas.Place(32, 0, 32, 10).Soft(0.25F, 0).DrawMask(kHalfPlane), 0);
    for (unsigned x = 0; x < 64; ++x) {
        const double part = std::clamp((x + 0.5 - 24) / 16, 0.0, 1.0);
        EXPECT_EQ(canvas.Sample(x, 47), std::floor(part * 32000 + 0.5)) << x;
    }
}

TEST(Masks, SlantedEdgeIsMeasuredAcrossTheLine) {
    // 3-4-5: the line falls by 4 for 3 to the right. Away from it by d, the sample is half the peak and d
    // / 16.
    MaskCanvas canvas(64, 48, 16, 65535);
    ASSERT_EQ(canvas.Place(10, 4, 37, 40).Soft(0.25F, 0).DrawMask(kHalfPlane), 0);
    for (unsigned y = 0; y < 48; ++y) {
        for (unsigned x = 0; x < 64; ++x) {
            const double d = ((x + 0.5 - 10) * 4 - (y + 0.5 - 4) * 3) / 5;
            const double part = std::clamp(0.5 + d / 16, 0.0, 1.0);
            ASSERT_NEAR(canvas.Sample(x, y), part * 65535, 0.51);
        }
    }
}

TEST(Masks, FlagTurnsTheHalfPlaneUpsideDown) {
    for (const unsigned type : {kHalfPlane, kRectangle, kEllipse}) {
        MaskCanvas down, up, other;
        up.mask.flags = 2;
        other.mask.flags = 0xFFFFFFFD;
        for (MaskCanvas* canvas : {&down, &up, &other}) {
            ASSERT_EQ(canvas->Place(5, 3, 60, 30).Soft(0.2F, 0.2F).DrawMask(type), 0);
            EXPECT_EQ(canvas->TouchedGuards(), 0U);
        }
        EXPECT_EQ(down.Samples(), other.Samples());
        for (unsigned y = 0; y < 48; ++y) {
            for (unsigned x = 0; x < 64; ++x) {
                ASSERT_EQ(up.Sample(x, y), down.Sample(x, type == kHalfPlane ? 47 - y : y));
            }
        }
    }
}

// ---- Rectangle

TEST(Masks, HardRectangleIsItsPixelsAndNothingElse) {
    struct Case {
        float x0, y0, x1, y1;
        unsigned left, top, right, bottom;  // covered, without the last
    };
    const Case cases[] = {
        {10, 8, 50, 40, 10, 8, 50, 40},
        {50, 40, 10, 8, 10, 8, 50, 40},
        {50, 8, 10, 40, 10, 8, 50, 40},
        // By the centres of pixels.
        {10.4F, 8.4F, 50.4F, 40.4F, 10, 8, 50, 40},
        {10.6F, 8.6F, 50.6F, 40.6F, 11, 9, 51, 41},
        // Cut to the buffer.
        {-10, -1000, 70, 20, 0, 0, 64, 20},
        {40, 40, 1e9F, 1e30F, 40, 40, 64, 48},
        // Between two centres, outside, and empty.
        {10.6F, 8, 11.4F, 40, 0, 0, 0, 0},
        {70, 8, 90, 40, 0, 0, 0, 0},
        {-9, 8, -1, 40, 0, 0, 0, 0},
        {10, 10, 10, 10, 0, 0, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.x0 << ", " << c.y0 << " to " << c.x1 << ", " << c.y1);
        MaskCanvas canvas(64, 48, 8, 200);
        ASSERT_EQ(canvas.Place(c.x0, c.y0, c.x1, c.y1).DrawMask(kRectangle), 0);
        EXPECT_EQ(canvas.TouchedGuards(), 0U);
        for (unsigned y = 0; y < 48; ++y) {
            for (unsigned x = 0; x < 64; ++x) {
                const bool inside = x >= c.left && x < c.right && y >= c.top && y < c.bottom;
                ASSERT_EQ(canvas.Sample(x, y), inside ? 200 : kBefore) << x << ", " << y;
            }
        }
    }
}

TEST(Masks, BandsOfTheRectangleRiseInEqualSteps) {
    // Softness 0.2 of half of 40 are 4 pixels: 1/5, 2/5 ... and the peak from the fifth on.
    MaskCanvas canvas(64, 48, 8, 250);
    ASSERT_EQ(canvas.Place(10, 8, 50, 40).Soft(0.2F, 0).DrawMask(kRectangle), 0);
    const unsigned ramp[] = {50, 100, 150, 200, 250};
    for (unsigned i = 0; i < 20; ++i) {
        EXPECT_EQ(canvas.Sample(10 + i, 8), ramp[std::min(i, 4U)]);
        EXPECT_EQ(canvas.Sample(49 - i, 39), ramp[std::min(i, 4U)]);
    }
}

TEST(Masks, SoftestRectangleIsTheProductOfTwoTents) {
    MaskCanvas canvas(64, 48, 16, 65535);
    ASSERT_EQ(canvas.Place(10, 8, 50, 40).Soft(1, 1).DrawMask(kRectangle), 0);
    for (unsigned y = 0; y < 32; ++y) {
        for (unsigned x = 0; x < 40; ++x) {
            const double across = (std::min(x, 39 - x) + 1) / 21.0, down = (std::min(y, 31 - y) + 1) / 17.0;
            ASSERT_NEAR(canvas.Sample(10 + x, 8 + y), across * down * 65535, 0.51);
        }
    }
}

TEST(Masks, ACutRectangleKeepsItsBands) {
    MaskCanvas whole(64, 48, 16, 65535), cut(64, 48, 16, 65535);
    ASSERT_EQ(whole.Place(10, 8, 50, 40).Soft(0.7F, 0.9F).DrawMask(kRectangle), 0);
    ASSERT_EQ(cut.Place(-10, -12, 30, 20).Soft(0.7F, 0.9F).DrawMask(kRectangle), 0);
    for (unsigned y = 0; y < 20; ++y) {
        for (unsigned x = 0; x < 30; ++x) {
            // Coordinates are truncated to 65536ths, towards 0.
            ASSERT_NEAR(cut.Sample(x, y), whole.Sample(x + 20, y + 20), 1);
        }
    }
}

// ---- Ellipse

TEST(Masks, EllipseByItsFormula) {
    for (const float softness : {0.0F, 0.25F, 1.0F}) {
        MaskCanvas canvas(64, 48, 16, 65535);
        ASSERT_EQ(canvas.Place(50, 8, 10, 40).Soft(softness, 0.5F).DrawMask(kEllipse), 0);
        for (unsigned y = 0; y < 48; ++y) {
            for (unsigned x = 0; x < 64; ++x) {
                if (x < 10 || x >= 50 || y < 8 || y >= 40) {
                    ASSERT_EQ(canvas.Sample(x, y), 0xA5A5U) << x << ", " << y;
                    continue;
                }
                const double r = std::hypot((x + 0.5 - 30) / 20, (y + 0.5 - 24) / 16);
                const double part =
                    r >= 1 ? 0 : std::min(1.0, softness > 0 ? (1 - r) / static_cast<double>(softness) : 1.0);
                ASSERT_NEAR(canvas.Sample(x, y), part * 65535, 0.51) << x << ", " << y;
            }
        }
    }
}

TEST(Masks, EllipseIgnoresTheSecondSoftness) {
    MaskCanvas a, b;
    ASSERT_EQ(a.Soft(0.3F, 0).DrawMask(kEllipse), 0);
    ASSERT_EQ(b.Soft(0.3F, 1).DrawMask(kEllipse), 0);
    EXPECT_EQ(a.Samples(), b.Samples());
}

TEST(Masks, ExchangedCornersDrawTheSame) {
    for (const unsigned type : {kRectangle, kEllipse}) {
        MaskCanvas reference;
        ASSERT_EQ(reference.Place(7.3F, 5.8F, 51.2F, 40.1F).Soft(0.4F, 0.6F).DrawMask(type), 0);
        for (const bool inX : {false, true}) {
            for (const bool inY : {false, true}) {
                MaskCanvas canvas;
                canvas.Place(inX ? 51.2F : 7.3F, inY ? 40.1F : 5.8F, inX ? 7.3F : 51.2F, inY ? 5.8F : 40.1F);
                ASSERT_EQ(canvas.Soft(0.4F, 0.6F).DrawMask(type), 0);
                EXPECT_EQ(canvas.Samples(), reference.Samples());
            }
        }
    }
}

TEST(Masks, InnerShapesAreSymmetricToTheLastCodeValue) {
    for (const unsigned type : {kRectangle, kEllipse}) {
        MaskCanvas canvas(63, 47, 16, 65535);
        ASSERT_EQ(canvas.Place(3.25F, 4.125F, 59.75F, 42.875F).Soft(0.9F, 0.7F).DrawMask(type), 0);
        for (unsigned y = 0; y < 47; ++y) {
            for (unsigned x = 0; x < 63; ++x) {
                ASSERT_EQ(canvas.Sample(x, y), canvas.Sample(62 - x, y));
                ASSERT_EQ(canvas.Sample(x, y), canvas.Sample(x, 46 - y));
            }
        }
    }
}

// ---- Any record

TEST(Masks, UpsideDownBuffersHoldTheSamePicture) {
    for (const unsigned type : {kHalfPlane, kRectangle, kEllipse}) {
        MaskCanvas down(64, 48, 16, 16383), up(64, 48, 16, 16383, true);
        for (MaskCanvas* canvas : {&down, &up}) {
            ASSERT_EQ(canvas->Place(7, 5, 51, 30).Soft(0.4F, 0.6F).DrawMask(type), 0);
            EXPECT_EQ(canvas->TouchedGuards(), 0U);
        }
        EXPECT_EQ(down.Samples(), up.Samples());
    }
}

TEST(Masks, NothingInARecordDoesHarm) {
    const float values[] = {std::numeric_limits<float>::quiet_NaN(),
                            std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity(),
                            std::numeric_limits<float>::max(),
                            std::numeric_limits<float>::lowest(),
                            std::numeric_limits<float>::denorm_min(),
                            0.0F,
                            24.5F};
    for (const unsigned type : {kHalfPlane, kRectangle, kEllipse}) {
        for (const float a : values) {
            for (const float b : values) {
                for (const float c : {values[0], 0.0F, 0.5F}) {
                    for (const bool turned : {false, true}) {
                        MaskCanvas canvas(16, 9, 16, 1000);
                        canvas.Place(turned ? a : b, 2, turned ? b : 30.0F, a).Soft(c, c);
                        ASSERT_EQ(canvas.DrawMask(type), 0);
                        EXPECT_EQ(canvas.TouchedGuards(), 0U);
                        for (const unsigned sample : canvas.Samples()) {
                            ASSERT_TRUE(sample <= 1000 || (type != kHalfPlane && sample == 0xA5A5)) << sample;
                        }
                    }
                }
            }
        }
    }
}

}  // namespace
