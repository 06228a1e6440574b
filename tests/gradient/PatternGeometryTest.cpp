// What is told of a pattern's geometry where its constants are left open: mirrors, turns, norms and ranges.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "gradient/GradientCanvas.h"
#include "gradient/model/Patterns.h"

using namespace gradient_model;

namespace {

constexpr unsigned kPeak = 65535;

GradientCanvas Drawn(unsigned number, unsigned width, unsigned height, float aspect = 1.0F,
                     float cell = 0.25F) {
    GradientCanvas canvas(width, height, 16, kPeak);
    canvas.record.aspectRatio = aspect;
    canvas.record.cellFraction = cell;
    EXPECT_EQ(canvas.Draw(number), 0) << number;
    return canvas;
}

// ---- Mirrors, exact to the last code value

struct Mirror {
    unsigned first, second;
    bool inX, inY;
};
constexpr bool kX = true, kY = true, kNo = false;
constexpr Mirror kMirrors[] = {
    {1, 1, kNo, kY},
    {2, 2, kX, kNo},
    {3, 4, kX, kNo},
    {3, 6, kNo, kY},
    {3, 5, kX, kY},
    {7, 7, kX, kNo},
    {7, 7, kNo, kY},
    {8, 8, kX, kNo},
    {8, 8, kNo, kY},
    {21, 21, kX, kNo},
    {22, 22, kNo, kY},
    {23, 23, kX, kNo},
    {23, 25, kNo, kY},
    {24, 24, kNo, kY},
    {24, 26, kX, kNo},
    {41, 42, kX, kNo},
    {43, 43, kX, kNo},
    {43, 43, kNo, kY},
    {44, 44, kX, kNo},
    {44, 44, kNo, kY},
    {47, 47, kX, kNo},
    {47, 47, kNo, kY},
    {48, 48, kX, kNo},
    {48, 48, kNo, kY},
    {61, 61, kX, kNo},
    {61, 63, kNo, kY},
    {62, 64, kX, kNo},
    {62, 62, kNo, kY},
    {65, 67, kNo, kY},
    {66, 68, kX, kNo},
    // Shapes
    {101, 101, kX, kNo},
    {101, 101, kNo, kY},
    {102, 102, kX, kNo},
    {102, 102, kNo, kY},
    {103, 103, kX, kNo},
    {103, 105, kNo, kY},
    {104, 104, kNo, kY},
    {104, 106, kX, kNo},
    {107, 107, kX, kNo},
    {107, 109, kNo, kY},
    {108, 108, kNo, kY},
    {108, 110, kX, kNo},
    {111, 111, kX, kNo},
    {111, 112, kNo, kY},
    {113, 113, kX, kNo},
    {113, 113, kNo, kY},
    {114, 114, kX, kNo},
    {114, 114, kNo, kY},
    {119, 119, kX, kNo},
    {119, 119, kNo, kY},
    {120, 120, kX, kNo},
    {120, 120, kNo, kY},
    {121, 121, kX, kNo},
    {121, 121, kNo, kY},
    {122, 122, kX, kNo},
    {122, 122, kNo, kY},
    {123, 123, kX, kNo},
    {123, 123, kNo, kY},
    {127, 127, kX, kNo},
    {127, 127, kNo, kY},
    {128, 128, kX, kNo},
    {129, 129, kX, kNo},
    {129, 129, kNo, kY},
    // Angles
    {211, 211, kX, kNo},
    {212, 212, kNo, kY},
    {213, 213, kX, kNo},
    {213, 213, kNo, kY},
    {214, 214, kX, kNo},
    {214, 214, kNo, kY},
    {227, 227, kNo, kY},
    {228, 228, kX, kNo},
    {231, 231, kX, kNo},
    {231, 233, kNo, kY},
    {232, 232, kNo, kY},
    {232, 234, kX, kNo},
    {235, 235, kX, kNo},
    {235, 235, kNo, kY},
    {236, 236, kX, kNo},
    {236, 236, kNo, kY},
    {245, 245, kX, kY},
    {246, 246, kX, kY},
    {251, 251, kX, kNo},
    {251, 253, kNo, kY},
    {252, 252, kNo, kY},
    {252, 254, kX, kNo},
    {263, 263, kX, kNo},
    {263, 263, kNo, kY},
    {264, 264, kX, kNo},
    {264, 264, kNo, kY},
    // Matrices
    {303, 304, kX, kNo},
    {303, 305, kX, kY},
    {303, 306, kNo, kY},
    {310, 315, kX, kNo},
    {310, 317, kNo, kY},
    {310, 312, kX, kY},
    {311, 314, kX, kNo},
    {312, 317, kX, kNo},
    {313, 316, kX, kNo},
    {314, 316, kX, kY},
    {320, 321, kNo, kY},
    {320, 320, kX, kNo},
    {322, 323, kNo, kY},
    {324, 325, kX, kNo},
    {324, 324, kNo, kY},
    {326, 327, kX, kNo},
    {328, 329, kX, kNo},
    {340, 341, kNo, kY},
    {340, 340, kX, kNo},
    {342, 343, kX, kNo},
    {342, 342, kNo, kY},
    {344, 344, kX, kNo},
    {344, 344, kNo, kY},
    {345, 345, kX, kNo},
    {345, 345, kNo, kY},
    {350, 351, kX, kNo},
    {352, 353, kX, kNo},
};

struct Shape {
    unsigned width, height;
    float aspect, cell;
};
constexpr Shape kShapes[] = {{40, 30, 4.0F / 3, 0.25F},  {41, 31, 1.0F, 0.3F},
                             {64, 47, 16.0F / 9, 0.11F}, {33, 80, 0.4F, 0.2F},
                             {96, 8, 12.0F, 0.37F},      {121, 68, 1.7777778F, 0.083333336F}};

int MirrorDifferences(const GradientCanvas& a, const GradientCanvas& b, bool inX, bool inY) {
    int differences = 0;
    const unsigned width = a.record.width, height = a.record.height;
    for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; x < width; ++x) {
            differences += a.Sample(x, y) != b.Sample(inX ? width - 1 - x : x, inY ? height - 1 - y : y);
        }
    }
    return differences;
}

TEST(PatternGeometry, TwinsAreExactMirrorImages) {
    for (const Mirror& mirror : kMirrors) {
        for (const Shape& s : kShapes) {
            const GradientCanvas first = Drawn(mirror.first, s.width, s.height, s.aspect, s.cell);
            const GradientCanvas second = Drawn(mirror.second, s.width, s.height, s.aspect, s.cell);
            const int differences = MirrorDifferences(first, second, mirror.inX, mirror.inY);
            EXPECT_EQ(differences, 0)
                << mirror.first << " and " << mirror.second << (mirror.inX ? ", in x" : "")
                << (mirror.inY ? ", in y" : "") << ", " << s.width << "x" << s.height;
        }
    }
}

// One half is the other turned by half. An odd middle row or column belongs to one of them.
TEST(PatternGeometry, DoubleSweepsTurnByHalf) {
    for (const Shape& s : kShapes) {
        for (const unsigned number : {225U, 226U}) {
            const GradientCanvas canvas = Drawn(number, s.width, s.height, s.aspect, s.cell);
            int differences = 0;
            for (unsigned y = 0; y < s.height; ++y) {
                for (unsigned x = 0; x < s.width; ++x) {
                    const bool isMiddle = number == 225 ? 2 * y + 1 == s.height : 2 * x + 1 == s.width;
                    differences +=
                        !isMiddle && canvas.Sample(x, y) != canvas.Sample(s.width - 1 - x, s.height - 1 - y);
                }
            }
            EXPECT_EQ(differences, 0) << number << ", " << s.width << "x" << s.height;
        }
    }
}

// Of these it is told that they mirror, not how.
TEST(PatternGeometry, WindshieldsMirrorAboutACentreLine) {
    for (const Shape& s : kShapes) {
        for (const unsigned number : {261U, 262U}) {
            const GradientCanvas canvas = Drawn(number, s.width, s.height, s.aspect, s.cell);
            EXPECT_TRUE(MirrorDifferences(canvas, canvas, true, false) == 0 ||
                        MirrorDifferences(canvas, canvas, false, true) == 0)
                << number << ", " << s.width << "x" << s.height;
        }
        const GradientCanvas rising = Drawn(245, s.width, s.height, s.aspect);
        const GradientCanvas falling = Drawn(246, s.width, s.height, s.aspect);
        EXPECT_TRUE(MirrorDifferences(rising, falling, true, false) == 0 ||
                    MirrorDifferences(rising, falling, false, true) == 0)
            << s.width << "x" << s.height;
    }
}

TEST(PatternGeometry, DiagonalDoubleSweepsDoNotReadTheAspect) {
    for (const unsigned number : {245U, 246U}) {
        EXPECT_EQ(Drawn(number, 60, 40, 1.0F).Samples(), Drawn(number, 60, 40, 3.0F).Samples());
    }
}

// ---- Ranges

struct Range {
    double least, most;
};
Range RangeOf(const GradientCanvas& canvas) {
    const auto samples = canvas.Samples();
    const auto [least, most] = std::minmax_element(samples.begin(), samples.end());
    return {*least / static_cast<double>(kPeak), *most / static_cast<double>(kPeak)};
}

// Samples at the ends stand for pixels half a pixel inside.
TEST(PatternGeometry, PatternsUseTheWholeRange) {
    for (const unsigned number : AllNumbers()) {
        if (number < 100 || number > 300) {
            continue;
        }
        for (const float aspect : {1.0F, 4.0F / 3, 16.0F / 9}) {
            const Range range = RangeOf(Drawn(number, 640, 480, aspect, 0.25F));
            const bool half = number == 213 || number == 214 || (number >= 231 && number <= 236);
            EXPECT_LT(range.least, 0.02) << number << ", aspect " << aspect;
            EXPECT_GT(range.most, half ? 0.48 : 0.98) << number << ", aspect " << aspect;
            EXPECT_LT(range.most, half ? 0.505 : 1.01) << number << ", aspect " << aspect;
        }
    }
}

// Every code value of 8 bits appears: none is skipped, as it would be by a jump inside of a shape.
TEST(PatternGeometry, ShapesAndAnglesHaveEveryValue) {
    for (const unsigned number : AllNumbers()) {
        if (number < 100 || number > 300) {
            continue;
        }
        GradientCanvas canvas(640, 480);
        canvas.record.aspectRatio = 4.0F / 3;
        ASSERT_EQ(canvas.Draw(number), 0);
        std::vector<int> count(256, 0);
        for (const unsigned sample : canvas.Samples()) {
            ++count[sample];
        }
        const bool half = number == 213 || number == 214 || (number >= 231 && number <= 236);
        for (unsigned value = 3; value < (half ? 126U : 253U); ++value) {
            EXPECT_GT(count[value], 0) << number << " has no " << value;
        }
    }
}

// No flat spot: of the 256 values none has more than a few times its share of the picture.
TEST(PatternGeometry, NoValueTakesAFloorOfItsOwn) {
    for (const unsigned number : AllNumbers()) {
        if (number > 300) {
            continue;
        }
        GradientCanvas canvas(640, 480);
        canvas.record.aspectRatio = 4.0F / 3;
        ASSERT_EQ(canvas.Draw(number), 0);
        std::vector<int> count(256, 0);
        for (const unsigned sample : canvas.Samples()) {
            ++count[sample];
        }
        EXPECT_LT(*std::max_element(count.begin(), count.end()), 640 * 480 * 3 / 100) << number;
    }
}

// Neighbours whose values are far from each other: along seams, and about a pivot.
int JumpsOf(const GradientCanvas& canvas) {
    int jumps = 0;
    for (unsigned y = 1; y < canvas.record.height; ++y) {
        for (unsigned x = 1; x < canvas.record.width; ++x) {
            for (const unsigned other : {canvas.Sample(x - 1, y), canvas.Sample(x, y - 1)}) {
                jumps += std::abs(static_cast<int>(other) - static_cast<int>(canvas.Sample(x, y))) >
                         static_cast<int>(kPeak / 8);
            }
        }
    }
    return jumps;
}

TEST(PatternGeometry, JumpsAreSeams) {
    for (const unsigned number : AllNumbers()) {
        const bool hasSeams = (number >= 201 && number <= 207) || (number >= 225 && number <= 228) ||
                              number == 245 || number == 246 || number == 261 || number == 262 ||
                              number > 300 || number == 8 || (number > 70 && number < 75);
        if (hasSeams) {
            continue;
        }
        for (const auto& [width, height] : {std::pair{320U, 240U}, {319U, 239U}}) {
            EXPECT_LE(JumpsOf(Drawn(number, width, height, 4.0F / 3)), 120)
                << number << ", " << width << "x" << height;
        }
    }
    // One ray from the centre to the frame, two, four.
    EXPECT_LE(JumpsOf(Drawn(201, 320, 240, 4.0F / 3)), 240 / 2 + 160);
    EXPECT_LE(JumpsOf(Drawn(205, 320, 240, 4.0F / 3)), 240 + 160);
    EXPECT_LE(JumpsOf(Drawn(207, 320, 240, 4.0F / 3)), 240 + 320 + 160);
}

// ---- Shapes

constexpr unsigned kShapesOf[] = {101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111,
                                  112, 113, 114, 119, 120, 121, 122, 123, 127, 128, 129};

// 1 less a norm, but for what it takes to reach both ends of the range at the centres of pixels: three times
// as far from the centre a pixel has fallen three times as much, and the same for all of them beside.
TEST(PatternGeometry, ShapesFallLinearlyFromTheCentre) {
    for (const unsigned number : kShapesOf) {
        for (const Shape& s : {Shape{240, 160, 1.5F, 0.25F}, Shape{160, 160, 1.0F, 0.5F},
                               Shape{200, 150, 1.0F, 0.1F}, Shape{90, 180, 0.5F, 0.9F}}) {
            const GradientCanvas canvas = Drawn(number, s.width, s.height, s.aspect, s.cell);
            const int halfWidth = static_cast<int>(s.width) / 2, halfHeight = static_cast<int>(s.height) / 2;
            const auto fallen = [&](int i, int j) {
                // Pixel (i, j) counted from the centre, whose own pixels are 0 and -1.
                return static_cast<int>(kPeak) -
                       static_cast<int>(canvas.Sample(static_cast<unsigned>(halfWidth + i),
                                                      static_cast<unsigned>(halfHeight + j)));
            };
            int least = 65535, most = -65535;
            for (int j = -halfHeight / 3; j < halfHeight / 3; ++j) {
                for (int i = -halfWidth / 3; i < halfWidth / 3; ++i) {
                    // The centre of pixel i lies at i + 1/2; three times that is pixel 3i + 1.
                    const int beside = fallen(3 * i + 1, 3 * j + 1) - 3 * fallen(i, j);
                    least = std::min(least, beside);
                    most = std::max(most, beside);
                }
            }
            EXPECT_LE(most - least, 4) << number << ", " << s.width << "x" << s.height << ", aspect "
                                       << s.aspect << ", cell " << s.cell;
            // What is beside is no more than a pixel's worth.
            EXPECT_LE(std::max(most, -least), 8 * static_cast<int>(kPeak / std::min(s.width, s.height)))
                << number;
        }
    }
}

// They reach 0 on the frame, and nowhere before: convex ones in a corner.
TEST(PatternGeometry, ShapesEndOnTheFrame) {
    for (const unsigned number : kShapesOf) {
        for (const Shape& s : {Shape{640, 480, 4.0F / 3, 0.25F}, Shape{480, 480, 1.0F, 0.25F},
                               Shape{640, 360, 16.0F / 9, 0.1F}}) {
            const GradientCanvas canvas = Drawn(number, s.width, s.height, s.aspect, s.cell);
            const bool isConvex = (number < 107 || number > 110) && number < 127;
            unsigned least = kPeak;
            for (unsigned y = 0; y < s.height; ++y) {
                for (unsigned x = 0; x < s.width; ++x) {
                    const bool onSide = x == 0 || x + 1 == s.width, onEnd = y == 0 || y + 1 == s.height;
                    if (isConvex ? onSide && onEnd : onSide || onEnd) {
                        least = std::min(least, canvas.Sample(x, y));
                    }
                }
            }
            const auto samples = canvas.Samples();
            EXPECT_EQ(least, *std::min_element(samples.begin(), samples.end())) << number;
            EXPECT_LT(least, kPeak / 50) << number;
        }
    }
}

// The value at a point in pixels from the centre, between samples.
double ValueAt(const GradientCanvas& canvas, double x, double y) {
    const double column = canvas.record.width / 2.0 + x - 0.5, row = canvas.record.height / 2.0 + y - 0.5;
    const double left = std::floor(column), top = std::floor(row);
    const auto sample = [&](double c, double r) {
        return static_cast<double>(canvas.Sample(static_cast<unsigned>(c), static_cast<unsigned>(r)));
    };
    const double u = column - left, v = row - top;
    return ((1 - u) * sample(left, top) + u * sample(left + 1, top)) * (1 - v) +
           ((1 - u) * sample(left, top + 1) + u * sample(left + 1, top + 1)) * v;
}
double OnCircle(const GradientCanvas& canvas, double radius, double degrees) {
    const double angle = degrees * 3.14159265358979 / 180;
    return ValueAt(canvas, radius * std::sin(angle), -radius * std::cos(angle));
}

// With the picture's true ratio shapes are undistorted: regular ones look the same after a part of a turn.
TEST(PatternGeometry, RegularShapesAreUndistortedAtTheTrueRatio) {
    struct Regular {
        unsigned number;
        int corners;
    };
    for (const Regular& shape : {Regular{111, 5}, Regular{112, 5}, Regular{113, 6}, Regular{114, 6},
                                 Regular{119, 36}, Regular{127, 4}, Regular{128, 5}, Regular{129, 6}}) {
        for (const auto& [width, height] : {std::pair{640U, 480U}, {640U, 360U}, {400U, 400U}}) {
            const GradientCanvas canvas =
                Drawn(shape.number, width, height, static_cast<float>(width) / static_cast<float>(height));
            for (int degree = 0; degree < 360; degree += 3) {
                EXPECT_NEAR(OnCircle(canvas, 150, degree),
                            OnCircle(canvas, 150, degree + 360.0 / shape.corners), kPeak / 100.0)
                    << shape.number << ", " << width << "x" << height << ", " << degree << " degrees";
            }
        }
    }
}

// How often the value peaks along a circle.
int PeaksOnCircle(const GradientCanvas& canvas, double radius) {
    int peaks = 0;
    for (int degree = 0; degree < 360; ++degree) {
        const double before = OnCircle(canvas, radius, degree - 1), here = OnCircle(canvas, radius, degree),
                     after = OnCircle(canvas, radius, degree + 1);
        peaks +=
            here > before && here >= after &&
            here - std::min(OnCircle(canvas, radius, degree - 12), OnCircle(canvas, radius, degree + 12)) >
                kPeak / 200.0;
    }
    return peaks;
}

TEST(PatternGeometry, ShapesHaveTheirCorners) {
    struct Cornered {
        unsigned number;
        int corners;
    };
    for (const Cornered& shape :
         {Cornered{103, 3}, Cornered{104, 3}, Cornered{105, 3}, Cornered{106, 3}, Cornered{107, 3},
          Cornered{109, 3}, Cornered{111, 5}, Cornered{112, 5}, Cornered{113, 6}, Cornered{114, 6},
          Cornered{122, 2}, Cornered{123, 2}, Cornered{127, 4}, Cornered{128, 5}, Cornered{129, 6}}) {
        EXPECT_EQ(PeaksOnCircle(Drawn(shape.number, 640, 480, 4.0F / 3), 150), shape.corners) << shape.number;
    }
}

// Points of stars stand out, with dents between them: half way between two of them the shape is nearer to the
// centre than the straight line from point to point.
TEST(PatternGeometry, StarsHaveDents) {
    struct Star {
        unsigned number;
        int points;
    };
    for (const Star& star : {Star{127, 4}, Star{128, 5}, Star{129, 6}}) {
        const GradientCanvas canvas = Drawn(star.number, 640, 480, 4.0F / 3);
        double most = 0, least = kPeak;
        for (int degree = 0; degree < 360; ++degree) {
            const double fallen = kPeak - OnCircle(canvas, 120, degree);
            most = std::max(most, fallen);
            least = std::min(least, fallen);
        }
        EXPECT_GT(most / least, 1.05 / std::cos(3.14159265358979 / star.points)) << star.number;
    }
}

// The first corner of each: straight up, to the right, down, to the left.
TEST(PatternGeometry, PointsLookTheirWay) {
    struct Look {
        unsigned number;
        double degrees;
    };
    for (const Look& look : {Look{103, 0}, Look{104, 90}, Look{105, 180}, Look{106, 270}, Look{107, 0},
                             Look{108, 90}, Look{109, 180}, Look{110, 270}, Look{111, 0}, Look{112, 180}}) {
        const GradientCanvas canvas = Drawn(look.number, 480, 480);
        const double ahead = OnCircle(canvas, 100, look.degrees);
        EXPECT_GT(ahead, OnCircle(canvas, 100, look.degrees + 20)) << look.number;
        EXPECT_GT(ahead, OnCircle(canvas, 100, look.degrees - 20)) << look.number;
        EXPECT_GT(ahead, OnCircle(canvas, 100, look.degrees + 180)) << look.number;
    }
    // A hexagon with a flat top has its corners at the sides, one with flat sides above and below.
    const GradientCanvas flatTop = Drawn(113, 480, 480), flatSide = Drawn(114, 480, 480);
    EXPECT_GT(OnCircle(flatTop, 100, 90), OnCircle(flatTop, 100, 0) + 1000);
    EXPECT_GT(OnCircle(flatSide, 100, 0), OnCircle(flatSide, 100, 90) + 1000);
}

// An arrowhead is a triangle but for a notch in its base.
TEST(PatternGeometry, ArrowheadsHaveANotch) {
    struct Arrow {
        unsigned number;
        double base;  ///< where it looks from
    };
    for (const Arrow& arrow : {Arrow{107, 180}, Arrow{108, 270}, Arrow{109, 0}, Arrow{110, 90}}) {
        const GradientCanvas canvas = Drawn(arrow.number, 480, 480);
        EXPECT_LT(OnCircle(canvas, 100, arrow.base), OnCircle(canvas, 100, arrow.base + 25)) << arrow.number;
        EXPECT_LT(OnCircle(canvas, 100, arrow.base), OnCircle(canvas, 100, arrow.base - 25)) << arrow.number;
    }
}

// Turned by a quarter in a square picture.
TEST(PatternGeometry, QuarterTurnsInASquare) {
    struct Turn {
        unsigned first, second;
    };
    constexpr unsigned kSide = 96;
    for (const Turn& turn : {Turn{103, 104}, Turn{104, 105}, Turn{105, 106}, Turn{107, 108}, Turn{108, 109},
                             Turn{109, 110}, Turn{113, 114}, Turn{122, 123}, Turn{213, 214}, Turn{235, 236},
                             Turn{263, 264}, Turn{231, 232}, Turn{234, 231}}) {
        const GradientCanvas first = Drawn(turn.first, kSide, kSide),
                             second = Drawn(turn.second, kSide, kSide);
        int most = 0;
        for (unsigned y = 0; y < kSide; ++y) {
            for (unsigned x = 0; x < kSide; ++x) {
                // Clockwise: the top becomes the right.
                most = std::max(most, std::abs(static_cast<int>(first.Sample(x, y)) -
                                               static_cast<int>(second.Sample(kSide - 1 - y, x))));
            }
        }
        EXPECT_LE(most, 2) << turn.first << " and " << turn.second;
    }
}

TEST(PatternGeometry, EllipsesAndEyesLieOrStand) {
    for (const auto& [lying, standing] : {std::pair{120U, 121U}, {122U, 123U}}) {
        const GradientCanvas wide = Drawn(lying, 480, 480), tall = Drawn(standing, 480, 480);
        EXPECT_GT(OnCircle(wide, 100, 90), OnCircle(wide, 100, 0) + 2000) << lying;
        EXPECT_GT(OnCircle(tall, 100, 0), OnCircle(tall, 100, 90) + 2000) << standing;
    }
}

// How much faster an eye falls across itself than along.
double FlatnessOfEye(unsigned number, float cell) {
    const GradientCanvas canvas = Drawn(number, 480, 480, 1.0F, cell);
    const double along = kPeak - OnCircle(canvas, 100, number == 122 ? 90 : 0);
    const double across = kPeak - OnCircle(canvas, 100, number == 122 ? 0 : 90);
    return across / along;
}

TEST(PatternGeometry, EyesAreFlatterWithSmallerCells) {
    for (const unsigned number : {122U, 123U}) {
        double before = FlatnessOfEye(number, 1.0F);
        for (const float cell : {0.7F, 0.5F, 0.3F, 0.2F, 0.1F}) {
            const double now = FlatnessOfEye(number, cell);
            EXPECT_GT(now, before * 1.01) << number << ", cell " << cell;
            before = now;
        }
    }
}

}  // namespace
