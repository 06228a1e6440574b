#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "GradientCanvas.h"

namespace {

using GradientGenerator::WgrGenerateGradient;
using GradientGenerator::WgrGradientData;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// What the random numbers choose from: 124, 125, 130 and 131 are among them and have no generator.
const std::vector<Zan::ULong32> kShapeDraws = Numbers({{101, 114}, {119, 125}, {127, 131}});

std::vector<Zan::ULong32> AllDraws() {
    std::vector<Zan::ULong32> all = EdgePatterns();
    for (const auto* group : {&kShapeDraws, &RotaryPatterns(), &MatrixPatterns()}) {
        all.insert(all.end(), group->begin(), group->end());
    }
    return all;
}

TEST(GradientEntry, RecordHasTheLayoutThatHostsFill) {
    EXPECT_EQ(offsetof(WgrGradientData, structSize), 0U);
    EXPECT_EQ(offsetof(WgrGradientData, width), 4U);
    EXPECT_EQ(offsetof(WgrGradientData, height), 8U);
    EXPECT_EQ(offsetof(WgrGradientData, pitch), 12U);
    EXPECT_EQ(offsetof(WgrGradientData, bitsPerSample), 16U);
    EXPECT_EQ(offsetof(WgrGradientData, significantBits), 20U);
    EXPECT_EQ(offsetof(WgrGradientData, peakValue), 24U);
    if (sizeof(void*) == 4) {
        EXPECT_EQ(offsetof(WgrGradientData, pixels), 28U);
        EXPECT_EQ(offsetof(WgrGradientData, aspectRatio), 32U);
        EXPECT_EQ(offsetof(WgrGradientData, cellFraction), 36U);
        EXPECT_EQ(offsetof(WgrGradientData, flags), 40U);
        EXPECT_EQ(sizeof(WgrGradientData), 44U);
    }
}

TEST(GradientEntry, NullRecordIsStatus1) {
    EXPECT_EQ(WgrGenerateGradient(nullptr, 1), 1);
}

TEST(GradientEntry, StructSizeBelow44IsStatus2) {
    GradientCanvas canvas(16, 16);
    canvas.record.structSize = 43;
    EXPECT_EQ(canvas.Draw(1), 2);
    canvas.record.structSize = 0;
    EXPECT_EQ(canvas.Draw(1), 2);
    EXPECT_TRUE(canvas.IsUntouched());
    canvas.record.structSize = 44;
    EXPECT_EQ(canvas.Draw(1), 0);
    EXPECT_FALSE(canvas.IsUntouched());
}

TEST(GradientEntry, TailOfALargerRecordIsIgnored) {
    GradientCanvas canvas(16, 16);
    struct {
        WgrGradientData data;
        unsigned char tail[64];
    } larger{};
    larger.data = canvas.record;
    larger.data.structSize = sizeof larger;
    std::fill(std::begin(larger.tail), std::end(larger.tail), static_cast<unsigned char>(0xFF));
    EXPECT_EQ(WgrGenerateGradient(&larger.data, 1), 0);
    EXPECT_FALSE(canvas.IsUntouched());
}

TEST(GradientEntry, OnlySamplesOf8And16BitsExist) {
    for (unsigned bits : {0U, 1U, 7U, 9U, 10U, 15U, 17U, 24U, 32U, 0x80000008U}) {
        GradientCanvas canvas(16, 16);
        canvas.record.bitsPerSample = bits;
        canvas.record.significantBits = 0;
        canvas.record.peakValue = 0;
        EXPECT_EQ(canvas.Draw(1), 3) << bits;
        EXPECT_TRUE(canvas.IsUntouched());
    }
}

TEST(GradientEntry, PeakMustFitTheSignificantBits) {
    struct Case {
        unsigned bits, significant, peak;
        int status;
    };
    const Case cases[] = {
        {8, 8, 255, 0},     {8, 8, 256, 4},         {8, 9, 255, 4},     {8, 7, 127, 0},
        {8, 7, 128, 4},     {8, 0, 0, 0},           {8, 0, 1, 4},       {8, 16, 255, 4},
        {16, 14, 16383, 0}, {16, 14, 16384, 4},     {16, 16, 65535, 0}, {16, 16, 65536, 4},
        {16, 17, 65535, 4}, {16, 8, 255, 0},        {16, 8, 256, 4},    {16, 16, 0xFFFFFFFF, 4},
        {16, 32, 65535, 4}, {16, 0xFFFFFFFF, 1, 4}, {16, 33, 1, 4},
    };
    for (const Case& c : cases) {
        GradientCanvas canvas(16, 16, c.bits);
        canvas.record.significantBits = c.significant;
        canvas.record.peakValue = c.peak;
        EXPECT_EQ(canvas.Draw(1), c.status) << c.bits << ' ' << c.significant << ' ' << c.peak;
        EXPECT_EQ(canvas.IsUntouched(), c.status != 0);
        EXPECT_EQ(canvas.TouchedGuards(), 0U);
    }
}

TEST(GradientEntry, SizeBelow8IsStatus5) {
    for (auto [width, height] : {std::pair{7U, 16U}, {16U, 7U}, {0U, 16U}, {16U, 0U}, {7U, 7U}}) {
        GradientCanvas canvas(16, 16);
        canvas.record.width = width;
        canvas.record.height = height;
        EXPECT_EQ(canvas.Draw(1), 5) << width << 'x' << height;
        EXPECT_TRUE(canvas.IsUntouched());
    }
    GradientCanvas least(8, 8);
    EXPECT_EQ(least.Draw(1), 0);
}

TEST(GradientEntry, PitchMustHoldARowEitherWay) {
    GradientCanvas canvas(16, 16, 16, 65535);
    for (Zan::Long32 pitch : {31, -31, 1, -1, 0}) {
        canvas.record.pitch = pitch;
        EXPECT_EQ(canvas.Draw(1), 5) << pitch;
    }
    EXPECT_TRUE(canvas.IsUntouched());
    canvas.record.pitch = 32;
    EXPECT_EQ(canvas.Draw(1), 0);
}

TEST(GradientEntry, ExtremeSizesAreComparedUnsignedAndWithoutOverflow) {
    GradientCanvas canvas(16, 16, 16, 65535);
    // Draws nothing, so that a wrong answer does no harm.
    canvas.record.flags = 1;
    canvas.record.width = 0x80000008U;  // twice that is 16 in 32 bits
    canvas.record.pitch = 32;
    EXPECT_EQ(canvas.Draw(1), 5);
    canvas.record.width = 0xFFFFFFFFU;
    canvas.record.pitch = -1;
    EXPECT_EQ(canvas.Draw(1), 5);
    canvas.record.width = 16;
    canvas.record.pitch = std::numeric_limits<Zan::Long32>::min();
    EXPECT_EQ(canvas.Draw(1), 0);
}

TEST(GradientEntry, StatusesAreTestedInTheirOrder) {
    GradientCanvas canvas(16, 16);
    canvas.record.structSize = 43;
    canvas.record.bitsPerSample = 12;
    canvas.record.significantBits = 40;
    canvas.record.width = 7;
    EXPECT_EQ(canvas.Draw(0), 2);
    canvas.record.structSize = 44;
    EXPECT_EQ(canvas.Draw(0), 3);
    canvas.record.bitsPerSample = 8;
    EXPECT_EQ(canvas.Draw(0), 4);
    canvas.record.significantBits = 8;
    canvas.record.peakValue = 256;
    EXPECT_EQ(canvas.Draw(0), 4);
    canvas.record.peakValue = 255;
    EXPECT_EQ(canvas.Draw(0), 5);
    EXPECT_EQ(canvas.Draw(1), 5);
    canvas.record.width = 16;
    EXPECT_EQ(canvas.Draw(0), 9);
    EXPECT_TRUE(canvas.IsUntouched());
    EXPECT_EQ(canvas.Draw(1), 0);
}

TEST(GradientEntry, NumbersWithoutGeneratorAreStatus9) {
    const std::vector<Zan::ULong32>& named = AllPatterns();
    std::vector<Zan::ULong32> unnamed{0, 354, 355, 400, 408, 410, 500, 505, 1000, 0x80000001U, 0xFFFFFFFFU};
    for (Zan::ULong32 n = 1; n <= 353; ++n) {
        if (std::find(named.begin(), named.end(), n) == named.end()) {
            unnamed.push_back(n);
        }
    }
    ASSERT_EQ(named.size(), 129U);
    for (Zan::ULong32 n : unnamed) {
        GradientCanvas canvas(16, 16);
        EXPECT_EQ(canvas.Draw(n), 9) << n;
        EXPECT_TRUE(canvas.IsUntouched()) << n;
        canvas.record.flags = 1;
        EXPECT_EQ(canvas.Draw(n), 9) << n;
    }
}

TEST(GradientEntry, EveryPatternDrawsAllOfThePictureAndNothingElse) {
    for (Zan::ULong32 n : AllPatterns()) {
        for (unsigned bits : {8U, 16U}) {
            for (bool upsideDown : {false, true}) {
                // A peak of 0 writes zeros over every byte of the picture.
                GradientCanvas canvas(37, 11, bits, 0, 5, upsideDown, 1);
                ASSERT_EQ(canvas.Draw(n), 0) << n;
                EXPECT_EQ(canvas.TouchedGuards(), 0U) << n;
                for (unsigned sample : canvas.Samples()) {
                    ASSERT_EQ(sample, 0U) << n;
                }
            }
        }
    }
}

TEST(GradientEntry, RowsRunUpWithANegativePitch) {
    for (Zan::ULong32 n : AllPatterns()) {
        for (unsigned bits : {8U, 16U}) {
            GradientCanvas down(40, 24, bits, bits == 8 ? 255 : 16383, 3, false);
            GradientCanvas up(40, 24, bits, bits == 8 ? 255 : 16383, 7, true);
            ASSERT_EQ(down.Draw(n), 0);
            ASSERT_EQ(up.Draw(n), 0);
            EXPECT_EQ(down.Samples(), up.Samples()) << n;
            EXPECT_EQ(up.TouchedGuards(), 0U) << n;
        }
    }
}

TEST(GradientEntry, FlagDrawsNothing) {
    for (Zan::ULong32 n : AllPatterns()) {
        for (unsigned flags : {1U, 3U, 0xFFFFFFFFU}) {
            GradientCanvas canvas(16, 16);
            canvas.record.flags = flags;
            EXPECT_EQ(canvas.Draw(n), 0) << n;
            EXPECT_TRUE(canvas.IsUntouched()) << n;
        }
        GradientCanvas canvas(16, 16);
        canvas.record.flags = 0xFFFFFFFE;
        EXPECT_EQ(canvas.Draw(n), 0);
        EXPECT_FALSE(canvas.IsUntouched()) << "only bit 0 has a meaning";
    }
}

TEST(GradientEntry, RecordIsReadOnly) {
    for (Zan::ULong32 n : {1U, 8U, 46U, 71U, 74U, 501U}) {
        GradientCanvas canvas(16, 16);
        canvas.record.aspectRatio = -5.0F;
        canvas.record.cellFraction = 9.0F;
        unsigned char before[sizeof canvas.record];
        std::memcpy(before, &canvas.record, sizeof before);
        ASSERT_EQ(canvas.Draw(n), 0);
        EXPECT_EQ(std::memcmp(before, &canvas.record, sizeof before), 0) << n;
    }
}

std::vector<unsigned> Drawn(Zan::ULong32 pattern, float aspectRatio, float cellFraction) {
    GradientCanvas canvas(64, 48, 16, 65535);
    canvas.record.aspectRatio = aspectRatio;
    canvas.record.cellFraction = cellFraction;
    EXPECT_EQ(canvas.Draw(pattern), 0);
    EXPECT_EQ(canvas.TouchedGuards(), 0U);
    return canvas.Samples();
}

TEST(GradientEntry, AspectRatioIsLimited) {
    for (Zan::ULong32 n : {71U, 72U, 73U, 74U}) {
        EXPECT_EQ(Drawn(n, 0.0F, 0.25F), Drawn(n, 0.01F, 0.25F)) << n;
        EXPECT_EQ(Drawn(n, -3.0F, 0.25F), Drawn(n, 0.01F, 0.25F)) << n;
        EXPECT_EQ(Drawn(n, 250.0F, 0.25F), Drawn(n, 100.0F, 0.25F)) << n;
        EXPECT_EQ(Drawn(n, std::numeric_limits<float>::infinity(), 0.25F), Drawn(n, 100.0F, 0.25F)) << n;
        EXPECT_EQ(Drawn(n, 0.0099F, 0.25F), Drawn(n, 0.01F, 0.25F)) << n;
        EXPECT_NE(Drawn(n, 0.0101F, 0.25F), Drawn(n, 0.01F, 0.25F)) << n;
        EXPECT_NE(Drawn(n, 100.0F, 0.25F), Drawn(n, 99.0F, 0.25F)) << n;
    }
}

TEST(GradientEntry, CellFractionIsLimited) {
    for (Zan::ULong32 n : {71U, 72U, 73U, 74U}) {
        EXPECT_EQ(Drawn(n, 1.0F, 2.0F), Drawn(n, 1.0F, 1.0F)) << n;
        EXPECT_NE(Drawn(n, 1.0F, 0.99F), Drawn(n, 1.0F, 1.0F)) << n;
        EXPECT_EQ(Drawn(n, 1.0F, 0.0F), Drawn(n, 1.0F, 0.001F)) << n;
        EXPECT_EQ(Drawn(n, 1.0F, -1.0F), Drawn(n, 1.0F, 0.001F)) << n;
        EXPECT_EQ(Drawn(n, 1.0F, 0.00099F), Drawn(n, 1.0F, 0.001F)) << n;
        EXPECT_NE(Drawn(n, 1.0F, 0.00101F), Drawn(n, 1.0F, 0.001F)) << n;
        EXPECT_NE(Drawn(n, 1.0F, 0.0015F), Drawn(n, 1.0F, 0.001F)) << n;
    }
}

TEST(GradientEntry, LimitsHoldForEveryPattern) {
    for (Zan::ULong32 n : AllPatterns()) {
        EXPECT_EQ(Drawn(n, 0.0F, 0.25F), Drawn(n, 0.01F, 0.25F)) << n;
        EXPECT_EQ(Drawn(n, 250.0F, 0.25F), Drawn(n, 100.0F, 0.25F)) << n;
        EXPECT_EQ(Drawn(n, 1.0F, 2.0F), Drawn(n, 1.0F, 1.0F)) << n;
        EXPECT_EQ(Drawn(n, 1.0F, 0.0F), Drawn(n, 1.0F, 0.001F)) << n;
    }
}

TEST(GradientEntry, NotANumberDoesNoHarm) {
    for (Zan::ULong32 n : AllPatterns()) {
        for (auto [aspect, cell] : {std::pair{kNaN, 0.25F}, {1.0F, kNaN}, {kNaN, kNaN}}) {
            const std::vector<unsigned> drawn = Drawn(n, aspect, cell);
            if (n < 71) {
                EXPECT_EQ(drawn, Drawn(n, 1.0F, 0.25F)) << n << " looks at neither";
            }
        }
    }
}

void ExpectDraws(Zan::ULong32 random, const std::vector<Zan::ULong32>& table, unsigned seeds) {
    for (unsigned seed = 1; seed <= seeds; ++seed) {
        SCOPED_TRACE(testing::Message() << random << " with seed " << seed);
        std::srand(seed);
        const auto pick = table[static_cast<std::size_t>(std::rand()) % table.size()];
        const int next = std::rand();
        GradientCanvas expected(24, 16), drawn(24, 16);
        const int status = expected.Draw(pick);

        std::srand(seed);
        EXPECT_EQ(drawn.Draw(random), status) << "of " << pick;
        EXPECT_EQ(std::rand(), next) << "one draw, no seeding";
        EXPECT_EQ(drawn.Samples(), expected.Samples()) << "of " << pick;
        EXPECT_EQ(drawn.TouchedGuards(), 0U);
    }
}

TEST(GradientEntry, RandomNumbersDrawOneOfTheirTable) {
    ASSERT_EQ(EdgePatterns().size(), 34U);
    ASSERT_EQ(kShapeDraws.size(), 26U);
    ASSERT_EQ(RotaryPatterns().size(), 39U);
    ASSERT_EQ(MatrixPatterns().size(), 34U);
    ASSERT_EQ(AllDraws().size(), 133U);
    ExpectDraws(501, EdgePatterns(), 300);
    ExpectDraws(502, kShapeDraws, 100);
    ExpectDraws(503, RotaryPatterns(), 100);
    ExpectDraws(504, MatrixPatterns(), 100);
    ExpectDraws(409, AllDraws(), 600);
}

}  // namespace
