#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "PatternChecks.h"

namespace {

double U(unsigned x, const Picture& p) {
    return static_cast<double>(x) / p.width;
}
double V(unsigned y, const Picture& p) {
    return static_cast<double>(y) / p.height;
}
double Vx(unsigned x, const Picture& p) {
    return (2.0 * x + 1) / p.width - 1;
}
double Vy(unsigned y, const Picture& p) {
    return (2.0 * y + 1) / p.height - 1;
}
double Tent(double t) {
    return 1 - std::fabs(t);
}

// The tent in whole steps: 1/half up to 1 and down again; an even length has its peak twice.
double StepTent(unsigned i, unsigned length) {
    const unsigned half = length - length / 2;
    const unsigned fromEdge = std::min(i, length - 1 - i);
    return (fromEdge + 1.0) / half;
}

// ---- Worked numbers

TEST(EdgePatterns, BarAtWidth8) {
    GradientCanvas canvas(8, 8);
    ASSERT_EQ(canvas.Draw(1), 0);
    const unsigned row[] = {255, 223, 191, 159, 128, 96, 64, 32};
    for (unsigned y = 0; y < 8; ++y) {
        for (unsigned x = 0; x < 8; ++x) {
            EXPECT_EQ(canvas.Sample(x, y), row[x]);
        }
    }
}

TEST(EdgePatterns, BarEndsAtOneOverTheLength) {
    // Peak 1000 at 10 columns: 1000, 900 ... 100.
    GradientCanvas across(10, 8, 16, 1000), down(8, 10, 16, 1000);
    ASSERT_EQ(across.Draw(1), 0);
    ASSERT_EQ(down.Draw(2), 0);
    for (unsigned i = 0; i < 10; ++i) {
        EXPECT_EQ(across.Sample(i, 3), 1000 - 100 * i);
        EXPECT_EQ(down.Sample(3, i), 1000 - 100 * i);
    }
}

TEST(EdgePatterns, TentsInWholeSteps) {
    // An even length peaks twice, an odd one once.
    const unsigned even[] = {64, 128, 191, 255, 255, 191, 128, 64};
    const unsigned odd[] = {51, 102, 153, 204, 255, 204, 153, 102, 51};
    GradientCanvas canvas(8, 9);
    ASSERT_EQ(canvas.Draw(21), 0);
    for (unsigned x = 0; x < 8; ++x) {
        EXPECT_EQ(canvas.Sample(x, 0), even[x]);
        EXPECT_EQ(canvas.Sample(x, 8), even[x]);
    }
    ASSERT_EQ(canvas.Draw(22), 0);
    for (unsigned y = 0; y < 9; ++y) {
        EXPECT_EQ(canvas.Sample(0, y), odd[y]);
        EXPECT_EQ(canvas.Sample(7, y), odd[y]);
    }
}

TEST(EdgePatterns, SixteenBitsHaveTheFractionsOfEight) {
    // 16320 is 64 times 255: fractions of whole 255ths are 64 times the 8-bit sample.
    for (Zan::ULong32 number : {1U, 2U, 21U, 22U}) {
        GradientCanvas narrow(15, 17), wide(15, 17, 16, 16320);
        ASSERT_EQ(narrow.Draw(number), 0);
        ASSERT_EQ(wide.Draw(number), 0);
        for (unsigned y = 0; y < 17; ++y) {
            for (unsigned x = 0; x < 15; ++x) {
                EXPECT_NEAR(wide.Sample(x, y) / 64.0, narrow.Sample(x, y), 0.51);
            }
        }
    }
}

// ---- Every family by its formula

TEST(EdgePatterns, Bars) {
    ExpectPattern(1, [](unsigned x, unsigned, const Picture& p) { return (p.width - x) / double(p.width); });
    ExpectPattern(2,
                  [](unsigned, unsigned y, const Picture& p) { return (p.height - y) / double(p.height); });
}

double CornerBox(unsigned x, unsigned y, const Picture& p) {
    return std::min(1 - U(x, p), 1 - V(y, p));
}

TEST(EdgePatterns, CornerBoxes) {
    ExpectPattern(3, CornerBox);
    ExpectPattern(4, MirroredX(CornerBox));
    ExpectPattern(5, MirroredX(MirroredY(CornerBox)));
    ExpectPattern(6, MirroredY(CornerBox));
}

TEST(EdgePatterns, CornerBoxOfASquareIsTheSmallerRamp) {
    const Picture p{40, 40, 16, 40000};
    GradientCanvas canvas(p.width, p.height, p.bits, p.peak);
    ASSERT_EQ(canvas.Draw(3), 0);
    for (unsigned y = 0; y < p.height; ++y) {
        for (unsigned x = 0; x < p.width; ++x) {
            EXPECT_EQ(canvas.Sample(x, y), 40000 - 1000 * std::max(x, y)) << x << ", " << y;
        }
    }
}

TEST(EdgePatterns, FourCorners) {
    ExpectPattern(7, [](unsigned x, unsigned y, const Picture& p) {
        return std::min(std::fabs(Vx(x, p)), std::fabs(Vy(y, p)));
    });
}

TEST(EdgePatterns, FourBoxes) {
    for (const Picture& p : kPictures) {
        if (p.width % 2 != 0 || p.height % 2 != 0) {
            continue;
        }
        SCOPED_TRACE(testing::Message() << p.width << 'x' << p.height);
        GradientCanvas canvas(p.width, p.height, p.bits, p.peak);
        ASSERT_EQ(canvas.Draw(8), 0);
        const unsigned w = p.width / 2, h = p.height / 2;
        for (unsigned y = 0; y < p.height; ++y) {
            for (unsigned x = 0; x < p.width; ++x) {
                ASSERT_TRUE(Matches(canvas.Sample(x, y), std::min(StepTent(x % w, w), StepTent(y % h, h)), p))
                    << "at " << x << ", " << y;
            }
        }
    }
}

TEST(EdgePatterns, BarnDoors) {
    ExpectPattern(21, [](unsigned x, unsigned, const Picture& p) { return StepTent(x, p.width); });
    ExpectPattern(22, [](unsigned, unsigned y, const Picture& p) { return StepTent(y, p.height); });
}

TEST(EdgePatterns, EdgeBoxes) {
    const Formula top = [](unsigned x, unsigned y, const Picture& p) {
        return std::min(StepTent(x, p.width), 1 - V(y, p));
    };
    const Formula right = [](unsigned x, unsigned y, const Picture& p) {
        return std::min((x + 1.0) / p.width, StepTent(y, p.height));
    };
    ExpectPattern(23, top);
    ExpectPattern(24, right);
    ExpectPattern(25, MirroredY(top));
    ExpectPattern(26, MirroredX(right));
}

TEST(EdgePatterns, Diagonals) {
    const Formula topLeft = [](unsigned x, unsigned y, const Picture& p) {
        return 1 - (U(x, p) + V(y, p)) / 2;
    };
    ExpectPattern(41, topLeft);
    ExpectPattern(42, MirroredX(topLeft));
}

TEST(EdgePatterns, BowTies) {
    ExpectPattern(43, [](unsigned x, unsigned y, const Picture& p) {
        return (Tent(Vx(x, p)) + std::fabs(Vy(y, p))) / 2;
    });
    ExpectPattern(44, [](unsigned x, unsigned y, const Picture& p) {
        return (std::fabs(Vx(x, p)) + Tent(Vy(y, p))) / 2;
    });
}

TEST(EdgePatterns, DiagonalBarnDoors) {
    ExpectPattern(
        45, [](unsigned x, unsigned y, const Picture& p) { return 1 - std::fabs(U(x, p) + V(y, p) - 1); });
    ExpectPattern(46,
                  [](unsigned x, unsigned y, const Picture& p) { return 1 - std::fabs(U(x, p) - V(y, p)); });
}

TEST(EdgePatterns, DiagonalCrosses) {
    ExpectPattern(47, [](unsigned x, unsigned y, const Picture& p) {
        return 1 - std::fabs(std::fabs(Vx(x, p)) - std::fabs(Vy(y, p)));
    });
    ExpectPattern(48, [](unsigned x, unsigned y, const Picture& p) {
        return 1 - std::fabs(std::fabs(Vx(x, p)) + std::fabs(Vy(y, p)) - 1);
    });
}

TEST(EdgePatterns, Vees) {
    const Formula down = [](unsigned x, unsigned y, const Picture& p) {
        return (Tent(Vx(x, p)) + 1 - V(y, p)) / 2;
    };
    const Formula left = [](unsigned x, unsigned y, const Picture& p) {
        return (U(x, p) + Tent(Vy(y, p))) / 2;
    };
    ExpectPattern(61, down);
    ExpectPattern(62, left);
    ExpectPattern(63, MirroredY(down));
    ExpectPattern(64, MirroredX(left));
}

TEST(EdgePatterns, BarnVees) {
    const Formula down = [](unsigned x, unsigned y, const Picture& p) {
        return 1 - std::fabs(std::fabs(Vx(x, p)) - (1 - Vy(y, p)) / 2);
    };
    const Formula left = [](unsigned x, unsigned y, const Picture& p) {
        return 1 - std::fabs(std::fabs(Vy(y, p)) - (1 + Vx(x, p)) / 2);
    };
    ExpectPattern(65, down);
    ExpectPattern(66, left);
    ExpectPattern(67, MirroredY(down));
    ExpectPattern(68, MirroredX(left));
}

TEST(EdgePatterns, AspectAndCellDoNotMatter) {
    for (Zan::ULong32 number : EdgePatterns()) {
        if (number > 70) {
            continue;
        }
        GradientCanvas plain(40, 30), odd(40, 30);
        odd.record.aspectRatio = 3.7F;
        odd.record.cellFraction = 0.03F;
        ASSERT_EQ(plain.Draw(number), 0);
        ASSERT_EQ(odd.Draw(number), 0);
        EXPECT_EQ(plain.Samples(), odd.Samples()) << number;
    }
}

// ---- Symmetries, exact to the sample

TEST(EdgePatterns, MirrorsAndTheHalfTurn) {
    ExpectMirror(3, 4, true, false);
    ExpectMirror(3, 6, false, true);
    ExpectMirror(3, 5, true, true);
    ExpectMirror(4, 6, true, true);
    ExpectMirror(23, 25, false, true);
    ExpectMirror(24, 26, true, false);
    ExpectMirror(41, 42, true, false);
    ExpectMirror(61, 63, false, true);
    ExpectMirror(62, 64, true, false);
    ExpectMirror(65, 67, false, true);
    ExpectMirror(66, 68, true, false);
}

// ---- Zigzags

// A triangle wave that rises from 0 to `amplitude` in the first half of its period.
double Wave(double position, double period, double amplitude) {
    const double phase = std::fmod(position / period, 1.0);
    return amplitude * (1 - std::fabs(2 * phase - 1));
}

// The ramp of one half of a barn zigzag and what is left of the peak for the other.
double BarnZigzag(unsigned along, unsigned length, double across, double period, double amplitude) {
    const double half = length / 2.0;
    const double step = (1 - amplitude) / half;
    const double wave = Wave(across, period, amplitude);
    if (along < length / 2) {
        return (along + 1) * step + wave;
    }
    return 1 - (along - length / 2) * step - wave;
}

struct ZigzagCase {
    Picture picture;
    float cell, aspect;
};
// Periods of whole and of broken columns and rows, wide and tall; the last three have an amplitude above 1,
// where fractions leave 0 to 1 and samples wrap.
constexpr ZigzagCase kZigzags[] = {
    {{64, 64, 16, 65535}, 0.25F, 1.0F}, {{64, 48, 8, 255}, 0.25F, 1.0F},   {{100, 60, 16, 65535}, 0.3F, 1.0F},
    {{720, 486, 8, 255}, 0.125F, 1.5F}, {{48, 64, 16, 16383}, 0.2F, 1.0F}, {{200, 40, 8, 255}, 0.1F, 1.0F},
    {{200, 20, 8, 255}, 0.5F, 1.0F},    {{20, 200, 8, 255}, 0.5F, 1.0F},   {{128, 16, 16, 65535}, 1.0F, 0.5F},
};

void ExpectZigzag(Zan::ULong32 number,
                  const std::function<double(unsigned, unsigned, const ZigzagCase&)>& fraction) {
    for (const ZigzagCase& c : kZigzags) {
        const Picture& p = c.picture;
        SCOPED_TRACE(testing::Message() << "pattern " << number << ", " << p.width << 'x' << p.height
                                        << ", cell " << c.cell << ", aspect " << c.aspect);
        GradientCanvas canvas(p.width, p.height, p.bits, p.peak, 6);
        canvas.record.cellFraction = c.cell;
        canvas.record.aspectRatio = c.aspect;
        ASSERT_EQ(canvas.Draw(number), 0);
        EXPECT_EQ(canvas.TouchedGuards(), 0U);
        for (unsigned y = 0; y < p.height; ++y) {
            for (unsigned x = 0; x < p.width; ++x) {
                ASSERT_TRUE(Matches(canvas.Sample(x, y), fraction(x, y, c), p)) << "at " << x << ", " << y;
            }
        }
    }
}

TEST(EdgePatterns, ZigzagAlongTheWidth) {
    ExpectZigzag(71, [](unsigned x, unsigned y, const ZigzagCase& c) {
        const double w = c.picture.width, h = c.picture.height, cell = c.cell;
        const double amplitude = cell / 2 * c.aspect * h / w;
        return (1 - amplitude) * (w - x) / w + Wave(y, cell * h, amplitude);
    });
}

TEST(EdgePatterns, ZigzagAlongTheHeight) {
    ExpectZigzag(72, [](unsigned x, unsigned y, const ZigzagCase& c) {
        const double w = c.picture.width, h = c.picture.height, cell = c.cell;
        const double amplitude = cell / 2 * w / (c.aspect * h);
        return (1 - amplitude) * (h - y) / h + Wave(x, cell * w, amplitude);
    });
}

TEST(EdgePatterns, BarnZigzagOfColumns) {
    ExpectZigzag(73, [](unsigned x, unsigned y, const ZigzagCase& c) {
        const double w = c.picture.width, h = c.picture.height, cell = c.cell;
        return BarnZigzag(x, c.picture.width, y, cell * h, cell * h * c.aspect / w);
    });
}

TEST(EdgePatterns, BarnZigzagOfRows) {
    ExpectZigzag(74, [](unsigned x, unsigned y, const ZigzagCase& c) {
        const double w = c.picture.width, h = c.picture.height, cell = c.cell;
        return BarnZigzag(y, c.picture.height, x, cell * w, cell * w / (h * c.aspect));
    });
}

TEST(EdgePatterns, FractionsBeyond32BitsWrapToo) {
    // Amplitude 1/2 * 16384 / (1/64 * 8) = 65536, every step exact. In the middle of the wave:
    // row 0: 1 - 65536 + 65536 = 1; row 6: -65535 / 4 + 65536 = 49152.25, the sample 3221192704 = 32768
    // modulo 65536.
    GradientCanvas canvas(16384, 8, 16, 65535);
    canvas.record.cellFraction = 1.0F;
    canvas.record.aspectRatio = 1.0F / 64;
    ASSERT_EQ(canvas.Draw(72), 0);
    EXPECT_EQ(canvas.TouchedGuards(), 0U);
    EXPECT_EQ(canvas.Sample(8192, 0), 65535U);
    EXPECT_EQ(canvas.Sample(8192, 6), 32768U);
}

TEST(EdgePatterns, ZigzagsOfTheShortestPeriodStayInTheBuffer) {
    for (Zan::ULong32 number : {71U, 72U, 73U, 74U}) {
        for (float aspect : {0.01F, 1.0F, 100.0F}) {
            GradientCanvas canvas(33, 17, 16, 65535, 3, true);
            canvas.record.cellFraction = 0.001F;
            canvas.record.aspectRatio = aspect;
            ASSERT_EQ(canvas.Draw(number), 0);
            EXPECT_EQ(canvas.TouchedGuards(), 0U);
        }
    }
}

}  // namespace
