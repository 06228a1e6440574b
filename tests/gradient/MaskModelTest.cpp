// Masks against their geometry, one pixel at a time.

#include <TesselU/gradient/GradientGenerator.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ostream>
#include <vector>

#include "support/FencedMemory.h"

using namespace test_support;
using GradientGenerator::WgrGenerateMask;
using GradientGenerator::WgrMaskData;
using Zan::Long32;
using Zan::ULong32;

namespace {

/// A buffer for masks, with bytes beside its rows that nobody may touch.
class Canvas {
public:
    WgrMaskData record{};

    Canvas(ULong32 width, ULong32 height, ULong32 bits = 8, ULong32 peak = 255, ULong32 padding = 0,
           bool upwards = false)
        : pitch(width * bits / 8 + padding), memory(pitch * height) {
        record.structSize = 64;
        record.width = width;
        record.height = height;
        record.pitch = static_cast<Long32>(pitch);
        record.bitsPerSample = record.significantBits = bits;
        record.peakValue = peak;
        record.pixels = memory.Data();
        record.aspectRatio = 1.0F;
        if (upwards) {
            record.pixels = memory.Data() + pitch * (height - 1);
            record.pitch = -record.pitch;
        }
        before = memory.Snapshot();
    }
    Canvas& Points(float x0, float y0, float x1, float y1) {
        record.x0 = x0;
        record.y0 = y0;
        record.x1 = x1;
        record.y1 = y1;
        return *this;
    }
    Canvas& Soft(float x, float y) {
        record.softnessX = x;
        record.softnessY = y;
        return *this;
    }

    int Draw(ULong32 type) { return WgrGenerateMask(&record, type); }

    unsigned Sample(ULong32 x, ULong32 y) const { return In(memory.Data(), x, y); }
    /// The sample as it was before.
    unsigned Old(ULong32 x, ULong32 y) const { return In(before.data() + memory.GuardLength(), x, y); }
    std::vector<unsigned> Samples() const {
        std::vector<unsigned> all;
        for (ULong32 y = 0; y < record.height; ++y) {
            for (ULong32 x = 0; x < record.width; ++x) {
                all.push_back(Sample(x, y));
            }
        }
        return all;
    }
    bool IsUntouched() const { return before == memory.Snapshot(); }
    bool GuardsHold() const {
        Bytes now = memory.Snapshot();
        for (ULong32 y = 0; y < record.height; ++y) {
            const std::size_t row = memory.GuardLength() + std::size_t{y} * pitch;
            const std::size_t bytes = record.width * record.bitsPerSample / 8;
            std::copy_n(before.begin() + static_cast<std::ptrdiff_t>(row), bytes,
                        now.begin() + static_cast<std::ptrdiff_t>(row));
        }
        return now == before;
    }

private:
    unsigned In(const std::uint8_t* lowest, ULong32 x, ULong32 y) const {
        const ULong32 row = record.pitch < 0 ? record.height - 1 - y : y;
        const std::uint8_t* const at = lowest + row * pitch + std::size_t{x} * record.bitsPerSample / 8;
        if (record.bitsPerSample == 8) {
            return *at;
        }
        std::uint16_t word;
        std::memcpy(&word, at, sizeof word);
        return word;
    }

    std::size_t pitch;
    mutable FencedMemory memory;
    Bytes before;
};

struct Depth {
    ULong32 bits, peak;
};
constexpr Depth kDepths[] = {{8, 255}, {8, 200}, {16, 16320}, {16, 65535}};

// What 16.16 fixed point may be off, beside the rounding to whole samples.
double Slack(const Canvas& canvas) {
    return 0.5 + 0.01 + canvas.record.peakValue * 8 / 65536.0;
}

// ---- Half planes

void ExpectHalfPlane(Canvas& canvas) {
    const WgrMaskData& r = canvas.record;
    ASSERT_EQ(canvas.Draw(1), 0);
    ASSERT_TRUE(canvas.GuardsHold());
    const double ramp =
        std::max(1.0, std::max(r.width, r.height) * static_cast<double>(std::clamp(r.softnessX, 0.0F, 1.0F)));
    const double x0 = static_cast<double>(r.x0), y0 = static_cast<double>(r.y0);
    const double x1 = static_cast<double>(r.x1), y1 = static_cast<double>(r.y1);
    const double length = std::hypot(x1 - x0, y1 - y0);
    for (ULong32 y = 0; y < r.height; ++y) {
        for (ULong32 x = 0; x < r.width; ++x) {
            // The distance of the centre from the line, counted to the left of one who walks along it with y
            // growing downwards.
            const double distance = ((x + 0.5 - x0) * (y1 - y0) - (y + 0.5 - y0) * (x1 - x0)) / length;
            const double expected = r.peakValue * std::clamp(distance / ramp + 0.5, 0.0, 1.0);
            const ULong32 row = (r.flags & 2) != 0 ? r.height - 1 - y : y;
            ASSERT_NEAR(canvas.Sample(x, row), expected, Slack(canvas))
                << x << ", " << y << ": line " << x0 << ", " << y0 << " to " << x1 << ", " << y1 << ", soft "
                << r.softnessX;
        }
    }
}

TEST(MaskModel, HalfPlanesOfAllDirections) {
    for (const Depth& depth : kDepths) {
        for (int angle = 0; angle < 360; angle += 7) {
            for (const float softness : {0.0F, 0.05F, 0.5F, 1.0F}) {
                const double radians = angle * 3.14159265358979 / 180;
                Canvas canvas(41, 30, depth.bits, depth.peak, angle % 3 == 0 ? 6 : 0, angle % 2 == 0);
                canvas.record.flags = angle % 5 == 0 ? 2 : 0;
                canvas
                    .Points(static_cast<float>(19 + 10 * std::cos(radians)),
                            static_cast<float>(13 + 10 * std::sin(radians)),
                            static_cast<float>(19 - 10 * std::cos(radians)),
                            static_cast<float>(13 - 10 * std::sin(radians)))
                    .Soft(softness, 0.3F);
                ASSERT_NO_FATAL_FAILURE(ExpectHalfPlane(canvas));
            }
        }
    }
}

TEST(MaskModel, HalfPlanesOfUprightAndLevelLines) {
    constexpr float kLines[][4] = {{10, 0, 10, 30}, {10, 30, 10, 0},     {10.25F, 5, 10.25F, 6},
                                   {0, 12, 40, 12}, {40, 12, 0, 12},     {3, 12.3F, 4, 12.3F},
                                   {-50, 3, 90, 3}, {-20, -20, -20, 50}, {100, 50, 100, 0},
                                   {0, 0, 41, 30},  {41, 30, 0, 0},      {0, 30, 41, 0}};
    for (const Depth& depth : kDepths) {
        for (const auto& line : kLines) {
            for (const float softness : {-1.0F, 0.0F, 0.1F, 1.0F, 2.0F}) {
                Canvas canvas(41, 30, depth.bits, depth.peak, 2);
                canvas.Points(line[0], line[1], line[2], line[3]).Soft(softness, 0);
                ASSERT_NO_FATAL_FAILURE(ExpectHalfPlane(canvas));
            }
        }
    }
}

TEST(MaskModel, ExchangedPointsExchangeTheSidesOfAHalfPlane) {
    // A hard line between two columns, downwards: low on the left.
    Canvas down(16, 8), up(16, 8);
    ASSERT_EQ(down.Points(6, 0, 6, 8).Draw(1), 0);
    ASSERT_EQ(up.Points(6, 8, 6, 0).Draw(1), 0);
    for (ULong32 x = 0; x < 16; ++x) {
        EXPECT_EQ(down.Sample(x, 3), x < 6 ? 0U : 255U);
        EXPECT_EQ(up.Sample(x, 3), x < 6 ? 255U : 0U);
    }
    // From left to right: high above.
    Canvas right(16, 8), left(16, 8);
    ASSERT_EQ(right.Points(0, 5, 16, 5).Draw(1), 0);
    ASSERT_EQ(left.Points(16, 5, 0, 5).Draw(1), 0);
    for (ULong32 y = 0; y < 8; ++y) {
        EXPECT_EQ(right.Sample(3, y), y < 5 ? 255U : 0U);
        EXPECT_EQ(left.Sample(3, y), y < 5 ? 0U : 255U);
    }
}

TEST(MaskModel, HalfPlanesWithoutALineStayInTheBuffer) {
    const float wild[] = {0, 1e30F, -1e30F, INFINITY, NAN, 1e-30F, 20, 1e9F, -32768};
    for (const float x : wild) {
        for (const float y : wild) {
            for (const float softness : wild) {
                Canvas canvas(16, 9, 16, 65535, 2);
                EXPECT_EQ(canvas.Points(x, y, 20, 20).Soft(softness, softness).Draw(1), 0);
                EXPECT_TRUE(canvas.GuardsHold());
                for (const ULong32 type : {1U, 2U, 3U}) {
                    EXPECT_EQ(canvas.Points(x, 3, y, 5).Draw(type), 0);
                    EXPECT_TRUE(canvas.GuardsHold());
                    EXPECT_EQ(canvas.Points(2, x, 5, y).Draw(type), 0);
                    EXPECT_TRUE(canvas.GuardsHold());
                }
            }
        }
    }
}

// ---- Rectangles and ellipses

struct Box {
    float x0, y0, x1, y1;
};
// Whole and broken coordinates, inside and across every edge; no centre of a pixel lies on a border.
constexpr Box kBoxes[] = {{5, 4, 30, 20},
                          {0, 0, 41, 30},
                          {5.3F, 4.7F, 29.8F, 22.1F},
                          {-10, -7, 20, 15},
                          {20, 15, 60, 50},
                          {-30, -30, 90, 70},
                          {12, 9, 13, 10},
                          {8, 8, 9.25F, 29},
                          {3.9F, 2.2F, 4.1F, 9.9F},
                          {50, 3, 60, 9},
                          {3, -9, 9, -2},
                          {40, 29, 41, 30},
                          {7.75F, 3.25F, 33.25F, 25.75F}};

// The ramp of an axis at a distance of d from the nearer border; hard edges have none.
double Ramp(double d, double band) {
    return band == 0 ? 1.0 : std::min(1.0, (d + 0.5) / (band + 1));
}

/// A pixel, told in words only when a test fails.
struct Place {
    ULong32 x, y;
    friend std::ostream& operator<<(std::ostream& out, const Place& place) {
        return out << "at " << place.x << ", " << place.y;
    }
};

void ExpectBox(Canvas& canvas, bool ellipse) {
    const WgrMaskData r = canvas.record;
    ASSERT_EQ(canvas.Draw(ellipse ? 3 : 2), 0);
    ASSERT_TRUE(canvas.GuardsHold());
    ASSERT_EQ(std::memcmp(&r, &canvas.record, sizeof r), 0) << "the record was written";
    const double x0 = static_cast<double>(std::min(r.x0, r.x1)),
                 x1 = static_cast<double>(std::max(r.x0, r.x1));
    const double y0 = static_cast<double>(std::min(r.y0, r.y1)),
                 y1 = static_cast<double>(std::max(r.y0, r.y1));
    const double softX = static_cast<double>(std::clamp(r.softnessX, 0.0F, 1.0F));
    const double softY = static_cast<double>(std::clamp(r.softnessY, 0.0F, 1.0F));
    for (ULong32 y = 0; y < r.height; ++y) {
        for (ULong32 x = 0; x < r.width; ++x) {
            const double cx = x + 0.5, cy = y + 0.5;
            const auto at = Place{x, y};
            if (cx < x0 || cx > x1 || cy < y0 || cy > y1) {
                ASSERT_EQ(canvas.Sample(x, y), canvas.Old(x, y)) << at << ", outside";
                continue;
            }
            if (!ellipse) {
                const double rampX = Ramp(std::min(cx - x0, x1 - cx), softX * (x1 - x0) / 2);
                const double rampY = Ramp(std::min(cy - y0, y1 - cy), softY * (y1 - y0) / 2);
                ASSERT_NEAR(canvas.Sample(x, y), r.peakValue * rampX * rampY, Slack(canvas)) << at;
                continue;
            }
            const double radius = std::hypot((2 * cx - x0 - x1) / (x1 - x0), (2 * cy - y0 - y1) / (y1 - y0));
            if (softX == 0) {
                if (std::fabs(radius - 1) > 0.01) {
                    ASSERT_EQ(canvas.Sample(x, y), radius < 1 ? r.peakValue : 0U) << at;
                }
                continue;
            }
            const double value = std::clamp((1 - radius) / softX, 0.0, 1.0);
            // Steps of the band are nobody's promise, its place is.
            ASSERT_NEAR(canvas.Sample(x, y), r.peakValue * value, 1 + r.peakValue / 200.0) << at;
            if (radius > 1.02) {
                ASSERT_EQ(canvas.Sample(x, y), 0U) << at;
            }
        }
    }
}

TEST(MaskModel, RectanglesAndEllipses) {
    for (const Depth& depth : kDepths) {
        for (const Box& box : kBoxes) {
            for (const float softX : {0.0F, 0.2F, 0.75F, 1.0F}) {
                for (const float softY : {0.0F, 0.4F, 1.0F}) {
                    for (const bool ellipse : {false, true}) {
                        Canvas canvas(41, 30, depth.bits, depth.peak, 4, depth.peak == 200);
                        canvas.Points(box.x0, box.y0, box.x1, box.y1).Soft(softX, softY);
                        SCOPED_TRACE(::testing::Message()
                                     << box.x0 << ", " << box.y0 << " to " << box.x1 << ", " << box.y1
                                     << ", soft " << softX << ", " << softY << (ellipse ? ", ellipse" : ""));
                        ASSERT_NO_FATAL_FAILURE(ExpectBox(canvas, ellipse));
                    }
                }
            }
        }
    }
}

TEST(MaskModel, PointsOfABoxComeInAnyOrder) {
    for (const ULong32 type : {2U, 3U}) {
        const auto draw = [type](float x0, float y0, float x1, float y1) {
            Canvas canvas(41, 30);
            std::memset(canvas.record.pixels, 9, 41 * 30);
            EXPECT_EQ(canvas.Points(x0, y0, x1, y1).Soft(0.5F, 0.25F).Draw(type), 0);
            return canvas.Samples();
        };
        const auto straight = draw(5.3F, 4, 30, 20.8F);
        EXPECT_EQ(straight, draw(30, 4, 5.3F, 20.8F));
        EXPECT_EQ(straight, draw(5.3F, 20.8F, 30, 4));
        EXPECT_EQ(straight, draw(30, 20.8F, 5.3F, 4));
    }
}

TEST(MaskModel, SoftnessIsLimited) {
    for (const ULong32 type : {1U, 2U, 3U}) {
        const auto draw = [type](float softX, float softY) {
            Canvas canvas(41, 30);
            std::memset(canvas.record.pixels, 9, 41 * 30);
            EXPECT_EQ(canvas.Points(5, 4, 33, 21).Soft(softX, softY).Draw(type), 0);
            return canvas.Samples();
        };
        EXPECT_EQ(draw(2, 2), draw(1, 1));
        EXPECT_EQ(draw(-1, -1), draw(0, 0));
        if (type != 2) {
            EXPECT_EQ(draw(0.3F, 0), draw(0.3F, 1)) << "softnessY has no effect";
        }
    }
}

TEST(MaskModel, SoftRectanglesAreTentsAndHardOnesBlocks) {
    Canvas tents(40, 30, 16, 65535), block(40, 30);
    ASSERT_EQ(tents.Points(0, 0, 40, 30).Soft(1, 1).Draw(2), 0);
    unsigned most = 0;
    for (ULong32 y = 0; y < 30; ++y) {
        for (ULong32 x = 0; x < 40; ++x) {
            most = std::max(most, tents.Sample(x, y));
            // Symmetric to the last code value.
            EXPECT_EQ(tents.Sample(x, y), tents.Sample(39 - x, y));
            EXPECT_EQ(tents.Sample(x, y), tents.Sample(x, 29 - y));
            if (x > 0 && x < 20) {
                EXPECT_GT(tents.Sample(x, y), tents.Sample(x - 1, y));
            }
        }
    }
    EXPECT_EQ(tents.Sample(19, 14), most);
    EXPECT_EQ(tents.Sample(20, 15), most);
    ASSERT_EQ(block.Points(3, 5, 7, 11).Soft(0, 0).Draw(2), 0);
    for (ULong32 y = 0; y < 30; ++y) {
        for (ULong32 x = 0; x < 40; ++x) {
            EXPECT_EQ(block.Sample(x, y), x >= 3 && x < 7 && y >= 5 && y < 11 ? 255U : block.Old(x, y));
        }
    }
}

// ---- Refusals, in their order

TEST(MaskModel, Refusals) {
    EXPECT_EQ(WgrGenerateMask(nullptr, 1), 1);
    const auto refused = [](int code, ULong32 type, auto change) {
        Canvas canvas(16, 8);
        canvas.Points(1, 1, 9, 7);
        change(canvas.record);
        EXPECT_EQ(canvas.Draw(type), code);
        EXPECT_TRUE(canvas.IsUntouched());
    };
    refused(2, 4, [](WgrMaskData& r) {
        r.structSize = 63;
        r.bitsPerSample = 12;
    });
    refused(2, 1, [](WgrMaskData& r) { r.structSize = 44; });
    refused(3, 4, [](WgrMaskData& r) {
        r.bitsPerSample = 12;
        r.significantBits = 17;
    });
    refused(4, 4, [](WgrMaskData& r) {
        r.significantBits = 9;
        r.width = 7;
    });
    refused(4, 1, [](WgrMaskData& r) { r.peakValue = 256; });
    refused(4, 1, [](WgrMaskData& r) {
        r.significantBits = 7;
        r.peakValue = 128;
    });
    refused(5, 4, [](WgrMaskData& r) { r.width = 7; });
    refused(5, 1, [](WgrMaskData& r) { r.height = 7; });
    refused(5, 1, [](WgrMaskData& r) { r.pitch = 15; });
    refused(5, 1, [](WgrMaskData& r) { r.pitch = -15; });
    for (const ULong32 type : {0U, 4U, 100U, 0xFFFFFFFFU}) {
        refused(9, type, [](WgrMaskData&) {});
    }
    Canvas larger(16, 8);
    larger.record.structSize = 1000;
    EXPECT_EQ(larger.Points(1, 1, 9, 7).Draw(2), 0);
}

}  // namespace
