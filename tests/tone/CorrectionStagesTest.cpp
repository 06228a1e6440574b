// The stages of the corrector one by one, and what they answer inside.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>
#include <vector>

#include "foundation/Elementary.h"
#include "tone/CorrectedPicture.h"
#include "tone/correction/Context.h"
#include "tone/kernels/CorrectionFormulas.h"

using namespace Zan::BaseCC;
using correction_test::Pair;
using Zan::Long32;
using Zan::ULong32;

namespace {

constexpr ULong32 Code(Long32 status) {
    return static_cast<ULong32>(status);
}

/// One line of pairs, for stages by themselves.
class Line {
public:
    explicit Line(std::vector<Pair> pairs) : bytes(4 * pairs.size()) {
        for (std::size_t i = 0; i < pairs.size(); ++i) {
            bytes[4 * i] = static_cast<std::uint8_t>(pairs[i].cb);
            bytes[4 * i + 1] = static_cast<std::uint8_t>(pairs[i].y0);
            bytes[4 * i + 2] = static_cast<std::uint8_t>(pairs[i].cr);
            bytes[4 * i + 3] = static_cast<std::uint8_t>(pairs[i].y1);
        }
        picture.width = static_cast<ULong32>(2 * pairs.size());
        picture.height = 1;
        picture.lines.first = bytes.data();
        picture.lines.pitch = static_cast<std::ptrdiff_t>(bytes.size());
    }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    Pair At(std::size_t i) const {
        return {bytes[4 * i], bytes[4 * i + 1], bytes[4 * i + 2], bytes[4 * i + 3]};
    }
    Pass InPlace() const { return {picture, picture}; }

    std::vector<std::uint8_t> bytes;
    PictureDescriptor picture;
};

/// What a stage makes of one pair.
template <class AnyStage>
Pair After(AnyStage& stage, const Pair& pair) {
    Line line({pair});
    EXPECT_EQ(stage.Execute(line.InPlace()), 0);
    return line.At(0);
}

template <class AnyStage>
class EveryStage : public testing::Test {};
using Stages = testing::Types<LumaLevelsStage, BrightnessContrastStage, LumaLevelsContrastStage, HueStage,
                              SaturationStage, HueSaturationStage, LegalizeStage, RedLevelsStage,
                              GreenLevelsStage, BlueLevelsStage, RedGreenLevelsStage, RedBlueLevelsStage,
                              GreenBlueLevelsStage, RgbLevelsStage>;
TYPED_TEST_SUITE(EveryStage, Stages);

TYPED_TEST(EveryStage, SaysWhyItCannotRun) {
    TypeParam stage;
    Line line({{1, 2, 3, 4}});
    EXPECT_FALSE(stage.IsConfigured());
    EXPECT_EQ(Code(stage.Execute(line.InPlace())), 0x8000000BU);
    EXPECT_EQ(stage.Configure({}, true), 0);
    EXPECT_TRUE(stage.IsConfigured());
    EXPECT_TRUE(stage.IsDefault());
    EXPECT_TRUE(stage.SameParameters({}));
    EXPECT_EQ(Code(stage.Execute(line.InPlace())), 0x80000020U);
    stage.Reset();
    EXPECT_FALSE(stage.IsConfigured());
    EXPECT_FALSE(stage.SameParameters({}));
    EXPECT_EQ(Code(stage.Execute(line.InPlace())), 0x8000000BU);
    EXPECT_EQ(line.At(0), (Pair{1, 2, 3, 4}));
}

// With tables and without, the first time and after a change.
TEST(CorrectionStages, TablesAreMadeAtOnceOrByTheFirstRun) {
    for (const bool buildTables : {true, false}) {
        SaturationStage stage;
        stage.Configure({-255}, buildTables);
        EXPECT_EQ(After(stage, {0, 1, 255, 2}), (Pair{128, 1, 128, 2}));
        EXPECT_TRUE(stage.SameParameters({-255}));
        EXPECT_FALSE(stage.SameParameters({255}));
        stage.Configure({-255}, buildTables);
        EXPECT_EQ(After(stage, {0, 1, 255, 2}), (Pair{128, 1, 128, 2}));
        stage.Configure({0}, buildTables);
        EXPECT_TRUE(stage.IsDefault());
        stage.Configure({-153}, buildTables);  // a gain of 0.4
        EXPECT_EQ(After(stage, {28, 1, 138, 2}), (Pair{88, 1, 132, 2}));
    }
}

TEST(CorrectionStages, ParametersAreLimitedWhereAStageTakesThem) {
    tagBASECOLORCORRINFO record;
    record.lumaLow = -300;
    record.lumaMid = 300;
    record.lumaHigh = 32767;
    Context levels(false);
    ASSERT_EQ(levels.Configure(record, true), 0);
    EXPECT_EQ(levels.lumaLevels.GetParameters().levels, (Levels{-255, 255, 255}));

    record.brightness = -32768;
    record.contrast = 256;
    record.saturation = 256;
    record.hue = 256;
    record.greenLow = 256;
    Context all(false);
    ASSERT_EQ(all.Configure(record, true), 0);
    EXPECT_EQ(all.lumaLevelsContrast.GetParameters().adjustment, (BrightnessContrast{-255, 255}));
    EXPECT_EQ(all.hueSaturation.GetParameters().saturation, Saturation{255});
    EXPECT_EQ(all.hueSaturation.GetParameters().hue, Hue{180});
    EXPECT_EQ(all.greenLevels.GetParameters()[0], (Levels{255, 0, 0}));
}

TEST(CorrectionStages, AnglesAreLimitedAndCutTowardsZero) {
    EXPECT_EQ(AngleOf(256), 180);
    EXPECT_EQ(AngleOf(32767), 180);
    EXPECT_EQ(AngleOf(-32768), -180);
    EXPECT_EQ(AngleOf(255), 179);
    EXPECT_EQ(AngleOf(64), 45);
    EXPECT_EQ(AngleOf(1), 0);
    EXPECT_EQ(AngleOf(-1), 0);
    EXPECT_EQ(AngleOf(-2), -1);
}

TEST(CorrectionStages, MidIsAnExponent) {
    EXPECT_EQ(ExponentOf(0), 1.0);
    EXPECT_EQ(ExponentOf(50), 0.5);
    EXPECT_EQ(ExponentOf(-130), 2.0);
}

TEST(CorrectionStages, RecordOfLessThanItsSizeIsNotTaken) {
    tagBASECOLORCORRINFO record;
    record.brightness = 1;
    record.size = 37;
    Context context(false);
    EXPECT_EQ(Code(context.Configure(record, true)), 0x80000003U);
    EXPECT_FALSE(context.brightnessContrast.IsConfigured());
}

TEST(CorrectionStages, OneStageTakesEachGroup) {
    using Wanted = std::array<bool, 14>;
    const auto configured = [](const tagBASECOLORCORRINFO& record) {
        Context c(false);
        EXPECT_EQ(c.Configure(record, true), 0);
        return Wanted{c.lumaLevels.IsConfigured(),         c.brightnessContrast.IsConfigured(),
                      c.lumaLevelsContrast.IsConfigured(), c.hue.IsConfigured(),
                      c.saturation.IsConfigured(),         c.hueSaturation.IsConfigured(),
                      c.redLevels.IsConfigured(),          c.greenLevels.IsConfigured(),
                      c.blueLevels.IsConfigured(),         c.redGreenLevels.IsConfigured(),
                      c.redBlueLevels.IsConfigured(),      c.greenBlueLevels.IsConfigured(),
                      c.rgbLevels.IsConfigured(),          c.legalize.IsConfigured()};
    };
    const auto only = [](std::initializer_list<std::size_t> which) {
        Wanted wanted{};
        for (const std::size_t i : which) {
            wanted[i] = true;
        }
        return wanted;
    };
    // Each member of a group by itself.
    for (int member = 0; member < 3; ++member) {
        tagBASECOLORCORRINFO record;
        record.lumaLow = member == 0;
        record.lumaMid = member == 1;
        record.lumaHigh = member == 2;
        EXPECT_EQ(configured(record), only({0}));
        record.contrast = 1;
        EXPECT_EQ(configured(record), only({2}));
    }
    tagBASECOLORCORRINFO record;
    record.brightness = -1;
    EXPECT_EQ(configured(record), only({1}));
    record.hue = 1;
    EXPECT_EQ(configured(record), only({1, 3}));
    record.saturation = 1;
    EXPECT_EQ(configured(record), only({1, 5}));
    record.hue = 0;
    EXPECT_EQ(configured(record), only({1, 4}));

    record = {};
    const std::size_t stages[8] = {0, 6, 7, 9, 8, 10, 11, 12};
    for (std::size_t colours = 1; colours < 8; ++colours) {
        record.redLow = (colours & 1) != 0;
        record.greenMid = (colours & 2) != 0;
        record.blueHigh = (colours & 4) != 0;
        EXPECT_EQ(configured(record), only({stages[colours]})) << colours;
    }
    for (std::int16_t flags = 1; flags < 8; ++flags) {
        record = {};
        record.flags = flags;
        EXPECT_EQ(configured(record), only({13})) << flags;
    }
    record.flags = static_cast<std::int16_t>(~7);
    EXPECT_EQ(configured(record), only({}));
}

TEST(CorrectionStages, RunTellsWhatItDoesNotKnow) {
    Line line({{1, 2, 3, 4}});
    Context context(false);
    EXPECT_EQ(Code(context.Run(line.picture, line.picture)), 0x80000008U);
    tagBASECOLORCORRINFO record;
    record.flags = 2;
    ASSERT_EQ(context.Configure(record, true), 0);
    PictureDescriptor other = line.picture;
    other.planes = 3;
    EXPECT_EQ(Code(context.Run(other, line.picture)), 0x8000001CU);
    EXPECT_EQ(Code(context.Run(line.picture, other)), 0x8000001CU);
    other = line.picture;
    other.strideAlignment = 256;
    EXPECT_EQ(Code(context.Run(other, line.picture)), 0x8000001CU);
    EXPECT_EQ(Code(context.Run(line.picture, other)), 0x8000001CU);
    EXPECT_EQ(line.At(0), (Pair{1, 2, 3, 4}));
    EXPECT_EQ(context.Run(line.picture, line.picture), 0);
    EXPECT_EQ(line.At(0), (Pair{16, 16, 16, 16}));
}

TEST(CorrectionStages, DescriptorSaysWhatPicturesAre) {
    const PictureDescriptor picture;
    EXPECT_EQ(picture.size, 160U);
    EXPECT_EQ(picture.fourCharacters, 0x56555940U);  // "@YUV"
    EXPECT_EQ(
        std::tuple(picture.channels, picture.bits, picture.bitField, picture.planes, picture.strideAlignment),
        std::tuple(1U, 8U, 16U, 1U, 512U));
}

TEST(CorrectionStages, AlignmentIsThatOfAddressAndPitch) {
    const auto at = [](std::uintptr_t address) { return reinterpret_cast<const void*>(address); };
    EXPECT_EQ(AlignmentOf(at(0x10000), 64), 64U);
    EXPECT_EQ(AlignmentOf(at(0x10010), 64), 16U);
    EXPECT_EQ(AlignmentOf(at(0x10000), 1440), 32U);
    EXPECT_EQ(AlignmentOf(at(0x10001), 1440), 1U);
    EXPECT_EQ(AlignmentOf(at(0x10000), 4096), 1024U);
}

TEST(CorrectionStages, BrightnessIsTakenAwayInAlignedPicturesWithSSE2) {
    BrightnessContrastStage stage;
    stage.Configure({10, 0}, true);
    const auto after = [&](bool sse2, ULong32 alignment) {
        Line line({{1, 100, 2, 5}});
        line.picture.alignment = alignment;
        EXPECT_EQ(stage.Execute({line.picture, line.picture, sse2}), 0);
        return line.At(0);
    };
    EXPECT_EQ(after(true, 16), (Pair{1, 90, 2, 0}));
    EXPECT_EQ(after(true, 1024), (Pair{1, 90, 2, 0}));
    EXPECT_EQ(after(true, 8), (Pair{1, 110, 2, 15}));
    EXPECT_EQ(after(false, 16), (Pair{1, 110, 2, 15}));
}

TEST(CorrectionStages, ContrastTurnsAboutMidGrey) {
    // A slope of 357/255, 51 taken away: 1.4 * 20 - 51, 1.4 * 128 - 51 = 128.2, 1.4 * 200 - 51.
    ByteTable upwards, downwards;
    MakeContrast({0, 51}, upwards, downwards);
    EXPECT_EQ(upwards[20], 0);
    EXPECT_EQ(upwards[128], 128);
    EXPECT_EQ(upwards[200], 229);
    EXPECT_EQ(downwards[200], 229);
    AddContrast({-5, 51}, upwards);
    EXPECT_EQ(upwards[128], 123);
    EXPECT_EQ(upwards[200], 255);  // 229 once more: 269.6 - 5
    MakeContrast({-5, 51}, upwards, downwards);
    EXPECT_EQ(upwards[200], 224);
    EXPECT_EQ(downwards[200], 234);  // round(1.4 * 200) - (-5 + 51)
    MakeContrast({255, 0}, upwards, downwards);
    EXPECT_EQ(upwards[0], 255);
    EXPECT_EQ(downwards[255], 0);
    MakeContrast({-255, -255}, upwards, downwards);  // a slope of -1
    EXPECT_EQ(upwards[7], 0);                        // -7 + 255 - 255
    EXPECT_EQ(downwards[7], 255);                    // -7 + 510
}

// Nothing is cut on the wrong side of a whole number: the tables against powers one by one.
TEST(CorrectionStages, TablesAreMadeOfPowers) {
    const auto whole = [](double x) { return static_cast<int>(x); };
    for (int mid = -255; mid <= 255; ++mid) {
        const double exponent = ExponentOf(mid);
        ByteTable full, studio, colour;
        MakeLumaLevels({0, mid, 0}, false, full);
        MakeLumaLevels({0, mid, 0}, true, studio);
        MakeColourLevels({0, mid, 100}, colour);
        for (int i = 0; i < 256; ++i) {
            const auto at = static_cast<std::size_t>(i);
            ASSERT_EQ(full[at], whole(Zan::Power(i * 0.00390625, exponent) * 256)) << mid;
            const double slope = 219 * 0.0045662100456621;
            const int v = std::clamp(whole(i * slope + (16 - slope * 16) + 0.5), 16, 235) - 16;
            ASSERT_EQ(studio[at], whole(Zan::Power(v * 0.004545454545454545, exponent) * 220 + 16)) << mid;
            const int t = whole(2 * i * (355 * 0.00392156862745098) + 0.5);
            ASSERT_EQ(colour[at],
                      std::min(255.0, std::floor((Zan::Power(t * 0.00390625, exponent) * 256 + 0.5) * 0.5)))
                << mid;
        }
    }
}

TEST(CorrectionStages, GammaOfStudioRangeRunsOn220Steps) {
    ByteTable table;
    MakeLumaLevels({0, 50, 0}, true, table);
    EXPECT_EQ(table[0], 16);
    EXPECT_EQ(table[16], 16);
    EXPECT_EQ(table[71], 126);   // sqrt(55 / 220) * 220 + 16
    EXPECT_EQ(table[235], 235);  // sqrt(219 / 220) * 220 + 16 = 235.5
    EXPECT_EQ(table[255], 235);
    MakeLumaLevels({0, 50, 0}, false, table);
    EXPECT_EQ(table[0], 0);
    EXPECT_EQ(table[16], 64);    // sqrt(16 / 256) * 256
    EXPECT_EQ(table[255], 255);  // sqrt(255 / 256) * 256 = 255.5
}

TEST(CorrectionStages, LevelsMoveBothEnds) {
    ByteTable table;
    MakeLumaLevels({51, 0, -51}, false, table);  // from 51 on by 0.6
    EXPECT_EQ(table[0], 51);
    EXPECT_EQ(table[100], 111);
    EXPECT_EQ(table[255], 204);
    MakeLumaLevels({-51, 0, 51}, false, table);  // from -51 on by 1.4
    EXPECT_EQ(table[36], 0);
    EXPECT_EQ(table[100], 89);
    EXPECT_EQ(table[219], 255);
}

// Such a triple reaches no stage; its tables would leave every sample as it is.
TEST(CorrectionStages, LevelsOfZerosAreTheIdentity) {
    ByteTable luma, halves;
    MakeLumaLevels({0, 0, 0}, false, luma);
    MakeColourLevels({0, 0, 0}, halves);
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(luma[static_cast<std::size_t>(i)], i);
        EXPECT_EQ(halves[static_cast<std::size_t>(i)], i);
    }
    for (int x = -510; x <= 510; ++x) {
        EXPECT_EQ(Zan::LevelOf(halves.data(), x), x);
    }
}

TEST(CorrectionStages, LevelsThenContrast) {
    LumaLevelsContrastStage both;
    both.Configure({{{51, 0, -51}, false}, {10, 0}}, true);
    EXPECT_EQ(After(both, {1, 0, 2, 100}), (Pair{1, 61, 2, 121}));
    // A group that is empty leaves its half out: studio levels of zeros would limit.
    both.Configure({{{}, true}, {10, 0}}, true);
    EXPECT_EQ(After(both, {1, 0, 2, 100}), (Pair{1, 10, 2, 110}));
    both.Configure({{{51, 0, -51}, false}, {}}, true);
    EXPECT_EQ(After(both, {1, 0, 2, 100}), (Pair{1, 51, 2, 111}));
}

TEST(CorrectionStages, SaturationIsStretchedAboveZeroOnly) {
    EXPECT_EQ(GainOf(-255), 0.0);
    EXPECT_EQ(GainOf(0), 255 * 0.00392156862745098);
    // (e - 1 + 1) * 128 = 347.9
    EXPECT_EQ(GainOf(128), (347 + 255) * 0.00392156862745098);
    SaturationStage stage;
    stage.Configure({128}, true);
    EXPECT_EQ(After(stage, {138, 1, 118, 2}), (Pair{152, 1, 104, 2}));  // 10 * 2.36
    EXPECT_EQ(After(stage, {0, 1, 255, 2}), (Pair{1, 1, 255, 2}));
}

TEST(CorrectionStages, RotationIsLimitedBeforeItIsAmplified) {
    HueSaturationStage both;
    both.Configure({{45}, {-204}}, true);  // a gain of 0.2
    // (127 + 127) * 0.7071 is limited to 127, a fifth of which is 25.
    EXPECT_EQ(After(both, {255, 1, 255, 2}), (Pair{153, 1, 128, 2}));
}

TEST(CorrectionStages, FactorsGiveWhatTheTablesHold) {
    for (int angle = -180; angle <= 180; ++angle) {
        Zan::ChromaRotation rotation;
        MakeRotation(angle, rotation);
        for (int x = -128; x < 128; ++x) {
            const auto product = [x](int factor) { return (x * factor + (1 << 14)) >> 15; };
            ASSERT_EQ(product(rotation.cosineFactor), Zan::ProductOf(rotation.cosine, x)) << angle;
            ASSERT_EQ(product(rotation.sineFactor), Zan::ProductOf(rotation.sine, x)) << angle;
            ASSERT_EQ(product(-rotation.sineFactor), -Zan::ProductOf(rotation.sine, x)) << angle;
        }
    }
    for (int saturation = -255; saturation <= 255; ++saturation) {
        Zan::ChromaGain gain;
        MakeGain(GainOf(saturation), gain);
        for (int x = -127; x < 128; ++x) {
            const int product = ((x << gain.shift) * gain.factor + (1 << 14)) >> 15;
            ASSERT_EQ(std::clamp(product, -127, 127), gain.table[x + 128] - 128) << saturation;
            // 16 bits must hold what is multiplied.
            ASSERT_LE(std::abs(x) << gain.shift, 32767);
        }
    }
}

TEST(CorrectionStages, TableOfAColourIsOdd) {
    // From 11 on by 0.99: the first places hold what black becomes.
    ByteTable halves;
    MakeColourLevels({11, 0, 0}, halves);
    EXPECT_EQ(halves[0], 5);  // (11 + 0.5) / 2
    EXPECT_EQ(Zan::LevelOf(halves.data(), 0), 10);
    EXPECT_EQ(Zan::LevelOf(halves.data(), 1), halves[0] + halves[1]);
    EXPECT_EQ(Zan::LevelOf(halves.data(), -1), -(halves[0] + halves[1]));
    EXPECT_EQ(Zan::LevelOf(halves.data(), -2), -2 * halves[1]);
    EXPECT_EQ(Zan::LevelOf(halves.data(), 510), 2 * halves[255]);
    EXPECT_EQ(halves[255], (510 * 244 / 255 + 11) / 2);
    // Below 0 it is 0, above it stays at 255.
    MakeColourLevels({-100, 0, 255}, halves);
    EXPECT_EQ(halves[10], 0);
    EXPECT_EQ(halves[255], 255);
    MakeColourLevels({0, 50, 0}, halves);
    EXPECT_EQ(halves[32], 64);  // sqrt(64 / 256) * 256 / 2
}

// Colours of more than full range come back as they were.
TEST(CorrectionStages, ColoursAreNotLimitedInBetween) {
    GreenLevelsStage green;
    green.Configure({Levels{1, 0, -1}}, true);
    const Pair there = After(green, {20, 200, 240, 30});
    EXPECT_LE(std::abs(there.cb - 20), 2);
    EXPECT_LE(std::abs(there.cr - 240), 2);
    EXPECT_LE(std::abs(there.y0 - 200), 2);
}

TEST(CorrectionStages, ChromaOfAPairComesFromItsFirstPixel) {
    RedLevelsStage stage;
    stage.Configure({Levels{0, 0, -255}}, true);  // red is taken away
    const Pair bright = After(stage, {128, 200, 128, 100}), dark = After(stage, {128, 200, 128, 0});
    EXPECT_EQ(bright.cb, dark.cb);
    EXPECT_EQ(bright.cr, dark.cr);
    EXPECT_NE(After(stage, {128, 100, 128, 200}).cr, bright.cr);
}

// The seven stages against a colour at a time: what one stage makes of the colours depends on nobody else.
TEST(CorrectionStages, EveryCombinationOfColours) {
    const Levels some = {10, 30, -20};
    ByteTable halves;
    MakeColourLevels(some, halves);
    const auto expected = [&](const Pair& pair, bool red, bool green, bool blue) {
        const std::uint8_t* const tables[3] = {red ? halves.data() : nullptr, green ? halves.data() : nullptr,
                                               blue ? halves.data() : nullptr};
        Zan::PixelPair pixels = {static_cast<std::uint8_t>(pair.cb), static_cast<std::uint8_t>(pair.y0),
                                 static_cast<std::uint8_t>(pair.cr), static_cast<std::uint8_t>(pair.y1)};
        Zan::CorrectColours(tables, pixels);
        return Pair{pixels.cb, pixels.y0, pixels.cr, pixels.y1};
    };
    RedLevelsStage red;
    GreenLevelsStage green;
    BlueLevelsStage blue;
    RedGreenLevelsStage redGreen;
    RedBlueLevelsStage redBlue;
    GreenBlueLevelsStage greenBlue;
    RgbLevelsStage all;
    red.Configure({some}, true);
    green.Configure({some}, true);
    blue.Configure({some}, true);
    redGreen.Configure({some, some}, true);
    redBlue.Configure({some, some}, true);
    greenBlue.Configure({some, some}, true);
    all.Configure({some, some, some}, true);
    for (const Pair& pair : {Pair{90, 40, 200, 220}, Pair{255, 0, 255, 255}, Pair{0, 255, 0, 0}}) {
        EXPECT_EQ(After(red, pair), expected(pair, true, false, false));
        EXPECT_EQ(After(green, pair), expected(pair, false, true, false));
        EXPECT_EQ(After(blue, pair), expected(pair, false, false, true));
        EXPECT_EQ(After(redGreen, pair), expected(pair, true, true, false));
        EXPECT_EQ(After(redBlue, pair), expected(pair, true, false, true));
        EXPECT_EQ(After(greenBlue, pair), expected(pair, false, true, true));
        EXPECT_EQ(After(all, pair), expected(pair, true, true, true));
    }
}

}  // namespace
