// Patterns whose formula is printed, pixel by pixel, and what holds for all of them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <set>

#include "gradient/GradientCanvas.h"
#include "gradient/model/Patterns.h"
#include "simd/Targets.h"

using namespace gradient_model;

namespace {

struct Buffer {
    unsigned width, height, bits, peak;
};
constexpr Buffer kBuffers[] = {{8, 8, 8, 255},       {9, 9, 16, 65535},   {40, 30, 8, 255},
                               {41, 31, 8, 255},     {64, 47, 16, 16320}, {33, 80, 8, 200},
                               {120, 90, 16, 65535}, {201, 8, 8, 255},    {320, 240, 16, 16383}};
constexpr float kAspects[] = {1.0F, 4.0F / 3, 16.0F / 9, 0.5F, 5.0F};

// Sums along a row and the sine of an angle may fall short by this part of a code value.
constexpr double kSlack = 0.02;

bool IsSampleOf(unsigned sample, double fraction, bool wraps, unsigned peak) {
    for (const double nudge : {0.0, kSlack, -kSlack}) {
        double near = fraction + nudge / peak;
        if (wraps) {
            near -= std::floor(near);
        }
        if (near * peak + 0.5 >= 0 && sample == static_cast<unsigned>(near * peak + 0.5)) {
            return true;
        }
    }
    return false;
}

// How many pixels are not what the formula says, and the first of them in words.
std::string Differences(const GradientCanvas& canvas, const Fraction& fraction, bool wraps, const Map& map) {
    std::string first;
    int count = 0;
    for (int y = 0; y < map.height; ++y) {
        for (int x = 0; x < map.width; ++x) {
            const unsigned sample = canvas.Sample(static_cast<unsigned>(x), static_cast<unsigned>(y));
            const double expected = fraction(x, y, map);
            if (expected >= 0 && !IsSampleOf(sample, expected, wraps, canvas.record.peakValue) &&
                count++ == 0) {
                first = "at " + std::to_string(x) + ", " + std::to_string(y) + ": sample " +
                        std::to_string(sample) + " instead of " +
                        std::to_string(expected * canvas.record.peakValue);
            }
        }
    }
    return count == 0 ? "" : std::to_string(count) + " pixels differ, the first " + first;
}

template <class Body>
void ForCanvases(unsigned number, Body body) {
    for (const Buffer& b : kBuffers) {
        for (const float aspect : kAspects) {
            SCOPED_TRACE(::testing::Message() << "pattern " << number << ", " << b.width << "x" << b.height
                                              << ", peak " << b.peak << ", aspect " << aspect);
            GradientCanvas canvas(b.width, b.height, b.bits, b.peak, b.width % 3, b.height % 2 == 1);
            canvas.record.aspectRatio = aspect;
            ASSERT_EQ(canvas.Draw(number), 0);
            EXPECT_EQ(canvas.TouchedGuards(), 0U);
            body(canvas, Map{static_cast<int>(b.width), static_cast<int>(b.height),
                             static_cast<double>(aspect), 0.25});
        }
    }
}

TEST(PatternModel, PrintedFormulas) {
    for (const Pattern& pattern : PrintedPatterns()) {
        ForCanvases(pattern.number, [&](const GradientCanvas& canvas, const Map& map) {
            EXPECT_EQ(Differences(canvas, pattern.fraction, pattern.wraps, map), "");
        });
    }
}

// Pattern 203 on 41 by 31: half of the peak in the middle of the top row; the seam is the lower half of the
// middle column.
TEST(PatternModel, StartTurnsTheSeamOfAClock) {
    GradientCanvas canvas(41, 31);
    ASSERT_EQ(canvas.Draw(203), 0);
    EXPECT_NEAR(canvas.Sample(20, 0), 127.5, 1);
    for (unsigned x = 1; x < 41; ++x) {
        EXPECT_LE(std::abs(static_cast<int>(canvas.Sample(x, 0)) - static_cast<int>(canvas.Sample(x - 1, 0))),
                  8);
    }
    for (unsigned y = 17; y < 31; ++y) {
        const unsigned left = canvas.Sample(19, y), right = canvas.Sample(21, y);
        EXPECT_GT(std::max(left, right), 200U) << y;
        EXPECT_LT(std::min(left, right), 50U) << y;
    }
}

// ---- What holds for all numbers

TEST(PatternModel, EveryNumberDrawsItsOwnPattern) {
    std::set<std::vector<unsigned>> drawn;
    for (const unsigned number : AllNumbers()) {
        GradientCanvas canvas(64, 48, 16, 65535);
        canvas.record.aspectRatio = 4.0F / 3;
        canvas.record.cellFraction = 1 / 6.0F;
        ASSERT_EQ(canvas.Draw(number), 0) << number;
        EXPECT_TRUE(drawn.insert(canvas.Samples()).second) << number << " draws what another one draws";
    }
    EXPECT_EQ(drawn.size(), 129U);
}

TEST(PatternModel, NumbersThatHaveNoPattern) {
    std::set<unsigned> drawn(AllNumbers().begin(), AllNumbers().end());
    for (unsigned number = 0; number < 600; ++number) {
        const bool random = number == 409 || (number >= 501 && number <= 504);
        if (drawn.count(number) != 0 || random) {
            continue;
        }
        GradientCanvas canvas(16, 16);
        ASSERT_EQ(canvas.Draw(number), 9) << number;
        EXPECT_TRUE(canvas.IsUntouched());
    }
}

TEST(PatternModel, EverySizeAndPitchStaysInItsRows) {
    for (const unsigned number : AllNumbers()) {
        for (const auto& [width, height] :
             {std::pair{8U, 8U}, {8U, 33U}, {57U, 9U}, {16U, 15U}, {31U, 64U}}) {
            for (const unsigned bits : {8U, 16U}) {
                for (const float cell : {0.001F, 0.1F, 0.33F, 1.0F}) {
                    GradientCanvas down(width, height, bits, 255, 7, false, 1);
                    GradientCanvas up(width, height, bits, 255, 3, true);
                    for (GradientCanvas* each : {&down, &up}) {
                        each->record.cellFraction = cell;
                        each->record.aspectRatio = cell < 0.2F ? 0.01F : 1.7F;
                        ASSERT_EQ(each->Draw(number), 0);
                        ASSERT_EQ(each->TouchedGuards(), 0U) << number;
                    }
                    ASSERT_EQ(down.Samples(), up.Samples()) << number << ", upside down";
                }
            }
        }
    }
}

// Every width leaves another rest of a vector; the bits are the same on all targets.
TEST(PatternModel, EveryTargetDrawsTheSame) {
    for (const unsigned number : AllNumbers()) {
        for (unsigned width = 8; width < 75; width += number < 300 ? 1 : 13) {
            const unsigned height = 8 + width % 9;
            std::vector<unsigned> first;
            for (std::size_t i = 0; i < Zan::simd::kTargetCount; ++i) {
                const auto target = static_cast<Zan::simd::Target>(i);
                if (!Zan::simd::IsTargetAvailable(target)) {
                    continue;
                }
                const Zan::simd::ScopedTarget limit(target);
                const bool bytes = width % 2 == 0;
                GradientCanvas canvas(width, height, bytes ? 8 : 16, bytes ? 255 : 65535, 5, width % 3 == 0);
                canvas.record.aspectRatio = width % 5 == 0 ? 0.3F : 1.7F;
                ASSERT_EQ(canvas.Draw(number), 0);
                ASSERT_EQ(canvas.TouchedGuards(), 0U);
                if (first.empty()) {
                    first = canvas.Samples();
                }
                ASSERT_EQ(canvas.Samples(), first)
                    << number << ", width " << width << " on " << Zan::simd::TargetName(target);
            }
        }
    }
}

// The fraction is the same in both depths. Zigzags of a large amplitude wrap, so those are small here.
TEST(PatternModel, BothDepthsHaveTheSameFractions) {
    for (const unsigned number : AllNumbers()) {
        GradientCanvas bytes(90, 66), words(90, 66, 16, 16320);
        for (GradientCanvas* each : {&bytes, &words}) {
            each->record.significantBits = each == &bytes ? 8 : 14;
            each->record.cellFraction = 0.11F;
            each->record.aspectRatio = 1.25F;
            ASSERT_EQ(each->Draw(number), 0);
        }
        for (unsigned y = 0; y < 66; ++y) {
            for (unsigned x = 0; x < 90; ++x) {
                // 16320 is 64 times 255: a rounded byte lies within half a step.
                ASSERT_LE(std::abs(static_cast<int>(words.Sample(x, y)) -
                                   64 * static_cast<int>(bytes.Sample(x, y))),
                          33)
                    << number << " at " << x << ", " << y;
            }
        }
    }
}

TEST(PatternModel, FlagDrawsNothing) {
    for (const unsigned number : AllNumbers()) {
        GradientCanvas canvas(16, 16);
        canvas.record.flags = 1;
        EXPECT_EQ(canvas.Draw(number), 0);
        EXPECT_TRUE(canvas.IsUntouched()) << number;
    }
}

// ---- Random numbers

void Append(std::vector<unsigned>& table, unsigned first, unsigned last) {
    for (unsigned number = first; number <= last; ++number) {
        table.push_back(number);
    }
}

// The table of 501, 502, 503, 504 or 409 in its order.
std::vector<unsigned> TableOf(unsigned number) {
    std::vector<unsigned> table;
    const auto add = [&table](std::initializer_list<std::pair<unsigned, unsigned>> ranges) {
        for (const auto& [first, last] : ranges) {
            Append(table, first, last);
        }
    };
    if (number == 501 || number == 409) {
        add({{1, 8}, {21, 26}, {41, 48}, {61, 68}, {71, 74}});
    }
    if (number == 502 || number == 409) {
        add({{101, 114}, {119, 125}, {127, 131}});
    }
    if (number == 503 || number == 409) {
        add({{201, 207}, {211, 214}, {221, 228}, {231, 236}, {241, 246}, {251, 254}, {261, 264}});
    }
    if (number == 504 || number == 409) {
        add({{301, 306}, {310, 317}, {320, 329}, {340, 345}, {350, 353}});
    }
    return table;
}

TEST(PatternModel, RandomNumbersFollowTheirTables) {
    for (const unsigned number : {409U, 501U, 502U, 503U, 504U}) {
        const std::vector<unsigned> table = TableOf(number);
        ASSERT_EQ(table.size(), number == 409   ? 133U
                                : number == 501 ? 34U
                                : number == 502 ? 26U
                                : number == 503 ? 39U
                                                : 34U);
        for (unsigned seed = 1; seed < 60; ++seed) {
            std::srand(seed);
            const unsigned drawn = table[static_cast<unsigned>(std::rand()) % table.size()];
            const int after = std::rand();
            GradientCanvas expected(32, 24), random(32, 24);
            const int status = expected.Draw(drawn);
            std::srand(seed);
            ASSERT_EQ(random.Draw(number), status) << drawn;
            ASSERT_EQ(std::rand(), after) << "one draw a call";
            ASSERT_EQ(random.Samples(), expected.Samples()) << drawn;
        }
    }
}

}  // namespace
