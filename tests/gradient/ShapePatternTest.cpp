#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "PatternChecks.h"

namespace {

constexpr float kAspects[] = {1.0F, 1.7777778F, 0.3F};

double Vx(unsigned x, const Picture& p) {
    return (2.0 * x + 1) / p.width - 1;
}
double Vy(unsigned y, const Picture& p) {
    return (2.0 * y + 1) / p.height - 1;
}

TEST(ShapePatterns, Irises) {
    for (const float aspect : kAspects) {
        const double a = static_cast<double>(aspect);
        ExpectPattern(
            101,
            [=](unsigned x, unsigned y, const Picture& p) {
                return 1 - std::max(a * std::fabs(Vx(x, p)), std::fabs(Vy(y, p))) / std::max(a, 1.0);
            },
            aspect);
        ExpectPattern(
            102,
            [=](unsigned x, unsigned y, const Picture& p) {
                return 1 - (a * std::fabs(Vx(x, p)) + std::fabs(Vy(y, p))) / (a + 1);
            },
            aspect);
    }
}

TEST(ShapePatterns, Ellipses) {
    for (const float aspect : kAspects) {
        for (auto [number, k] : {std::pair{119U, 1.0}, {120U, 0.5}, {121U, 2.0}}) {
            const double a = static_cast<double>(aspect) * k;
            ExpectPattern(
                number,
                [=](unsigned x, unsigned y, const Picture& p) {
                    return 1 - std::hypot(a * Vx(x, p), Vy(y, p)) / std::hypot(a, 1.0);
                },
                aspect);
        }
    }
}

TEST(ShapePatterns, EllipsesLieAndStand) {
    GradientCanvas wide(100, 100), tall(100, 100);
    ASSERT_EQ(wide.Draw(120), 0);
    ASSERT_EQ(tall.Draw(121), 0);
    EXPECT_GT(wide.Sample(99, 50), wide.Sample(50, 99) + 50);
    EXPECT_GT(tall.Sample(50, 99), tall.Sample(99, 50) + 50);
}

// Constants of these are free; all of them use the whole range.
const std::vector<Zan::ULong32>& FreeShapes() {
    static const auto numbers = Numbers({{103, 114}, {122, 123}, {127, 129}});
    return numbers;
}

TEST(ShapePatterns, FirstAndLastPixelHaveTheWholeRange) {
    for (const Zan::ULong32 number : FreeShapes()) {
        for (auto [w, h] : {std::pair{720U, 486U}, {8U, 8U}, {41U, 31U}, {9U, 64U}}) {
            for (const float aspect : kAspects) {
                GradientCanvas canvas(w, h, 16, 65535);
                canvas.record.aspectRatio = aspect;
                ASSERT_EQ(canvas.Draw(number), 0);
                const std::vector<unsigned> samples = canvas.Samples();
                const auto [least, most] = std::minmax_element(samples.begin(), samples.end());
                EXPECT_EQ(*least, 0U) << number << ", " << w << 'x' << h;
                EXPECT_EQ(*most, 65535U) << number << ", " << w << 'x' << h;
                // The peak in the centre; where pixels are narrow, some of them beside it.
                const auto centre = static_cast<std::size_t>(most - samples.begin());
                EXPECT_NEAR(static_cast<double>(centre % w), (w - 1) / 2.0, 3.5) << number;
                EXPECT_NEAR(static_cast<double>(centre / w), (h - 1) / 2.0, 3.5) << number;
            }
        }
    }
}

// Along every ray from the centre a shape falls linearly: half-way out is half-way down.
TEST(ShapePatterns, FallLinearlyFromTheCentre) {
    for (const Zan::ULong32 number : ShapePatterns()) {
        GradientCanvas canvas(321, 241, 16, 65535);
        canvas.record.aspectRatio = 321.0F / 241;
        ASSERT_EQ(canvas.Draw(number), 0);
        const double peak = canvas.Sample(160, 120);
        for (int dy = -60; dy <= 60; dy += 3) {
            for (int dx = -80; dx <= 80; dx += 3) {
                const auto at = [&](int times) {
                    return canvas.Sample(static_cast<unsigned>(160 + times * dx),
                                         static_cast<unsigned>(120 + times * dy));
                };
                ASSERT_NEAR(peak - at(1), (peak - at(2)) / 2, 1.0) << number << " along " << dx << ", " << dy;
            }
        }
    }
}

// The outline at half of the peak in a square picture, seen from the centre: how far out in a direction.
double Reach(const GradientCanvas& canvas, double degreesFromUp) {
    const double n = canvas.record.width;
    const double angle = degreesFromUp * std::acos(-1.0) / 180;
    for (double r = 0;; r += 0.25) {
        const double x = n / 2 + r * std::sin(angle), y = n / 2 - r * std::cos(angle);
        if (x < 0 || y < 0 || x >= n || y >= n ||
            canvas.Sample(static_cast<unsigned>(x), static_cast<unsigned>(y)) < 49152) {
            return r;
        }
    }
}

GradientCanvas Square(Zan::ULong32 number) {
    GradientCanvas canvas(401, 401, 16, 65535);
    EXPECT_EQ(canvas.Draw(number), 0);
    return canvas;
}

TEST(ShapePatterns, PointsAndEdgesLieWhereTheyShould) {
    struct Case {
        unsigned number;
        int corners;         // the same under a turn by 360 / corners degrees
        double firstCorner;  // degrees from straight up
        double ratio;        // reach between corners over reach of a corner
    };
    const double pi = std::acos(-1.0);
    for (const Case& c : {
             Case{103, 3, 0, 0.5},
             {104, 3, 90, 0.5},
             {105, 3, 180, 0.5},
             {106, 3, 270, 0.5},
             {111, 5, 0, std::cos(pi / 5)},
             {112, 5, 36, std::cos(pi / 5)},
             {113, 6, 30, std::cos(pi / 6)},
             {114, 6, 0, std::cos(pi / 6)},
             {127, 4, 0, 0.4},
             {128, 5, 0, std::cos(2 * pi / 5) / std::cos(pi / 5)},
             {129, 6, 0, 1 / std::sqrt(3)},
         }) {
        const GradientCanvas canvas = Square(c.number);
        for (int i = 0; i < c.corners; ++i) {
            const double corner = c.firstCorner + 360.0 * i / c.corners;
            const double between = corner + 180.0 / c.corners;
            const double first = Reach(canvas, c.firstCorner);
            EXPECT_NEAR(Reach(canvas, corner), first, 2.5) << c.number << " at " << corner;
            EXPECT_NEAR(Reach(canvas, between) / first, c.ratio, 0.03) << c.number << " at " << between;
        }
    }
}

TEST(ShapePatterns, ArrowheadsHaveANotch) {
    for (auto [number, direction] : {std::pair{107U, 0}, {108U, 90}, {109U, 180}, {110U, 270}}) {
        const GradientCanvas canvas = Square(number);
        const double tip = Reach(canvas, direction);
        const double notch = Reach(canvas, direction + 180);
        const double corner = Reach(canvas, direction + 130.9);  // (2 / sqrt 3, 1)
        EXPECT_NEAR(notch / tip, 0.5, 0.03) << number;
        EXPECT_NEAR(corner / tip, std::sqrt(7.0 / 3), 0.05) << number;
    }
}

TEST(ShapePatterns, EyesHaveTwoCornersAndFollowTheCell) {
    double before = 0;
    for (const float cell : {0.01F, 0.05F, 0.2F, 0.6F, 1.0F}) {
        GradientCanvas lying(401, 401, 16, 65535), standing(401, 401, 16, 65535);
        lying.record.cellFraction = standing.record.cellFraction = cell;
        ASSERT_EQ(lying.Draw(122), 0);
        ASSERT_EQ(standing.Draw(123), 0);
        // In units of the sample: less falls off along the axis with the corners than across it.
        const auto drop = [](const GradientCanvas& canvas, unsigned x, unsigned y) {
            return static_cast<double>(65535U - canvas.Sample(x, y));
        };
        const double flatness = drop(lying, 220, 200) / drop(lying, 200, 220);
        EXPECT_GT(flatness, before) << cell;
        EXPECT_LT(flatness, 1) << cell;
        before = flatness;
        for (unsigned i = 0; i < 401; i += 10) {
            for (unsigned j = 0; j < 401; j += 10) {
                ASSERT_EQ(lying.Sample(i, j), standing.Sample(j, i));
            }
        }
    }
}

TEST(ShapePatterns, TrueRatioKeepsShapesUndistorted) {
    // A picture twice as wide as high, of square pixels: what a quarter turn of the shape would be on a
    // square.
    for (auto [upright, turned] : {std::pair{103U, 104U}, {107U, 108U}, {113U, 114U}}) {
        GradientCanvas a(400, 200, 16, 65535), b(400, 200, 16, 65535);
        a.record.aspectRatio = b.record.aspectRatio = 2.0F;
        ASSERT_EQ(a.Draw(upright), 0);
        ASSERT_EQ(b.Draw(turned), 0);
        // Falls at the same rate, but for the scale of the whole.
        const auto drop = [](const GradientCanvas& canvas, int right, int down) {
            return 65535.0 -
                   canvas.Sample(static_cast<unsigned>(200 + right), static_cast<unsigned>(100 + down));
        };
        const double scale = drop(b, 80, 0) / drop(a, 0, -81);
        for (auto [right, down] : {std::pair{60, -60}, {0, 80}, {70, 20}, {30, 70}}) {
            EXPECT_NEAR(drop(b, -down, right) / drop(a, right, down), scale, 0.03) << upright;
        }
    }
}

TEST(ShapePatterns, TwinsAreImages) {
    for (const unsigned number : {101U, 102U, 103U, 105U, 107U, 109U, 111U, 112U, 113U, 114U, 119U, 120U,
                                  121U, 122U, 123U, 127U, 128U, 129U}) {
        ExpectMirror(number, number, true, false);
    }
    for (const unsigned number :
         {101U, 102U, 104U, 106U, 108U, 110U, 113U, 114U, 119U, 120U, 121U, 122U, 123U, 127U, 129U}) {
        ExpectMirror(number, number, false, true);
    }
    ExpectMirror(103, 105, false, true);
    ExpectMirror(104, 106, true, false);
    ExpectMirror(107, 109, false, true);
    ExpectMirror(108, 110, true, false);
    ExpectMirror(111, 112, false, true);
}

TEST(AllPatterns, NoTwoNumbersDrawTheSame) {
    std::vector<std::pair<Zan::ULong32, std::vector<unsigned>>> drawn;
    for (const Zan::ULong32 number : AllPatterns()) {
        GradientCanvas canvas(64, 48);
        canvas.record.aspectRatio = 4.0F / 3;
        canvas.record.cellFraction = 1.0F / 12;
        ASSERT_EQ(canvas.Draw(number), 0);
        for (const auto& [other, samples] : drawn) {
            EXPECT_NE(samples, canvas.Samples()) << number << " and " << other;
        }
        drawn.emplace_back(number, canvas.Samples());
    }
}

TEST(AllPatterns, EveryWipeIsUnderWayUntilTheEnd) {
    // Of each fifth of the way something changes; the fans of 2|a| end half-way.
    const std::vector<unsigned> halves{213, 214, 231, 232, 233, 234, 235, 236};
    for (const Zan::ULong32 number : AllPatterns()) {
        GradientCanvas canvas(320, 240);
        canvas.record.aspectRatio = 4.0F / 3;
        canvas.record.cellFraction = 1.0F / 12;
        ASSERT_EQ(canvas.Draw(number), 0);
        const bool isHalf = std::find(halves.begin(), halves.end(), number) != halves.end();
        unsigned fifths[5] = {};
        for (const unsigned sample : canvas.Samples()) {
            ++fifths[std::min(4U, sample * 5 / (isHalf ? 128 : 256))];
        }
        for (const unsigned count : fifths) {
            EXPECT_GT(count, 320U * 240 / 200) << number;
        }
    }
}

}  // namespace
