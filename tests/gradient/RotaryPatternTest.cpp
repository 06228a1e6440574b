#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "PatternChecks.h"

namespace {

// atan2 with the angle 0 downwards, in turns by the single-precision 1 / (2 pi).
double Turns(double right, double down) {
    return std::atan2(right, down) * static_cast<double>(0.15915494F);
}

double Frac(double t) {
    return t - std::trunc(t);
}

constexpr float kAspects[] = {1.0F, 1.7777778F, 0.3F};

double ColumnWidth(const Picture& p, float aspect) {
    return static_cast<double>(aspect) * p.height / p.width;
}
// From the centre, which is a pixel where the length is odd.
double FromCentre(unsigned i, unsigned n) {
    return n % 2 == 0 ? i - (n - 1) / 2.0 : static_cast<double>(i) - n / 2;
}
double FromPivot(unsigned i, double pivot) {
    return i - pivot;
}

TEST(RotaryPatterns, Clocks) {
    struct Clock {
        unsigned number;
        double start, turns;
    };
    for (const Clock& c : {Clock{201, 0.0, 1},
                           {202, 0.25, 1},
                           {203, 0.5, 1},
                           {204, 0.75, 1},
                           {205, 0.5, 2},
                           {206, 1, 2},
                           {207, 1.5, 4}}) {
        for (const float aspect : kAspects) {
            ExpectPattern(
                c.number,
                [=](unsigned x, unsigned y, const Picture& p) {
                    const double a =
                        Turns(FromCentre(x, p.width) * ColumnWidth(p, aspect), FromCentre(y, p.height));
                    return Frac(a * c.turns + c.start + 0.5);
                },
                aspect);
        }
    }
}

TEST(RotaryPatterns, SeamOfTheClock) {
    // Half of the peak in the middle of the top row, and the step in the lower half of the centre column.
    GradientCanvas canvas(41, 31);
    ASSERT_EQ(canvas.Draw(203), 0);
    EXPECT_NEAR(canvas.Sample(20, 0), 127.5, 0.5);
    for (unsigned x = 1; x < 41; ++x) {
        EXPECT_LE(std::abs(static_cast<int>(canvas.Sample(x, 0)) - static_cast<int>(canvas.Sample(x - 1, 0))),
                  4);
    }
    for (unsigned y = 16; y < 31; ++y) {
        EXPECT_EQ(canvas.Sample(20, y), 0U);
        EXPECT_GT(canvas.Sample(19, y), 200U);
        EXPECT_LT(canvas.Sample(21, y), 50U);
    }
}

TEST(RotaryPatterns, SweepsAboutEdgesAndCorners) {
    struct Sweep {
        unsigned number;
        char x, y;  // first, middle, last
        double start, turns;
    };
    for (const Sweep& s : {Sweep{221, 'm', 'f', 0.5, 2},
                           {222, 'l', 'm', 1.0, 2},
                           {223, 'm', 'l', 1.5, 2},
                           {224, 'f', 'm', 0.0, 2},
                           {241, 'f', 'f', 1.0, 4},
                           {242, 'f', 'l', 5.0, -4},
                           {243, 'l', 'l', 2.0, 4},
                           {244, 'l', 'f', 5.0, -4}}) {
        const auto pivot = [](char where, unsigned n) {
            return where == 'f' ? -0.5 : where == 'l' ? n - 0.5 : static_cast<double>(n / 2);
        };
        for (const float aspect : kAspects) {
            ExpectPattern(
                s.number,
                [=](unsigned x, unsigned y, const Picture& p) {
                    const double a = Turns(FromPivot(x, pivot(s.x, p.width)) * ColumnWidth(p, aspect),
                                           FromPivot(y, pivot(s.y, p.height)));
                    return Frac(a * s.turns + s.start);
                },
                aspect);
        }
    }
}

TEST(RotaryPatterns, SweepsHaveNoSeam) {
    // Neighbours away from the pivot differ little.
    for (const unsigned number : {221U, 222U, 223U, 224U, 241U, 242U, 243U, 244U}) {
        GradientCanvas canvas(120, 90);
        ASSERT_EQ(canvas.Draw(number), 0);
        unsigned jumps = 0;
        for (unsigned y = 0; y < 90; ++y) {
            for (unsigned x = 1; x < 120; ++x) {
                jumps += std::abs(static_cast<int>(canvas.Sample(x, y)) -
                                  static_cast<int>(canvas.Sample(x - 1, y))) > 60;
            }
        }
        // Only next to the pivot itself.
        EXPECT_LE(jumps, 3U) << number;
    }
}

TEST(RotaryPatterns, FansFromTheCentre) {
    for (const float aspect : kAspects) {
        ExpectPattern(
            211,
            [=](unsigned x, unsigned y, const Picture& p) {
                return 2 * std::fabs(Turns(FromCentre(x, p.width) * ColumnWidth(p, aspect),
                                           FromCentre(y, p.height)));
            },
            aspect);
        // A quarter turn on: 1 to the right, 0 to the left.
        ExpectPattern(
            212,
            [=](unsigned x, unsigned y, const Picture& p) {
                return 2 * std::fabs(Turns(FromCentre(y, p.height),
                                           0 - FromCentre(x, p.width) * ColumnWidth(p, aspect)));
            },
            aspect);
    }
}

TEST(RotaryPatterns, FansFromAnEdge) {
    const Formula top = [](unsigned x, unsigned y, const Picture& p) {
        return 2 * std::fabs(Turns(FromCentre(x, p.width) * ColumnWidth(p, 1.5F), y + 0.5));
    };
    const Formula left = [](unsigned x, unsigned y, const Picture& p) {
        return 2 * std::fabs(Turns(FromCentre(y, p.height), (x + 0.5) * ColumnWidth(p, 1.5F)));
    };
    ExpectPattern(231, top, 1.5F);
    ExpectPattern(233, MirroredY(top), 1.5F);
    ExpectPattern(234, left, 1.5F);
    ExpectPattern(232, MirroredX(left), 1.5F);
}

TEST(RotaryPatterns, DoubleFans) {
    const auto vertical = [](double scale) {
        return [=](unsigned x, unsigned y, const Picture& p) {
            return scale * Turns(std::fabs(FromCentre(x, p.width)) * ColumnWidth(p, 1.5F),
                                 std::fabs(FromCentre(y, p.height)));
        };
    };
    const auto horizontal = [](double scale) {
        return [=](unsigned x, unsigned y, const Picture& p) {
            return scale * Turns(std::fabs(FromCentre(y, p.height)),
                                 std::fabs(FromCentre(x, p.width)) * ColumnWidth(p, 1.5F));
        };
    };
    ExpectPattern(213, vertical(2), 1.5F);
    ExpectPattern(214, horizontal(2), 1.5F);
    ExpectPattern(263, vertical(4), 1.5F);
    ExpectPattern(264, horizontal(4), 1.5F);
    ExpectPattern(
        235,
        [](unsigned x, unsigned y, const Picture& p) {
            return 2 * std::fabs(Turns(FromCentre(x, p.width) * ColumnWidth(p, 1.5F),
                                       std::min(y, p.height - 1 - y) + 0.5));
        },
        1.5F);
    ExpectPattern(
        236,
        [](unsigned x, unsigned y, const Picture& p) {
            return 2 * std::fabs(Turns(FromCentre(y, p.height),
                                       (std::min(x, p.width - 1 - x) + 0.5) * ColumnWidth(p, 1.5F)));
        },
        1.5F);
}

// The half that has the pivot is the sweep from that edge, the other half its image.
void ExpectHalfAndImage(unsigned number, unsigned sweep, bool splitsRows, bool inX, bool inY) {
    for (auto [w, h] : {std::pair{64U, 48U}, {41U, 31U}, {40U, 33U}}) {
        GradientCanvas whole(w, h, 16, 65535), drawn(w, h, 16, 65535);
        ASSERT_EQ(whole.Draw(sweep), 0);
        ASSERT_EQ(drawn.Draw(number), 0);
        for (unsigned y = 0; y < h; ++y) {
            for (unsigned x = 0; x < w; ++x) {
                const bool second = splitsRows ? y >= h - h / 2 : x >= w - w / 2;
                const unsigned fromX = second && inX ? w - 1 - x : x, fromY = second && inY ? h - 1 - y : y;
                ASSERT_EQ(drawn.Sample(x, y), whole.Sample(fromX, fromY))
                    << number << " at " << x << ", " << y;
            }
        }
    }
}

TEST(RotaryPatterns, DoubleSweeps) {
    ExpectHalfAndImage(225, 221, true, true, true);
    ExpectHalfAndImage(226, 224, false, true, true);
    ExpectHalfAndImage(227, 221, true, false, true);
    ExpectHalfAndImage(228, 224, false, true, false);
}

TEST(RotaryPatterns, DiagonalSweepsMeetOnTheDiagonal) {
    for (const float aspect : kAspects) {
        const Formula formula = [](unsigned x, unsigned y, const Picture& p) {
            double right = (x + 0.5) / p.width, down = (y + 0.5) / p.height;
            // Which triangle in whole numbers.
            if (std::uint64_t{2 * x + 1} * p.height < std::uint64_t{2 * y + 1} * p.width) {
                right = 1 - right;
                down = 1 - down;
            }
            return 8 * Turns(right, down) - 1;
        };
        ExpectPattern(245, formula, aspect);
        ExpectPattern(246, MirroredX(formula), aspect);
    }
}

TEST(RotaryPatterns, SaloonDoors) {
    const Formula top = [](unsigned x, unsigned y, const Picture& p) {
        return 4 * Turns((std::min(x, p.width - 1 - x) + 0.5) * ColumnWidth(p, 1.5F), y + 0.5);
    };
    const Formula left = [](unsigned x, unsigned y, const Picture& p) {
        return 1 - 4 * Turns((x + 0.5) * ColumnWidth(p, 1.5F), std::min(y, p.height - 1 - y) + 0.5);
    };
    ExpectPattern(251, top, 1.5F);
    ExpectPattern(253, MirroredY(top), 1.5F);
    ExpectPattern(252, left, 1.5F);
    ExpectPattern(254, MirroredX(left), 1.5F);
}

TEST(RotaryPatterns, Windshields) {
    // About the middle of each half; just beyond the ray to the right, on the outer side, is 1.
    ExpectPattern(
        261,
        [](unsigned x, unsigned y, const Picture& p) {
            const unsigned half = p.height - p.height / 2;
            const double down = std::min(y, p.height - 1 - y) - (half - 1) / 2.0;
            return Frac(2.25 - Turns(FromCentre(x, p.width) * ColumnWidth(p, 1.5F), down));
        },
        1.5F);
    ExpectPattern(
        262,
        [](unsigned x, unsigned y, const Picture& p) {
            const unsigned half = p.width - p.width / 2;
            const double right = std::min(x, p.width - 1 - x) - (half - 1) / 2.0;
            return 0.5 - Turns(right * ColumnWidth(p, 1.5F), FromCentre(y, p.height));
        },
        1.5F);
}

TEST(RotaryPatterns, TwinsAreImages) {
    for (const unsigned number :
         {211U, 213U, 214U, 231U, 233U, 235U, 236U, 251U, 253U, 228U, 262U, 263U, 264U}) {
        ExpectMirror(number, number, true, false);
    }
    for (const unsigned number :
         {212U, 213U, 214U, 232U, 234U, 235U, 236U, 252U, 254U, 227U, 261U, 263U, 264U}) {
        ExpectMirror(number, number, false, true);
    }
    ExpectMirror(231, 233, false, true);
    ExpectMirror(232, 234, true, false);
    ExpectMirror(251, 253, false, true);
    ExpectMirror(252, 254, true, false);
    ExpectMirror(245, 246, true, false);
    ExpectMirror(241, 244, true, false);
    ExpectMirror(242, 243, true, false);
}

TEST(RotaryPatterns, QuarterTurnsOfASquare) {
    for (auto [vertical, lying] : {std::pair{211U, 212U},
                                   {213U, 214U},
                                   {231U, 232U},
                                   {233U, 234U},
                                   {235U, 236U},
                                   {251U, 254U},
                                   {263U, 264U}}) {
        for (const unsigned n : {40U, 41U}) {
            GradientCanvas upright(n, n, 16, 65535), turned(n, n, 16, 65535);
            ASSERT_EQ(upright.Draw(vertical), 0);
            ASSERT_EQ(turned.Draw(lying), 0);
            for (unsigned y = 0; y < n; ++y) {
                for (unsigned x = 0; x < n; ++x) {
                    // Clockwise: the top edge becomes the right edge.
                    ASSERT_NEAR(upright.Sample(x, y), turned.Sample(n - 1 - y, x), 1) << vertical;
                }
            }
        }
    }
}

TEST(RotaryPatterns, ExtremeShapesStayInRange) {
    for (const Zan::ULong32 number : RotaryPatterns()) {
        for (auto [w, h] : {std::pair{4096U, 8U}, {8U, 2048U}, {33U, 17U}}) {
            for (const float aspect : {0.01F, 100.0F}) {
                GradientCanvas canvas(w, h, 16, 1000, 3);
                canvas.record.aspectRatio = aspect;
                ASSERT_EQ(canvas.Draw(number), 0);
                EXPECT_EQ(canvas.TouchedGuards(), 0U);
                for (const unsigned sample : canvas.Samples()) {
                    ASSERT_LE(sample, 1000U) << number;
                }
            }
        }
    }
}

}  // namespace
