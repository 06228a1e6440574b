// Keys and colours that single words get.

#include <TesselU/key/ChromaKeyerYUV.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>

#include "foundation/CapabilitySeam.h"
#include "key/ChromaWords.h"

using namespace Zan;
using namespace chroma_test;

namespace {

TEST(ChromaKeyerYUV, GreyShowsTheBackgroundAtFirst) {
    static_assert(!std::is_polymorphic_v<ChromaKeyerYUV>);
    const Word background = {40, 50, 60, 70};
    for (const ProcessingStyleEnum style : {kFlp, kFP, kFlp_SIMD}) {
        const Made pixel = MakeWord(ChromaKeyerYUV(), style, k4444, {128, 200, 128, 9}, &background);
        EXPECT_EQ(pixel.word, (Word{40, 50, 60, 255})) << style;
        EXPECT_EQ(pixel.key, 0);
        const Made pair = MakeWord(ChromaKeyerYUV(), style, k422, {128, 200, 128, 201}, &background);
        EXPECT_EQ(pair.word, background) << style;
        EXPECT_EQ(pair.key, 0);
        // Without a background the foreground stays, alpha included.
        EXPECT_EQ(MakeWord(ChromaKeyerYUV(), style, k4444, {128, 200, 128, 9}, nullptr).word,
                  (Word{128, 200, 128, 9}));
    }
}

TEST(ChromaKeyerYUV, NewObjectsHaveTheDocumentedSettings) {
    ChromaKeyerYUV told;
    told.SetHueAngle(0);
    told.SetAcceptanceAngle(20);
    told.SetSaturationMinimum(0);
    told.SetSpillSuppressionAngle(20);
    told.SetSpillSuppressionGain(1);
    told.SetKeyOffset(0);
    told.SetKeyGain(1);
    told.SetInvertKeyBeforePostProcessing(false);
    told.SetInvertKeyAfterPostProcessing(false);
    told.SetSplitScreenHeight(0xFFFFFFFF, true);
    for (const ProcessingStyleEnum style : {kFlp, kFP}) {
        EXPECT_EQ(AllChroma(ChromaKeyerYUV(), style), AllChroma(told, style)) << style;
    }
    // k = 127/128; cosine and sine of 20 degrees are 0.9397 and 0.3420: 255 - 119.34 up and 128 - 43.44 up.
    // In fixed point k = 254, 60 and 22 of 64: 255 - (254 * 60 >> 7) and 128 - (254 * 22 >> 7).
    for (const ProcessingStyleEnum style : {kFlp, kFlp_SIMD, kFP}) {
        const AggregateChannelSamplingEnum sampling = style == kFlp_SIMD ? k422 : k4444;
        EXPECT_EQ(MakeWord(ChromaKeyerYUV(), style, sampling, {255, 9, 128, 7}, nullptr).word,
                  (Word{136, 9, 85, 7}))
            << style;
    }
}

TEST(ChromaKeyerYUV, KeyOnTheHue) {
    ChromaKeyerYUV keyer;
    // x = 127/128, z = 0: 253.008; in fixed point (16256 + 32) >> 6.
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 255, 128), 253);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp_SIMD, 255, 128), 253);
    EXPECT_EQ(KeyOfChroma(keyer, kFP, 255, 128), 254);
    // Full saturation. Half a turn falls short by 9e-5, of which the slope of the narrowest wedge makes
    // 0.009.
    keyer.SetHueAngle(180);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 0, 128), 255);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp_SIMD, 0, 128), 255);
    keyer.SetAcceptanceAngle(1);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 0, 128), 253);
    keyer.SetAcceptanceAngle(20);
    keyer.SetHueAngle(90);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 128, 0), 0);
    // 127/128 less 127/128 * 9e-5/2 * 5.67.
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 128, 255), 253);
}

TEST(ChromaKeyerYUV, FixedPointTakesAnotherTangentAndAnotherScale) {
    ChromaKeyerYUV keyer;
    // 0.5625 - 0.09375 * 5.67 = 0.0309; (9216 - 1536 + 32) >> 6.
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 200, 140), 8);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp_SIMD, 200, 140), 8);
    EXPECT_EQ(KeyOfChroma(keyer, kFP, 200, 140), 120);
    // 16320 is more than 16256, the most that there is on this hue.
    keyer.SetSaturationMinimum(0.5);
    EXPECT_EQ(KeyOfChroma(keyer, kFP, 255, 128), 0);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 255, 128), 253);
    // 0.5 is not below 0.5: 127.5 + 0.5.
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 192, 128), 128);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp_SIMD, 192, 128), 128);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 191, 128), 0);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp_SIMD, 191, 128), 0);
}

TEST(ChromaKeyerYUV, GainsAtTheirEnds) {
    ChromaKeyerYUV keyer;
    keyer.SetHueAngle(135);
    keyer.SetAcceptanceAngle(179);
    // The key is 255 in fixed point, where cosine and sine are -91 and 91. 255 * -64 is -128 after the shift.
    keyer.SetSpillSuppressionAngle(180);
    EXPECT_EQ(MakeWord(keyer, kFP, k4444, {0, 9, 255, 0}, nullptr).word, (Word{128, 9, 255, 0}));
    // Factors of 32768 and 16384; chroma moves out of 16 bits and is limited.
    keyer.SetSpillSuppressionGain(256);
    keyer.SetKeyGain(256);
    for (const ProcessingStyleEnum style : {kFP, kFlp, kFlp_SIMD}) {
        const AggregateChannelSamplingEnum sampling = style == kFlp_SIMD ? k422 : k4444;
        keyer.SetSpillSuppressionAngle(180);
        const Made up = MakeWord(keyer, style, sampling, {0, 9, 255, 9}, nullptr);
        EXPECT_EQ(up.word[0], 255) << style;
        EXPECT_EQ(up.key, 255);
        keyer.SetSpillSuppressionAngle(0);
        EXPECT_EQ(MakeWord(keyer, style, sampling, {0, 9, 255, 9}, nullptr).word[0], 0) << style;
    }
    // (1 - 1) * 256, and what is below 0 stays there.
    keyer.SetKeyOffset(-1);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 0, 255), 0);
    EXPECT_EQ(KeyOfChroma(keyer, kFP, 0, 255), 0);
    EXPECT_EQ(KeyOfChroma(keyer, kFP, 128, 128), 0);
}

TEST(ChromaKeyerYUV, OffsetGainAndInversions) {
    // k is 0.5 at Cb 192. The fixed form has (8192 + 32) >> 6 = 128 of 255.
    const auto key = [](double offset, double gain, bool before, bool after, ProcessingStyleEnum style) {
        ChromaKeyerYUV keyer;
        keyer.SetKeyOffset(offset);
        keyer.SetKeyGain(gain);
        keyer.SetInvertKeyBeforePostProcessing(before);
        keyer.SetInvertKeyAfterPostProcessing(after);
        return KeyOfChroma(keyer, style, 192, 128);
    };
    for (const ProcessingStyleEnum style : {kFlp, kFlp_SIMD}) {
        EXPECT_EQ(key(0, 1, false, false, style), 128) << style;  // 127.5, halves up
        EXPECT_EQ(key(0.25, 1, false, false, style), 191);        // 191.25
        EXPECT_EQ(key(-0.25, 2, false, false, style), 128);       // 127.5
        EXPECT_EQ(key(-0.25, 2.5, false, false, style), 159);     // 159.375
        EXPECT_EQ(key(0.125, 1.5, false, true, style), 16);       // 1 - 0.9375: 15.9375
        EXPECT_EQ(key(0.125, 0.5, true, false, style), 80);       // 79.6875
        EXPECT_EQ(key(-0.5, 256, true, true, style), 255);
        EXPECT_EQ(key(1, 256, false, false, style), 255);
    }
    EXPECT_EQ(key(0, 1, false, false, kFP), 128);
    EXPECT_EQ(key(0.25, 1, false, false, kFP), 192);     // 128 + 64
    EXPECT_EQ(key(-0.25, 2.5, false, false, kFP), 160);  // (64 * 320) >> 7
    EXPECT_EQ(key(0.125, 1.5, false, true, kFP), 15);    // 255 - ((160 * 192) >> 7)
    EXPECT_EQ(key(0.125, 0.5, true, false, kFP), 79);    // (127 + 32) * 64 >> 7
    EXPECT_EQ(key(0, 256, true, false, kFP), 255);
}

TEST(ChromaKeyerYUV, SpillFollowsTheKeyBeforeInversion) {
    for (const ProcessingStyleEnum style : {kFlp, kFlp_SIMD, kFP}) {
        const AggregateChannelSamplingEnum sampling = style == kFlp_SIMD ? k422 : k4444;
        ChromaKeyerYUV keyer;
        keyer.SetSpillSuppressionAngle(0);
        keyer.SetSpillSuppressionGain(0.5);
        // k = 0.5 of 64 code values; in fixed point (128 * 32) >> 7.
        const Made plain = MakeWord(keyer, style, sampling, {192, 77, 128, 5}, nullptr);
        EXPECT_EQ(plain.word, (Word{160, 77, 128, 5})) << style;
        EXPECT_EQ(plain.key, 128);
        keyer.SetKeyGain(0.5);
        keyer.SetKeyOffset(0.2);
        keyer.SetInvertKeyBeforePostProcessing(true);
        keyer.SetInvertKeyAfterPostProcessing(true);
        const Made inverted = MakeWord(keyer, style, sampling, {192, 77, 128, 5}, nullptr);
        EXPECT_EQ(inverted.word, plain.word) << style;
        EXPECT_NE(inverted.key, plain.key);
        // The angle is that of the plane of chroma, whatever the hue.
        keyer.SetHueAngle(90);
        EXPECT_EQ(MakeWord(keyer, style, sampling, {128, 77, 192, 5}, nullptr).word[0], 96) << style;
    }
}

TEST(ChromaKeyerYUV, MixesWithTheBackground) {
    ChromaKeyerYUV keyer;
    keyer.SetSpillSuppressionGain(0);
    const Word background = {0, 201, 255, 10};
    // m = 0.5: 96, 145.5, 191.5 up.
    EXPECT_EQ(MakeWord(keyer, kFlp, k4444, {192, 90, 128, 5}, &background).word, (Word{96, 146, 192, 255}));
    // Of pairs the fourth sample is mixed as well: 7.5 up.
    EXPECT_EQ(MakeWord(keyer, kFlp, k422, {192, 90, 128, 5}, &background).word, (Word{96, 146, 192, 8}));
    EXPECT_EQ(MakeWord(keyer, kFlp_SIMD, k422, {192, 90, 128, 5}, &background).word, (Word{96, 146, 192, 8}));
    // m = 128 of 255: 96.38, 145.28, 191.25, 7.49.
    EXPECT_EQ(MakeWord(keyer, kFP, k4444, {192, 90, 128, 5}, &background).word, (Word{96, 145, 191, 255}));
    EXPECT_EQ(MakeWord(keyer, kFP, k422, {192, 90, 128, 5}, &background).word, (Word{96, 145, 191, 7}));
}

TEST(ChromaKeyerYUV, SettingsStopAtTheirEnds) {
    using Set = std::function<void(ChromaKeyerYUV&, double)>;
    const double nan = std::numeric_limits<double>::quiet_NaN(), infinity = HUGE_VAL;
    struct {
        const char* name;
        Set set;
        double low, high, inside;
    } const settings[] = {
        {"hue", [](ChromaKeyerYUV& k, double v) { k.SetHueAngle(v); }, 0, 360, 100},
        {"acceptance", [](ChromaKeyerYUV& k, double v) { k.SetAcceptanceAngle(v); }, 1, 179, 130},
        {"saturation", [](ChromaKeyerYUV& k, double v) { k.SetSaturationMinimum(v); }, 0, 1, 0.4},
        {"spill angle", [](ChromaKeyerYUV& k, double v) { k.SetSpillSuppressionAngle(v); }, 0, 360, 200},
        {"spill gain", [](ChromaKeyerYUV& k, double v) { k.SetSpillSuppressionGain(v); }, 0, 256, 3},
        {"offset", [](ChromaKeyerYUV& k, double v) { k.SetKeyOffset(v); }, -1, 1, 0.3},
        {"gain", [](ChromaKeyerYUV& k, double v) { k.SetKeyGain(v); }, 0, 256, 5},
    };
    for (const auto& setting : settings) {
        const auto made = [&](double value, ProcessingStyleEnum style) {
            ChromaKeyerYUV keyer;
            keyer.SetAcceptanceAngle(120);
            setting.set(keyer, value);
            return AllChroma(keyer, style);
        };
        for (const ProcessingStyleEnum style : {kFlp, kFP}) {
            const auto low = made(setting.low, style), high = made(setting.high, style);
            EXPECT_EQ(made(setting.low - 0.5, style), low) << setting.name;
            EXPECT_EQ(made(-infinity, style), low) << setting.name;
            EXPECT_EQ(made(nan, style), low) << setting.name;
            EXPECT_EQ(made(setting.high + 0.5, style), high) << setting.name;
            EXPECT_EQ(made(infinity, style), high) << setting.name;
            EXPECT_NE(made(setting.inside, style), low) << setting.name;
            EXPECT_NE(made(setting.inside, style), high) << setting.name;
        }
    }
}

TEST(ChromaKeyerYUV, TheWidestWedgeIsHalfThePlane) {
    ChromaKeyerYUV keyer;
    keyer.SetAcceptanceAngle(180);
    // 0.5 - 0.0087 * 127/128: 125.29.
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 192, 255), 125);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 192, 1), 125);
    EXPECT_EQ(KeyOfChroma(keyer, kFlp, 128, 255), 0);
}

TEST(ChromaKeyerYUV, CopiesCarryEverySetting) {
    ChromaKeyerYUV keyer, other;
    keyer.SetHueAngle(100);
    keyer.SetAcceptanceAngle(150);
    keyer.SetSaturationMinimum(0.1);
    keyer.SetSpillSuppressionAngle(80);
    keyer.SetSpillSuppressionGain(2);
    keyer.SetKeyOffset(0.1);
    keyer.SetKeyGain(3);
    keyer.SetInvertKeyBeforePostProcessing(true);
    keyer.SetInvertKeyAfterPostProcessing(true);
    keyer.SetSplitScreenHeight(100, false);
    keyer.SetMMXonlyStyle(true);
    for (const ProcessingStyleEnum style : {kFlp, kFP}) {
        const auto expected = AllChroma(keyer, style);
        EXPECT_EQ(AllChroma(ChromaKeyerYUV(keyer), style), expected);
        EXPECT_NE(AllChroma(ChromaKeyerYUV(), style), expected);
        other = keyer;
        EXPECT_EQ(AllChroma(other, style), expected);
        // A call leaves no trace.
        EXPECT_EQ(AllChroma(keyer, style), expected);
    }
}

TEST(ChromaKeyerYUV, StylesAndProcessors) {
    // Fixed point gives 120, the others 8. Single precision is known by m = 1/510: 0.5 in doubles, but its
    // 64.25 parts of 32768 are 64.
    const auto form = [](ProcessingStyleEnum style, AggregateChannelSamplingEnum sampling, bool mmxOnly) {
        ChromaKeyerYUV keyer;
        keyer.SetMMXonlyStyle(mmxOnly);
        if (KeyOfChroma(keyer, style, 200, 140) == 120) {
            return std::string("fixed");
        }
        keyer.SetKeyOffset(1.0 / 510 + 1e-12);
        const int key = MakeWord(keyer, style, sampling, {128, 0, 128, 0}, nullptr).key;
        return std::string(key == 1 ? "double" : "single");
    };
    for (const CPUinstructionSetEnum set : {kScalarOnly, kMMX, kSSE_MMX, kSIMD, kSSE2}) {
        const ScopedInstructionSet believing(set);
        for (const bool mmxOnly : {false, true}) {
            for (const int style : {0, 1, 2, 3, 4, 5, 6, 99, -1}) {
                const auto asked = static_cast<ProcessingStyleEnum>(style);
                EXPECT_EQ(form(asked, k4444, mmxOnly), style == kFP ? "fixed" : "double") << set << style;
                const bool isVector =
                    style == kInt_MMXorSIMD || style == kFlp_SIMD || style == kBestAvailable;
                EXPECT_EQ(form(asked, k422, mmxOnly), style == kFP               ? "fixed"
                                                      : isVector && set >= kSIMD ? "single"
                                                                                 : "double")
                    << set << ", " << style;
            }
        }
    }
}

}  // namespace
